#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <dkom_version.h>
#include <dkomsql/progress.h>
#include <trace_reader/source.h>

#include "output.h"
#include "scrubber.h"

namespace
{

using namespace dkom_scrub;
namespace fs = std::filesystem;

/// What the program answers to the shell that started it.
enum ExitStatus { exit_ok = 0, exit_failed = 1, exit_usage = 2 };

constexpr const char *description =
    "Makes traces of the OCI manager fit to be shown to others.\n"
    "FILE is an om_PROCESS.log, plain or packed by gzip; - is the standard input, and so is no FILE.\n";

constexpr const char *footer =
    "Masked: literals and comments in statements, bound values, texts of errors but their numbers,\n"
    "user names, passwords, paths of directories, contents of buffers, lines that are no records.\n"
    "Renamed: links, and the addresses of handles and variables; equal ones stay equal in a run.\n"
    "Kept: statements with the names of tables, columns and placeholders (see --names), numbers that\n"
    "calls pass, times (see --times), process and thread numbers, the number of lines. dkom-report\n"
    "counts the same in both. What is not known to be harmless is masked; still, look at the result\n"
    "before you give it away.\n"
    "\n"
    "Examples:\n"
    "  dkom-scrub om_4711.log > shown.log\n"
    "  dkom-scrub --names --times -o shown.log.gz --gzip om_4711.log\n"
    "  dkom-scrub -d shown om_*.log              one file each, of the same name, in a directory\n"
    "  zcat om_4711.log.gz | dkom-scrub | dkom-report -\n"
    "\n"
    "Exit status: 0 all went well, 1 a file could not be read or written, 2 wrong usage.\n";

struct Arguments {
    std::vector<std::string> files;
    std::string output;
    std::string directory;
    std::string key;
    bool gzip = false;
    Scrubber::Settings settings;
};

void declare_options(CLI::App &app, Arguments &arguments)
{
    app.add_option("FILE", arguments.files, "Traces; - is the standard input");
    auto *output =
        app.add_option("-o,--output", arguments.output, "Write to this file instead of the standard output")
            ->type_name("FILE");
    app.add_option("-d,--directory", arguments.directory,
                   "Write a file for each one read into this directory")
        ->type_name("DIRECTORY")
        ->excludes(output);
    app.add_flag("-z,--gzip", arguments.gzip, "Pack what is written");
    app.add_flag("--names", arguments.settings.names, "Rename tables, columns and placeholders too");
    app.add_flag("--times", arguments.settings.times,
                 "Move all times by the same span, so that the first one is 2000-01-01 00:00:00");
    app.add_option(
           "--key", arguments.key,
           "Make new names follow from this secret text, so that runs with the same text rename alike")
        ->type_name("TEXT")
        ->envname("DKOM_SCRUB_KEY");
    app.set_version_flag("-V,--version", "dkom-scrub " DKOM_VERSION);
    app.footer(footer);
}

/// Whether two names stand for one file, which would be lost before it is read.
bool is_same_file(const std::string &a, const std::string &b)
{
    std::error_code ignored;
    return fs::equivalent(a, b, ignored);
}

class Run
{
public:
    explicit Run(const Arguments &arguments) : arguments_(arguments), names_(arguments.key)
    {
        if (arguments.directory.empty())
            output_.emplace(arguments.output, arguments.gzip);
        else
            fs::create_directories(arguments.directory);
        scrubber_.emplace(arguments.settings, names_,
                          [this](std::string_view bytes) { output_->write(bytes); });
    }

    bool scrub(const std::string &path)
    {
        if (!arguments_.directory.empty()) {
            std::string name = path == "-" ? "stdin.log" : fs::path(path).filename().string();
            if (name.ends_with(".gz"))
                name.erase(name.size() - 3);
            const std::string target =
                (fs::path(arguments_.directory) / (name + (arguments_.gzip ? ".gz" : ""))).string();
            if (is_same_file(path, target))
                throw OutputError(fmt::format("'{}' would be overwritten by what is made of it", path));
            output_.emplace(target, arguments_.gzip);
        }
        bool is_read = true;
        try {
            std::optional<dkomsql::ProgressBar> bar;
            trace_reader::read_trace(path, false, *scrubber_, [&](std::uint64_t read, std::uint64_t total) {
                constexpr std::uint64_t big = 64 << 20;
                if (!bar)
                    bar.emplace(total, "MB");
                if (read >= big)
                    bar->update(read, read / 1000000);
            });
        } catch (const trace_reader::SourceError &error) {
            fmt::print(stderr, "dkom-scrub: {}\n", error.what());
            is_read = false;
        }
        scrubber_->flush();
        if (!arguments_.directory.empty())
            output_->close();
        return is_read;
    }

    void end()
    {
        if (arguments_.directory.empty())
            output_->close();
    }

private:
    const Arguments &arguments_;
    Names names_;
    std::optional<Output> output_;
    std::optional<Scrubber> scrubber_;
};

int parse_and_run(int argc, char **argv)
{
    CLI::App app(description, "dkom-scrub");
    Arguments arguments;
    declare_options(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_ok : exit_usage;
    }
    if (arguments.files.empty())
        arguments.files.emplace_back("-");
    for (const std::string &path : arguments.files)
        if (is_same_file(path, arguments.output)) {
            fmt::print(stderr, "dkom-scrub: '{}' would be overwritten by what is made of it\n", path);
            return exit_usage;
        }
    Run run(arguments);
    bool all = true;
    for (const std::string &path : arguments.files)
        all = run.scrub(path) && all;
    run.end();
    return all ? exit_ok : exit_failed;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fputs("dkom-scrub: ", stderr);
        std::fputs(error.what(), stderr);
        std::fputs("\n", stderr);
        return exit_failed;
    }
}
