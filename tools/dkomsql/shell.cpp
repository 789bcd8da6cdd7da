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
#include "libraries.h"
#include "meta_commands.h"
#include "pager.h"
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

/// Statements and arguments that are no text would be stored as something else, or shown as nothing sensible.
void check_text(std::string_view text)
{
    if (!takes_utf8())
        return;
    if (const std::optional<std::size_t> at = malformed_at(text))
        throw UserError(fmt::format("byte 0x{:02X} at position {} is no valid UTF-8; nothing was run",
                                    static_cast<unsigned char>(text[*at]), *at + 1));
}

/// The command that a line stands for without its backslash: what people type to leave or for help. Empty for
/// others.
std::string_view command_without_backslash(std::string_view line)
{
    constexpr std::array<std::pair<std::string_view, std::string_view>, 3> commands{
        {{"EXIT", "\\q"}, {"QUIT", "\\q"}, {"HELP", "\\help"}}};
    const std::size_t end = line.find_last_not_of(" \t;");
    const std::string word = folded_name(line.substr(0, end == std::string_view::npos ? 0 : end + 1));
    for (const auto &[typed, command] : commands) {
        if (word == typed)
            return command;
    }
    return "";
}

/// Counts how deeply something is in itself.
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
    if (value)
        check_text(*value);
    if (name.starts_with(':'))
        name.remove_prefix(1);
    const std::vector<std::string> names = placeholders(fmt::format(":{}", name));
    if (names.size() != 1 || names.front() != name)
        throw UserError(fmt::format("'{}' is not the name of a placeholder", name));
    binds[folded_name(name)] = std::move(value);
}

Shell::Shell(Connector connector, std::unique_ptr<Session> session, Settings settings)
    : connector_(std::move(connector)), session_(std::move(session)), settings_(std::move(settings))
{
}

Shell::~Shell()
{
    end_open_transaction();
}

/// Locks alone are given up without a word.
void Shell::end_open_transaction()
{
    if (open_ == Open::nothing)
        return;
    try {
        session_->rollback();
        if (open_ == Open::changes)
            complain("warning: changes that were not committed have been rolled back");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "warning: the open transaction cannot be rolled back: %s\n", error.what());
    }
    open_ = Open::nothing;
}

std::ostream &Shell::out()
{
    return file_.is_open() ? static_cast<std::ostream &>(file_) : std::cout;
}

void Shell::connect(const std::string &target)
{
    if (may_have_changes())
        throw UserError("there may be changes that are not committed; \\commit or \\rollback them first");
    std::unique_ptr<Session> session = connector_.connect(parse_target(target));
    end_open_transaction();
    session_ = std::move(session);
    definitions_++;
    if (session_->greeting())
        complain(fmt::format("warning: {}", session_->greeting()->what()));
    remark(fmt::format("Connected to {}, served by {}.", session_->link(), name_of(session_->backend())));
}

bool Shell::run_script(std::istream &in, const std::string &name)
{
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    std::size_t not_counted = 0;
    const DepthGuard guard(&in == &std::cin ? standard_input_depth_ : not_counted);
    Input input{name};
    std::string line;
    while (std::getline(in, line)) {
        if (input.line == 0 && line.starts_with(byte_order_mark))
            line.erase(0, byte_order_mark.size());
        if (line.ends_with('\r'))
            line.pop_back();
        if (!take_line(input, line) || interrupted())
            return false;
    }
    if (interrupted())
        return false;
    if (in.bad())
        throw UserError(fmt::format("cannot read {}", name));
    const std::optional<SqlStatement> rest = input.splitter.finish();
    return !rest || run_statement(*rest, input);
}

void Shell::begin_interactive()
{
    is_interactive_ = true;
    settings_.stop_on_error = false;
}

bool Shell::take_line(Input &input, const std::string &line)
{
    input.line++;
    StatementSplitter &splitter = input.splitter;
    const std::size_t start = line.find_first_not_of(" \t");
    if (!splitter.pending() && start != std::string::npos) {
        const std::string_view command = command_without_backslash(std::string_view(line).substr(start));
        if (line[start] == '\\' || !command.empty()) {
            splitter.add_line(""); // keeps its line numbers right
            splitter.discard();
            return run_command(command.empty() ? line.substr(start) : std::string(command), input);
        }
    }
    splitter.add_line(line);
    while (const std::optional<SqlStatement> statement = splitter.next()) {
        if (!run_statement(*statement, input) || interrupted())
            return false;
    }
    return true;
}

