#ifndef DKOMSQL_SHELL_H
#define DKOMSQL_SHELL_H

#include <cstddef>
#include <fstream>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "connector.h"
#include "cursor.h"
#include "result_writer.h"
#include "session.h"
#include "sql_text.h"
#include "statement.h"
#include "user_error.h"

namespace dkomsql
{

/// Values of placeholders by folded_name(); nothing stands for NULL.
using Binds = std::map<std::string, std::optional<std::string>, std::less<>>;

/// Stores a value for the placeholder `name`, which may be given with its colon. Throws UserError when that
/// is not the name of a placeholder.
void set_bind(Binds &binds, std::string_view name, std::optional<std::string> value);

struct Settings {
    Format format = Format::table;
    bool header = true;
    bool expanded = false; ///< tables have a line for each value
    bool stop_on_error = true;
    bool timing = false;
    bool types = false;        ///< types of the columns below their names, where the connection tells them
    bool autocommit = true;    ///< each change is committed at once
    bool json_numbers = false; ///< numbers are numbers in JSON, where the connection tells them
    bool pager = true;         ///< long results of a session at the terminal go through a pager
    std::optional<std::string> null_text; ///< stands for NULL in tables and CSV
    std::optional<std::size_t>
        longest_value; ///< longer values are shown cut, in bytes; nothing: all are whole
    Binds binds;
};

/// Where statements come from, and what has been read of them and not been run.
struct Input {
    std::string name; ///< how messages call it; empty: they name no place
    std::size_t line = 0;
    StatementSplitter splitter{};
};

/// Runs statements and backslash commands on a connection and writes what comes of them.
class Shell
{
public:
    Shell(Connector connector, std::unique_ptr<Session> session, Settings settings);

    /// Rolls back what was not committed, with a warning.
    ~Shell();
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    /// Runs everything in `in`. `name` is how messages call the source; empty: messages name no place.
    /// Returns false when the run was ended early, by an error or by `\q`.
    bool run_script(std::istream &in, const std::string &name);

    /// Takes one more line and runs what it completes. Returns false when the run of statements has to end.
    bool take_line(Input &input, const std::string &line);

    /// From now on a user types: errors end nothing, and long results go through the pager.
    void begin_interactive();
    bool is_interactive() const { return is_interactive_; }

    /// True when a statement or a command has failed so far.
    bool has_failed() const { return has_failed_; }

    /// True when nothing more is to be run: after `\q`, and after an error that ends a script.
    bool has_ended() const { return leaving_ || (has_failed_ && settings_.stop_on_error); }
    bool is_leaving() const { return leaving_; }

    std::string prompt(bool continuation) const;

    /// The statement that was run last.
    const std::string &last_statement() const { return last_statement_; }

    // For the backslash commands.

    Settings &settings() { return settings_; }
    const Session &session() const { return *session_; }
    std::ostream &out();

    /// Connects to `link` or `user@link`, and closes the connection that there was when that has worked.
    void connect(const std::string &target);

    /// Runs a script file; throws UserError when it cannot be read.
    void include(const std::string &path);

    /// True while the statements come from the standard input or the terminal.
    bool reads_standard_input() const { return is_interactive_ || standard_input_depth_ > 0; }

    /// Sends results to a file from now on; an empty path sends them to the standard output again.
    void redirect(const std::string &path);

    /// Ends the transaction.
    void commit();
    void rollback();

    /// True when there may be changes that are not committed.
    bool may_have_changes() const { return open_ == Open::changes; }

    /// Notes that a command has made changes that autocommit leaves open.
    void note_changes() { open_ = settings_.autocommit ? Open::nothing : Open::changes; }

    /// Counts definitions that were run: what is known of tables and columns may have changed with each.
    std::size_t definitions() const { return definitions_; }

    /// Runs a query with the values that are bound, for a command that reads its rows.
    void query(const std::string &sql, const std::function<void(Statement &)> &read);

    /// The rows of a query of texts, at most `most_rows`; `pattern` is the value of its placeholder :pattern.
    std::vector<std::vector<std::string>> rows_of(const std::string &sql, const std::string &pattern,
                                                  std::size_t most_rows) const;

    /// Makes the shell end.
    void leave() { leaving_ = true; }

    /// Writes an error message to the standard error stream.
    void report(std::string_view message);

    /// Writes any text to the standard error stream, control characters made visible.
    static void complain(std::string_view message);

    /// Writes a remark that belongs to no result: beside a table, apart from data for programs.
    void remark(std::string_view message);

private:
    /// What the transaction may hold that is not committed.
    enum class Open { nothing, locks, changes };

    bool run_statement(const SqlStatement &statement, const Input &input);
    bool run_command(const std::string &line, const Input &input);
    bool run_reporting(const SqlStatement &place, const Input &input, const std::function<void()> &run);
    bool failed();

    void execute(const SqlStatement &statement);
    void end_transaction(TransactionEnd how);
    void end_open_transaction();
    void note_transaction(const Statement &statement, const std::string &sql);
    void bind_values(Statement &statement, const std::string &sql);
    void write_rows(Statement &statement);
    CursorLimits limits() const;
    WriterOptions writer_options(const Cursor &cursor) const;
    static std::size_t fetch(Cursor &cursor);
    void report_cut_values(std::size_t count) const;
    void report_changes(const Statement &statement);
    void report_error(const OciError &error, const SqlStatement &statement, const Input &input);
    void check_output();

    Connector connector_;
    std::unique_ptr<Session> session_;
    Settings settings_;
    std::ofstream file_;
    bool has_failed_ = false;
    bool leaving_ = false;
    bool is_interactive_ = false;
    Open open_ = Open::nothing;
    std::size_t include_depth_ = 0;
    std::size_t standard_input_depth_ = 0;
    std::size_t definitions_ = 0;
    std::string last_statement_;
};

} // namespace dkomsql

#endif
