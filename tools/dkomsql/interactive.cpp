#include "interactive.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include <fmt/format.h>

#include "completion.h"
#include "history.h"
#include "interrupt.h"
#include "line_editor.h"
#include "shell.h"
#include "words.h"

namespace dkomsql
{

namespace
{

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The first start-up file that there is; empty if there is none.
std::string startup_file()
{
    const std::string home = variable("HOME");
    const std::string config =
        variable("XDG_CONFIG_HOME").starts_with('/') ? variable("XDG_CONFIG_HOME") : home + "/.config";
    for (const std::string &path : {config + "/dkomsql/startup.sql", home + "/.dkomsqlrc"}) {
        std::error_code ignored;
        if (path.front() == '/' && std::filesystem::exists(path, ignored))
            return path;
    }
    return "";
}

void run_startup_file(Shell &shell)
{
    const std::string path = startup_file();
    if (path.empty())
        return;
    if (const std::string reason = why_unsafe(path, false); !reason.empty()) {
        Shell::complain(fmt::format("warning: the start-up file {} {}; it is not run", path, reason));
        return;
    }
    try {
        shell.include(path);
    } catch (const std::exception &error) {
        shell.report(error.what());
    }
}

std::string content_of(const std::string &path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

/// A file for the editor that goes when the object does.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string &content)
        : path_((std::filesystem::temp_directory_path() / "dkomsql-XXXXXX.sql").string())
    {
        constexpr int suffix = 4;
        const int made = mkstemps(path_.data(), suffix); // for the user only
        if (made < 0)
            throw UserError(fmt::format("cannot make {}: {}", path_, std::strerror(errno)));
        close(made);
        std::ofstream(path_, std::ios::binary) << content;
    }

    ~TemporaryFile() { unlink(path_.c_str()); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }

private:
    std::string path_;
};

void run_editor(const std::string &path)
{
    std::string editor = variable("VISUAL");
    if (editor.empty())
        editor = variable("EDITOR");
    if (editor.empty())
        editor = "vi";
    // The path is an argument of the shell's, so nothing in it is a command.
    const std::string command = editor + " \"$DKOMSQL_EDITED\"";
    setenv("DKOMSQL_EDITED", path.c_str(), 1);
    const int status = std::system(command.c_str());
    unsetenv("DKOMSQL_EDITED");
    if (status != 0)
        throw UserError(fmt::format("the editor '{}' failed; set EDITOR to another", editor));
}

class Interactive
{
public:
    explicit Interactive(Shell &shell)
        : shell_(shell), history_(history_file()), completion_(shell),
          editor_(history_, [this](std::string_view line, std::string_view rest) {
              return completion_.complete(input_.splitter.pending() ? input_.splitter.text() : "", line,
                                          rest);
          })
    {
    }

    void run()
    {
        while (!shell_.is_leaving()) {
            clear_interrupt();
            std::fflush(stdout);
            const std::optional<std::string> line =
                editor_.read_line(shell_.prompt(input_.splitter.pending()));
            if (line) {
                take(*line);
                continue;
            }
            fmt::print("\n");
            if (!interrupted())
                break;
            input_.splitter.discard();
            entry_.clear();
        }
    }

private:
    void take(const std::string &line)
    {
        entry_ += (entry_.empty() ? "" : "\n") + line;
        if (line == "\\e" || line.starts_with("\\e "))
            edit(WordReader(line.substr(2)).rest().value_or(""));
        else
            shell_.take_line(input_, line);
        if (interrupted())
            input_.splitter.discard();
        if (input_.splitter.pending())
            return;
        if (entry_.find_first_not_of(" \t\n") != std::string::npos)
            history_.remember(entry_);
        entry_.clear();
    }

    /// Lets the user edit a file, or what is typed, or the last statement; then it is run.
    void edit(const std::string &file)
    {
        try {
            const std::string before = !file.empty()                     ? content_of(file)
                                       : input_.splitter.pending()       ? input_.splitter.text()
                                       : shell_.last_statement().empty() ? ""
                                                                         : shell_.last_statement() + ";\n";
            std::string after;
            if (file.empty()) {
                const TemporaryFile edited(before);
                run_editor(edited.path());
                after = content_of(edited.path());
            } else {
                run_editor(file);
                after = content_of(file);
            }
            if (file.empty() && after == before) {
                shell_.remark("Nothing was changed, nothing is run.");
                return;
            }
            input_.splitter.discard();
            run_edited(after);
        } catch (const std::exception &error) {
            shell_.report(error.what());
        }
    }

    void run_edited(const std::string &text)
    {
        std::istringstream lines(text);
        entry_.clear();
        for (std::string line; std::getline(lines, line) && !interrupted();) {
            fmt::print("{}\n", line);
            entry_ += (entry_.empty() ? "" : "\n") + line;
            shell_.take_line(input_, line);
        }
    }

    Shell &shell_;
    Input input_{};
    std::string entry_; // what is typed since the last statement ended
    TypedHistory history_;
    SqlCompletion completion_;
    LineEditor editor_;
};

} // namespace

void run_interactive(Shell &shell, bool startup)
{
    shell.begin_interactive();
    if (startup)
        run_startup_file(shell);
    fmt::print("dkomsql {} on {}, served by {}. \\help lists the commands, \\q leaves.\n", DKOMSQL_VERSION,
               shell.session().link(), name_of(shell.session().backend()));
    Interactive(shell).run();
}

} // namespace dkomsql