bool Shell::run_statement(const SqlStatement &statement, const Input &input)
{
    const auto start = std::chrono::steady_clock::now();
    last_statement_ = statement.text;
    const bool goes_on = run_reporting(statement, input, [&] { execute(statement); });
    if (settings_.timing) {
        const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
        remark(fmt::format("Time: {:.3f} ms", elapsed.count()));
    }
    return goes_on;
}

bool Shell::run_command(const std::string &line, const Input &input)
{
    const bool goes_on = run_reporting({"", input.line}, input, [&] {
        check_text(line);
        run_meta_command(*this, line);
    });
    return goes_on && !has_ended();
}

/// Runs something, and reports why it failed. Returns whether to go on.
bool Shell::run_reporting(const SqlStatement &place, const Input &input, const std::function<void()> &run)
{
    try {
        run();
        check_output();
        return true;
    } catch (const OciError &error) {
        report_error(error, place, input);
    } catch (const std::exception &error) {
        report(input.name.empty() ? error.what()
                                  : fmt::format("{}:{}: {}", input.name, place.line, error.what()));
    }
    has_failed_ = true;
    return !settings_.stop_on_error;
}

void Shell::execute(const SqlStatement &statement)
{
    check_text(statement.text);
    const TransactionEnd end = transaction_end(statement.text);
    if (end != TransactionEnd::none) {
        end_transaction(end);
        return;
    }
    Statement prepared(*session_, statement.text);
    bind_values(prepared, statement.text);
    const Commit commit = settings_.autocommit ? Commit::at_once : Commit::later;
    if (const std::optional<OciError> warning = prepared.execute(commit))
        complain(fmt::format("warning: {}", warning->what()));
    note_transaction(prepared, statement.text);
    if (prepared.is_query())
        write_rows(prepared);
    else
        report_changes(prepared);
}

void Shell::commit()
{
    session_->commit();
    open_ = Open::nothing;
}

