#include "shell.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <unistd.h>
#include <vector>

#include <fmt/format.h>

#include "interrupt.h"
#include "line_editor.h"
#include "meta_commands.h"
#include "progress.h"
#include "utf8.h"

namespace dkomsql
{

namespace
{

/// "3 rows inserted" and the like; empty for a statement that changes no rows.
std::string_view change_verb(ub2 statement_type)
{
    switch (statement_type) {
    case OCI_STMT_INSERT:
        return "inserted";
    case OCI_STMT_UPDATE:
        return "updated";
    case OCI_STMT_DELETE:
        return "deleted";
    default:
        return "";
    }
}

std::string error_word(const Session *session)
{
    const std::string word = session != nullptr && session->backend() != Backend::unknown
                                 ? fmt::format("error [{}]", name_of(session->backend()))
                                 : "error";
    return colours_allowed(STDERR_FILENO) ? fmt::format("\033[1;31m{}:\033[0m", word) : word + ":";
}

/// The line of the statement in which the error lies, with a caret below the place.
std::string pointer_to(const SqlStatement &statement, std::size_t offset)
{
    constexpr std::size_t columns = 100;
    const TextPosition position = locate(statement.text, offset);
    const Excerpt excerpt = excerpt_around(position.line_text, position.offset, columns);
    const std::string number = std::to_string(position.line + 1);
    return fmt::format(" {} | {}\n {:{}} | {:{}}^\n", number, excerpt.text, "", number.size(), "",
                       excerpt.caret);
}

/// Counts how deeply files include each other.
class DepthGuard
{
public:
    explicit DepthGuard(std::size_t &depth) : depth_(depth) { depth_++; }
    ~DepthGuard() { depth_--; }
    DepthGuard(const DepthGuard &) = delete;
    DepthGuard &operator=(const DepthGuard &) = delete;

private:
    std::size_t &depth_;
};

} // namespace

void set_bind(Binds &binds, std::string_view name, std::optional<std::string> value)
{
    if (name.starts_with(':'))
        name.remove_prefix(1);
    const std::vector<std::string> names = placeholders(fmt::format(":{}", name));
    if (names.size() != 1 || names.front() != name)
        throw UserError(fmt::format("'{}' is not the name of a placeholder", name));
    binds[folded_name(name)] = std::move(value);
}

Shell::Shell(const Session &session, Settings settings) : session_(session), settings_(std::move(settings)) {}

Shell::~Shell()
{
    if (!may_have_changes_)
        return;
    try {
        session_.rollback();
        fmt::print(stderr, "warning: changes that were not committed have been rolled back\n");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "warning: the open transaction cannot be rolled back: %s\n", error.what());
    }
}

std::ostream &Shell::out()
{
    return file_.is_open() ? static_cast<std::ostream &>(file_) : std::cout;
}

bool Shell::run_script(std::istream &in, const std::string &name)
{
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    StatementSplitter splitter;
    Source source{name, 0};
    std::string line;
    while (std::getline(in, line)) {
        if (source.line == 0 && line.starts_with(byte_order_mark))
            line.erase(0, byte_order_mark.size());
        if (line.ends_with('\r'))
            line.pop_back();
        if (!take_line(splitter, line, source) || interrupted())
            return false;
    }
    if (in.bad())
        throw UserError(fmt::format("cannot read {}", name));
    const std::optional<SqlStatement> rest = splitter.finish();
    return !rest || run_statement(*rest, source);
}

void Shell::run_interactive()
{
    settings_.stop_on_error = false;
    catch_interrupts();
    LineEditor editor(history_file());
    fmt::print("dkomsql {} on {}, served by {}. \\help lists the commands, \\q leaves.\n", DKOMSQL_VERSION,
               session_.link(), name_of(session_.backend()));

    StatementSplitter splitter;
    Source source;
    std::string entry;
    while (!leaving_) {
        clear_interrupt();
        std::fflush(stdout);
        const std::optional<std::string> line = editor.read_line(prompt(splitter.pending()));
        if (!line) {
            fmt::print("\n");
            if (!interrupted())
                break;
            splitter.discard();
            entry.clear();
            continue;
        }
        entry += (entry.empty() ? "" : "\n") + *line;
        take_line(splitter, *line, source);
        if (interrupted())
            splitter.discard();
        if (!splitter.pending()) {
            if (entry.find_first_not_of(" \t\n") != std::string::npos)
                editor.remember(entry);
            entry.clear();
        }
    }
}

