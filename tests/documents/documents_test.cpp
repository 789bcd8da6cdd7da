// What the documents quote from the sources, and from running programs, is still so.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace
{

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

std::string read(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return text.str();
}

std::string document(const char *name)
{
    return read(fs::path(PROJECT) / name);
}

Lines lines_of(const std::string &text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string replace_all(std::string text, const std::string &what, const std::string &with)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// What a shell command prints.
std::string output_of(const std::string &command)
{
    std::string text;
    std::FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("cannot run " + command);
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    pclose(pipe);
    return text;
}

class Directory
{
public:
    Directory()
    {
        std::string name = (fs::temp_directory_path() / "documents-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a directory like " + name);
        path = name;
    }
    ~Directory()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;

    fs::path path;
};

// ---- samples of traces ----

struct Sample {
    std::string program;
    std::string level;
    Lines lines;
};

// A comment that names the program and level comes before each sample.
std::vector<Sample> samples_of(const std::string &text)
{
    static const std::regex sample("<!-- sample (\\w+), level (\\d+) -->\n```\n([^`]*)```\n");
    std::vector<Sample> samples;
    for (std::sregex_iterator i(text.begin(), text.end(), sample), end; i != end; ++i)
        samples.push_back({(*i)[1], (*i)[2], lines_of((*i)[3])});
    return samples;
}

// A trace as `sed` leaves it that takes the colours away.
Lines trace_of(const std::string &program, const std::string &level)
{
    const Directory directory;
    std::ofstream(directory.path / "west.db").close();
    const std::string run =
        "cd " + directory.path.string() + " && mkdir oracle && SQLITE_OCI_CLNTSH_DIR=oracle " +
        "SQLITE_OCI_DKOCI_DIR=. DKOM_ORA_LIB_PATH=" CLIENT_LIBRARY_DIR
        " DKOM_DRK_LIB_PATH=" CLIENT_LIBRARY_DIR " DKOM_LOG_PATH=. DKOM_LOG_LEVEL=" +
        level + " " TRACE_SAMPLES " " + program + " 2>&1; sed 's/\\x1b\\[[0-9;]*m//g' om_*";
    return lines_of(output_of("ulimit -c 0; (" + run + ")"));
}

// A line without what differs from run to run and from version to version; addresses are collected.
std::string masked(const std::string &line, Lines &addresses)
{
    static const std::regex time("^\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{1,6}\\]");
    static const std::regex source("\\((\\w+\\.\\w+):\\d+\\)$");
    static const std::regex address("0x[0-9a-f]+");
    for (std::sregex_iterator i(line.begin(), line.end(), address), end; i != end; ++i)
        addresses.push_back(i->str());
    const std::string timeless = std::regex_replace(line, time, "[time]");
    return std::regex_replace(std::regex_replace(timeless, source, "($1)"), address, "0x");
}

// Whether a documented line stands for an actual one. "..." in it stands for any text; equal addresses stand
// for equal ones in a whole sample, and different ones for different ones.
bool stands_for(const std::string &documented, const std::string &actual,
                std::map<std::string, std::string> &known)
{
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    Lines ours;
    Lines theirs;
    const std::string pattern = std::regex_replace(masked(documented, ours), special, "\\$&");
    if (!std::regex_match(masked(actual, theirs), std::regex(replace_all(pattern, "\\.\\.\\.", ".*"))))
        return false;
    if (pattern.find("\\.\\.\\.") != std::string::npos)
        return true;
    for (std::size_t i = 0; i < ours.size(); i++)
        if (known.emplace("ours " + ours[i], theirs[i]).first->second != theirs[i] ||
            known.emplace("theirs " + theirs[i], ours[i]).first->second != ours[i])
            return false;
    return true;
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

TEST(Documents, TraceSamplesAreWhatProgramsWrite)
{
    const std::vector<Sample> samples = samples_of(document("docs/traces.md"));
    EXPECT_GE(samples.size(), 5U);
    for (const Sample &sample : samples) {
        const Lines trace = trace_of(sample.program, sample.level);
        const std::size_t found = longest_match(sample.lines, trace);
        if (found == sample.lines.size())
            continue;
        std::string all;
        for (const std::string &line : trace)
            all += line + '\n';
        ADD_FAILURE() << "sample " << sample.program << ", level " << sample.level
                      << " differs from the trace from this line on:\n"
                      << sample.lines[found] << "\nThe trace is:\n"
                      << all;
    }
}

// ---- texts of stops ----

// String literals of the call that begins at a place, adjacent ones joined.
Lines literals_of_call(const std::string &source, std::size_t at)
{
    Lines literals;
    bool adjacent = false;
    int depth = 0;
    for (at = source.find('(', at); at < source.size(); at++) {
        const char c = source[at];
        if (c == '"') {
            std::string literal;
            for (at++; source[at] != '"'; at++)
                literal += source[at] == '\\' ? source[++at] : source[at];
            if (adjacent)
                literals.back() += literal;
            else
                literals.push_back(literal);
            adjacent = true;
            continue;
        }
        if (c != ' ' && c != '\n')
            adjacent = false;
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
        if (depth == 0)
            break;
    }
    return literals;
}

// All texts with which the library's sources stop a process; "..." stands for values in them.
std::set<std::string> texts_of_stops()
{
    static const std::regex stop(
        R"((\n[^\n]*)\b(REQUIRE|REQUIRE_AT|STOP_AT|STOP_BECAUSE|STOP_BECAUSE_AT|STOP_BECAUSE_IN|refuse|stop_process)"
        R"(|(?:TRACE|writeLog)\(OM_LOG_ASSERT)\b)");
    static const std::regex conversion("%l?[a-z]");
    std::set<std::string> texts;
    for (const auto &entry : fs::directory_iterator(fs::path(PROJECT) / "oci_manager/oci_manager")) {
        const std::string source = read(entry.path());
        for (std::sregex_iterator i(source.begin(), source.end(), stop), end; i != end; ++i) {
            if ((*i)[1].str().find("#define") != std::string::npos)
                continue;
            Lines literals = literals_of_call(source, static_cast<std::size_t>(i->position(2)));
            if ((*i)[2] == "STOP_BECAUSE_IN" && !literals.empty())
                literals.erase(literals.begin()); // the name of the function
            for (const std::string &literal : literals)
                if (literal != "%s")
                    texts.insert(std::regex_replace(literal, conversion, "..."));
        }
    }
    return texts;
}

// What stands in backquotes in the first column of the tables of a section.
std::set<std::string> first_column(const std::string &text, const std::string &section)
{
    static const std::regex quoted("`([^`]+)`");
    std::set<std::string> texts;
    const std::size_t begin = text.find("\n## " + section + "\n");
    for (const std::string &line : lines_of(text.substr(begin, text.find("\n## ", begin + 1) - begin))) {
        if (!line.starts_with("| "))
            continue;
        const std::string cell = line.substr(0, line.find(" | "));
        for (std::sregex_iterator i(cell.begin(), cell.end(), quoted), end; i != end; ++i)
            texts.insert((*i)[1]);
    }
    return texts;
}

TEST(Documents, EveryTextOfAStopHasItsRow)
{
    const std::set<std::string> sources = texts_of_stops();
    const std::set<std::string> rows = first_column(document("docs/symptoms.md"), "The process stops");
    EXPECT_GE(sources.size(), 40U);
    for (const std::string &text : sources)
        EXPECT_TRUE(rows.contains(text)) << "docs/symptoms.md has no row for: " << text;
    for (const std::string &text : rows)
        EXPECT_TRUE(sources.contains(text)) << "docs/symptoms.md has a row for what no source says: " << text;
}

// ---- the check of a program ----

std::string check_of(const std::string &program)
{
    static const std::regex command("```sh\n(#[^\n]*\n)*([^`]*nm -D --undefined-only[^`]*)```\n");
    const std::string readme = document("README.md");
    std::smatch match;
    if (!std::regex_search(readme, match, command))
        throw std::runtime_error("README.md does not say how to check a program");
    return output_of(replace_all(replace_all(match[2], "build/lib/libdkom.so", LIBRARY), "PROGRAM", program));
}

TEST(Documents, TheReadmesCommandTellsWhatIsNotServed)
{
    EXPECT_EQ(check_of(SERVED_PROGRAM), "");
    EXPECT_EQ(check_of(UNSERVED_PROGRAM), "OCILobTrim\nocom\n");
}

} // namespace