void Shell::rollback()
{
    session_->rollback();
    open_ = Open::nothing;
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
void Shell::note_transaction(const Statement &statement, const std::string &sql)
{
    switch (statement.type()) {
    case OCI_STMT_CREATE:
    case OCI_STMT_DROP:
    case OCI_STMT_ALTER:
        open_ = Open::nothing;
        definitions_++;
        break;
    case OCI_STMT_SELECT:
        if (open_ == Open::nothing && locks_rows(sql))
            open_ = Open::locks;
        break;
    default:
        note_changes();
        break;
    }
}

void Shell::query(const std::string &sql, const std::function<void(Statement &)> &read)
{
    Statement statement(*session_, sql);
    if (!statement.is_query())
        throw UserError("this is no query");
    bind_values(statement, sql);
    statement.execute(Commit::later);
    note_transaction(statement, sql);
    read(statement);
}

std::vector<std::vector<std::string>> Shell::rows_of(const std::string &sql, const std::string &pattern,
                                                     std::size_t most_rows) const
{
    constexpr std::size_t longest = 4000;
    Statement statement(*session_, sql);
    statement.bind("pattern", pattern);
    statement.execute(Commit::later);
    Cursor cursor(statement, {longest, longest});
    std::vector<std::vector<std::string>> rows;
    while (rows.size() < most_rows && cursor.fetch() > 0) {
        for (std::size_t row = 0; row < cursor.rows(); row++) {
            std::vector<std::string> &texts = rows.emplace_back();
            for (const Cell &cell : cursor.row(row))
                texts.emplace_back(cell.text);
        }
    }
    return rows;
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

/// In a table, large objects are told apart by their beginnings; programs that read the other formats want
/// all.
CursorLimits Shell::limits() const
{
    constexpr std::size_t lob_head_bytes = 40;
    CursorLimits limits{settings_.longest_value, settings_.longest_value};
    if (settings_.format == Format::table)
        limits.lob = std::min(lob_head_bytes, settings_.longest_value.value_or(lob_head_bytes));
    return limits;
}

WriterOptions Shell::writer_options(const Cursor &cursor) const
{
    WriterOptions options;
    options.header = settings_.header;
    options.colours = !file_.is_open() && colours_allowed(STDOUT_FILENO);
    options.expanded = settings_.expanded;
    options.null_text = settings_.null_text;
    if (settings_.types)
        options.types = cursor.types();
    if (settings_.json_numbers)
        options.numbers = cursor.numbers();
    return options;
}

void Shell::write_rows(Statement &statement)
{
    Cursor cursor(statement, limits());
    std::optional<PagedOutput> paged;
    if (settings_.pager && is_interactive_ && !file_.is_open() && isatty(STDOUT_FILENO) != 0)
        paged.emplace(pager_command());
    const std::unique_ptr<ResultWriter> writer = make_writer(
        settings_.format, paged ? paged->stream() : out(), cursor.columns(), writer_options(cursor));

    std::size_t cut_values = 0;
    const bool is_wanted_whole = settings_.format != Format::table && !settings_.longest_value;
    while (fetch(cursor) > 0 && !(is_wanted_whole && cut_values > 0)) {
        for (std::size_t row = 0; row < cursor.rows(); row++) {
            const std::vector<Cell> &cells = cursor.row(row);
            if (interrupted())
                break; // a large object may be read in part
            // Of what is cut in a table, the length is told beside it.
            cut_values +=
                static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), [](const Cell &cell) {
                    return cell.is_cut && cell.length.empty();
                }));
            if (is_wanted_whole && cut_values > 0)
                break; // what is not whole is no data
            writer->row(cells);
        }
        if (cursor.remark())
            complain(fmt::format("warning: {}", cursor.remark()->what()));
        if (interrupted() || (paged && paged->is_left()))
            break;
    }
    writer->finish();
    if (paged)
        paged->finish();
    out().flush();
    if (interrupted())
        report("interrupted: the rows are not complete");
    report_cut_values(cut_values);
}

/// Values that are cut although nobody asked for that are an error.
void Shell::report_cut_values(std::size_t count) const
{
    if (count == 0)
        return;
    const std::string values = fmt::format("{} value{}", count, count == 1 ? "" : "s");
    if (settings_.longest_value) {
        complain(fmt::format("warning: {} cut after {} bytes; --max-value sets another limit", values,
                             *settings_.longest_value));
        return;
    }
    throw UserError(
        fmt::format("{} cannot be fetched whole{}; --max-value {} shows the beginning of long values", values,
                    is_extended() ? "" : " through the exact edition on this connection, but by dkomsql",
                    longest_array_value));
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

void Shell::report_error(const OciError &error, const SqlStatement &statement, const Input &input)
{
    out().flush();
    std::size_t line = statement.line;
    if (error.offset)
        line += locate(statement.text, *error.offset).line;
    const std::string place = input.name.empty() ? "" : fmt::format("{}:{}: ", input.name, line);
    fmt::print(stderr, "{}{} {}\n", printable(place), error_word(session_.get()),
               printable_lines(error.what()));
    if (error.offset && !statement.text.empty())
        fmt::print(stderr, "{}", pointer_to(statement, *error.offset));
}

void Shell::report(std::string_view message)
{
    out().flush();
    fmt::print(stderr, "{} {}\n", error_word(nullptr), printable_lines(message));
}

void Shell::complain(std::string_view message)
{
    fmt::print(stderr, "{}\n", printable_lines(message));
}

void Shell::remark(std::string_view message)
{
    if (settings_.format == Format::table) {
        out() << printable_lines(message) << '\n';
        out().flush();
    } else {
        complain(message);
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
    const std::string user = session_->user().empty() ? "" : session_->user() + "@";
    const char *mark = open_ == Open::nothing ? "" : "*";
    std::string text =
        printable(fmt::format("{}{} [{}]{}> ", user, session_->link(), name_of(session_->backend()), mark));
    if (!continuation)
        return text;
    return fmt::format("{:>{}}", "...> ", display_width(text));
}

} // namespace dkomsql