/// Returns false when the run of statements has to end.
bool Shell::take_line(StatementSplitter &splitter, const std::string &line, Source &source)
{
    source.line++;
    const std::size_t start = line.find_first_not_of(" \t");
    if (!splitter.pending() && start != std::string::npos && line[start] == '\\') {
        splitter.add_line(""); // keeps its line numbers right
        splitter.discard();
        return run_command(line.substr(start), source);
    }
    splitter.add_line(line);
    while (const std::optional<SqlStatement> statement = splitter.next()) {
        if (!run_statement(*statement, source) || interrupted())
            return false;
    }
    return true;
}

bool Shell::run_statement(const SqlStatement &statement, const Source &source)
{
    const auto start = std::chrono::steady_clock::now();
    try {
        execute(statement);
        check_output();
    } catch (const OciError &error) {
        report_error(error, statement, source);
        return failed();
    } catch (const UserError &error) {
        report(source.name.empty() ? error.what()
                                   : fmt::format("{}:{}: {}", source.name, statement.line, error.what()));
        return failed();
    }
    if (settings_.timing) {
        const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
        remark(fmt::format("Time: {:.3f} ms", elapsed.count()));
    }
    return true;
}

bool Shell::run_command(const std::string &line, const Source &source)
{
    try {
        run_meta_command(*this, line);
        check_output();
    } catch (const OciError &error) {
        report_error(error, {"", source.line}, source);
        return failed();
    } catch (const std::exception &error) {
        report(source.name.empty() ? error.what()
                                   : fmt::format("{}:{}: {}", source.name, source.line, error.what()));
        return failed();
    }
    return !has_ended();
}

/// Notes a failure; returns whether to go on all the same.
bool Shell::failed()
{
    has_failed_ = true;
    return !settings_.stop_on_error;
}

void Shell::execute(const SqlStatement &statement)
{
    const TransactionEnd end = transaction_end(statement.text);
    if (end != TransactionEnd::none) {
        end_transaction(end);
        return;
    }
    Statement prepared(session_, statement.text);
    bind_values(prepared, statement.text);
    const Commit commit = settings_.autocommit ? Commit::at_once : Commit::later;
    if (const std::optional<OciError> warning = prepared.execute(commit))
        fmt::print(stderr, "warning: {}\n", warning->what());
    note_transaction(prepared);
    if (prepared.is_query())
        write_rows(prepared);
    else
        report_changes(prepared);
}

void Shell::commit()
{
    session_.commit();
    may_have_changes_ = false;
}

void Shell::rollback()
{
    session_.rollback();
    may_have_changes_ = false;
}

void Shell::end_transaction(TransactionEnd how)
{
    if (how == TransactionEnd::commit)
        commit();
    else
        rollback();
    if (settings_.format == Format::table)
        out() << (how == TransactionEnd::commit ? "Committed.\n" : "Rolled back.\n");
}

/// Whether a transaction is open cannot be asked, but it can be told from what has been run: definitions
/// commit by themselves, queries change nothing, anything else may have made changes.
void Shell::note_transaction(const Statement &statement)
{
    switch (statement.type()) {
    case OCI_STMT_CREATE:
    case OCI_STMT_DROP:
    case OCI_STMT_ALTER:
        may_have_changes_ = false;
        break;
    case OCI_STMT_SELECT:
        break;
    default:
        may_have_changes_ = may_have_changes_ || !settings_.autocommit;
        break;
    }
}

void Shell::query(const std::string &sql, const std::function<void(Statement &)> &read)
{
    Statement statement(session_, sql);
    if (!statement.is_query())
        throw UserError("this is no query");
    bind_values(statement, sql);
    statement.execute(Commit::later);
    read(statement);
}

void Shell::bind_values(Statement &statement, const std::string &sql)
{
    for (const std::string &name : placeholders(sql)) {
        const auto value = settings_.binds.find(folded_name(name));
        if (value == settings_.binds.end())
            throw UserError(
                fmt::format("the placeholder :{0} has no value; give it one with \\bind {0} VALUE "
                            "or --bind {0}=VALUE",
                            name));
        statement.bind(name, value->second);
    }
}

