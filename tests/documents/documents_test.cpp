// What the documents quote from the sources, and from running programs, is still so.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "program.h"

namespace
{

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::string read(const fs::path &path)
{
    std::ostringstream text;
    if (!(text << std::ifstream(path).rdbuf()))
        throw std::runtime_error("cannot read " + path.string());
    return text.str();
}

const fs::path project = PROJECT;

Lines lines_of(const std::string &text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::smatch> matches_of(const std::string &text, const std::regex &expression)
{
    return {std::sregex_iterator(text.begin(), text.end(), expression), {}};
}

// ---- samples of traces ----

// Whether a documented line stands for an actual one. Times and source lines stand for any, "..." for any
// text, equal addresses for equal ones in a whole sample, and different ones for different ones.
bool stands_for(const std::string &documented, const std::string &actual,
                std::map<std::string, std::string> &known)
{
    static const std::regex varies(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d:\d{1,6}\]|:\d+\)$)");
    static const std::regex address("0x[0-9a-f]+");
    const auto masked = [](const std::string &line) {
        return std::regex_replace(std::regex_replace(line, varies, ""), address, "0x");
    };
    const std::string ours = masked(documented);
    const std::string theirs = masked(actual);
    if (ours.find("...") != std::string::npos) {
        const std::string quoted = std::regex_replace(ours, std::regex(R"([.^$|()\[\]{}*+?\\])"), "\\$&");
        return std::regex_match(theirs,
                                std::regex(std::regex_replace(quoted, std::regex(R"(\\\.\\\.\\\.)"), ".*")));
    }
    const auto our_addresses = matches_of(documented, address);
    const auto their_addresses = matches_of(actual, address);
    bool same = ours == theirs;
    for (std::size_t i = 0; same && i < our_addresses.size(); i++) {
        const std::string a = our_addresses[i].str();
        const std::string b = their_addresses[i].str();
        same = known.emplace("ours " + a, b).first->second == b &&
               known.emplace("theirs " + b, a).first->second == a;
    }
    return same;
}

// How many lines of a sample are found, at best, from some line of the trace on. A line of dots skips lines.
std::size_t longest_match(const Lines &sample, const Lines &trace)
{
    std::size_t longest = 0;
    for (std::size_t start = 0; start < trace.size(); start++) {
        std::map<std::string, std::string> known;
        std::size_t found = 0;
        bool skipping = false;
        for (std::size_t at = start; at < trace.size() && found < sample.size(); at++) {
            if (sample[found] == "..." && found + 1 < sample.size()) {
                skipping = true;
                found++;
            }
            auto tried = known;
            if (stands_for(sample[found], trace[at], tried)) {
                known = tried;
                skipping = false;
                found++;
            } else if (!skipping) {
                break;
            }
        }
        longest = std::max(longest, found);
    }
    return longest;
}

class Documents : public ProgramTest
{
protected:
    Documents() : ProgramTest(TRACE_SAMPLES) { write_file("dravik/west.db", ""); }
};

TEST_F(Documents, TraceSamplesAreWhatProgramsWrite)
{
    const std::string text = read(project / "docs/traces.md");
    const auto samples =
        matches_of(text, std::regex("<!-- sample (\\w+), level (\\d+) -->\n```\n([^`]*)```\n"));
    EXPECT_GE(samples.size(), 5U);
    for (const auto &sample : samples) {
        const Lines lines = lines_of(sample[3]);
        set_variable("DKOM_LOG_LEVEL=" + sample[2].str());
        run({sample[1]});
        const std::string trace = std::regex_replace(take_trace(), std::regex("\x1b\\[[0-9;]*m"), "");
        const std::size_t found = longest_match(lines, lines_of(trace));
        if (found < lines.size())
            ADD_FAILURE() << "sample " << sample[1] << ", level " << sample[2]
                          << " differs from the trace from this line on:\n"
                          << lines[found] << "\nThe trace is:\n"
                          << trace;
    }
}

// ---- texts of stops ----

// All texts of level 10, with which the library's sources stop a process or a call; "..." stands for values
// in them.
std::set<std::string> texts_of_stops()
{
    static const std::regex stop(
        R"(\b((REQUIRE|STOPS?)(_AT|_BECAUSE|_BECAUSE_AT|_BECAUSE_IN)?\(|refuse\(|snprintf\(assertion|(TRACE|writeLog)\(OM_LOG_ASSERT)[^;]*;)");
    static const std::regex literal("\"([^\"]*)\"");
    static const std::regex name_of_function("%s|\\w\\w+");
    static const std::regex conversion("%l?[a-z]");
    std::set<std::string> texts;
    for (const auto &entry : fs::directory_iterator(project / "oci_manager/oci_manager")) {
        const std::string source = read(entry.path());
        for (const auto &call : matches_of(source, stop)) {
            const std::string text = call.str();
            for (const auto &quoted : matches_of(text, literal))
                if (!std::regex_match(quoted[1].str(), name_of_function))
                    texts.insert(std::regex_replace(quoted[1].str(), conversion, "..."));
        }
    }
    return texts;
}

TEST_F(Documents, EveryTextOfAStopHasItsRow)
{
    const std::set<std::string> sources = texts_of_stops();
    std::set<std::string> rows;
    std::set<std::string> stop_rows;
    bool stops = true;
    for (const std::string &line : lines_of(read(project / "docs/symptoms.md"))) {
        const std::string cell = line.starts_with("| ") ? line.substr(0, line.find(" | ")) : "";
        for (const auto &quoted : matches_of(cell, std::regex("`([^`]+)`")))
            rows.insert(quoted[1]);
        stops = stops && line != "## It crashes or hangs";
        if (stops)
            stop_rows = rows;
    }
    EXPECT_GE(sources.size(), 40U);
    for (const std::string &text : sources)
        EXPECT_TRUE(rows.contains(text)) << "docs/symptoms.md has no row for: " << text;
    for (const std::string &text : stop_rows)
        EXPECT_TRUE(sources.contains(text)) << "docs/symptoms.md has a row for what no source says: " << text;
}

// ---- the check of a program ----

TEST_F(Documents, TheReadmesCommandTellsWhatIsNotServed)
{
    const std::string readme = read(project / "README.md");
    const auto commands = matches_of(readme, std::regex("```sh\n([^`]*nm -D --undefined-only[^`]*)```\n"));
    ASSERT_EQ(commands.size(), 1U);
    const std::string command =
        std::regex_replace(commands[0][1].str(), std::regex("build/lib/libdkom.so"), LIBRARY);
    const auto check = [&](const char *program) {
        return run_other("/bin/sh", {"-c", std::regex_replace(command, std::regex("PROGRAM"), program)}).out;
    };
    EXPECT_EQ(check(SERVED_PROGRAM), "");
    EXPECT_EQ(check(UNSERVED_PROGRAM), "OCILobTrim\nocom\n");
}

} // namespace