void Shell::write_rows(Statement &statement)
{
    // In a table, large objects are told apart by their beginnings; programs that read the other formats want
    // as much as there is room for.
    constexpr std::size_t lob_head_bytes = 40;
    const bool is_table = settings_.format == Format::table;
    Cursor cursor(statement, settings_.longest_value,
                  is_table ? std::min(lob_head_bytes, settings_.longest_value) : settings_.longest_value);
    const bool to_terminal = !file_.is_open() && colours_allowed(STDOUT_FILENO);
    WriterOptions options{settings_.header, to_terminal, {}};
    if (settings_.types)
        options.types = cursor.types();
    const std::unique_ptr<ResultWriter> writer =
        make_writer(settings_.format, out(), cursor.columns(), options);

    std::size_t cut_values = 0;
    while (fetch(cursor) > 0) {
        for (std::size_t row = 0; row < cursor.rows(); row++)
            cut_values += write_row(cursor, row, *writer);
        if (cursor.remark())
            fmt::print(stderr, "warning: {}\n", cursor.remark()->what());
        if (interrupted())
            break;
    }
    writer->finish();
    out().flush();
    if (interrupted())
        report("interrupted: the rows are not complete");
    if (cut_values > 0)
        fmt::print(stderr, "warning: {} value{} cut after {} bytes; --max-value sets another limit\n",
                   cut_values, cut_values == 1 ? "" : "s", settings_.longest_value);
}

/// Rows that came before the user broke the query are shown all the same.
std::size_t Shell::fetch(Cursor &cursor)
{
    try {
        return cursor.fetch();
    } catch (const OciError &) {
        if (!interrupted())
            throw;
        return 0;
    }
}

/// Returns how many values are cut without a word about it in the result itself.
std::size_t Shell::write_row(const Cursor &cursor, std::size_t row, ResultWriter &writer) const
{
    std::vector<Cell> cells;
    std::size_t cut_values = 0;
    for (std::size_t column = 0; column < cursor.columns().size(); column++) {
        cells.push_back(cursor.cell(row, column));
        const bool tells_length = settings_.format == Format::table && !cells.back().length.empty();
        cut_values += cells.back().is_cut && !tells_length ? 1 : 0;
    }
    writer.row(cells);
    return cut_values;
}

void Shell::report_changes(const Statement &statement)
{
    if (settings_.format != Format::table)
        return;
    const std::string_view verb = change_verb(statement.type());
    if (verb.empty()) {
        out() << "Done.\n";
        return;
    }
    const std::size_t rows = statement.row_count();
    out() << fmt::format("{} row{} {}.\n", rows, rows == 1 ? "" : "s", verb);
}

void Shell::report_error(const OciError &error, const SqlStatement &statement, const Source &source)
{
    out().flush();
    std::size_t line = statement.line;
    if (error.offset)
        line += locate(statement.text, *error.offset).line;
    const std::string place = source.name.empty() ? "" : fmt::format("{}:{}: ", source.name, line);
    fmt::print(stderr, "{}{} {}\n", place, error_word(&session_), error.what());
    if (error.offset && !statement.text.empty())
        fmt::print(stderr, "{}", pointer_to(statement, *error.offset));
}

void Shell::report(std::string_view message)
{
    out().flush();
    fmt::print(stderr, "{} {}\n", error_word(nullptr), message);
}

void Shell::remark(std::string_view message)
{
    if (settings_.format == Format::table) {
        out() << message << '\n';
        out().flush();
    } else {
        fmt::print(stderr, "{}\n", message);
    }
}

void Shell::check_output()
{
    out().flush();
    if (out())
        return;
    const std::string reason = std::strerror(errno);
    out().clear();
    throw UserError("cannot write the output: " + reason);
}

void Shell::include(const std::string &path)
{
    constexpr std::size_t deepest = 20;
    if (std::filesystem::is_directory(path))
        throw UserError(fmt::format("{} is a directory", path));
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw UserError(fmt::format("cannot open {}: {}", path, std::strerror(errno)));
    if (include_depth_ == deepest)
        throw UserError(fmt::format("{} is included too deeply; does it include itself?", path));
    const DepthGuard guard(include_depth_);
    run_script(file, path);
}

void Shell::redirect(const std::string &path)
{
    if (file_.is_open())
        file_.close();
    if (path.empty())
        return;
    file_.open(path, std::ios::binary | std::ios::trunc);
    if (!file_)
        throw UserError(fmt::format("cannot write {}: {}", path, std::strerror(errno)));
}

std::string Shell::prompt(bool continuation) const
{
    const char *mark = may_have_changes_ ? "*" : "";
    std::string text = fmt::format("{} [{}]{}> ", session_.link(), name_of(session_.backend()), mark);
    if (!continuation)
        return text;
    return fmt::format("{:>{}}", "...> ", display_width(text));
}

} // namespace dkomsql
