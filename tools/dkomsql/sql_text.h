#ifndef DKOMSQL_SQL_TEXT_H
#define DKOMSQL_SQL_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

/// One statement as it is sent to the database.
struct SqlStatement {
    std::string text;     ///< without the terminator and without comments in front of it
    std::size_t line = 1; ///< line of the source, counted from 1, on which `text` begins
};

/// Cuts lines of SQL into statements. A statement ends at `;`, or at a line that holds only `/`. Blocks
/// (BEGIN, DECLARE, CREATE of a trigger or of a stored program) contain semicolons and end only at the
/// `/` line or at the end of the input. Quoted text and comments end nothing.
class StatementSplitter
{
public:
    /// Adds one line, given without its line feed.
    void add_line(std::string_view line);

    /// The next complete statement, if there is one.
    std::optional<SqlStatement> next();

    /// What is left at the end of the input, taken as a statement; nothing if it is only blanks and comments.
    std::optional<SqlStatement> finish();

    /// True when a statement has been begun and not ended.
    bool pending() const;

    /// The text of what has been begun.
    const std::string &text() const { return buffer_; }

    /// Forgets what has been begun; line numbers go on.
    void discard();

private:
    std::optional<SqlStatement> take(std::size_t text_end, std::size_t rest);

    std::string buffer_;          // text not yet handed out, lines joined by line feeds
    std::size_t scanned_ = 0;     // no terminator stands before this position of buffer_
    std::size_t buffer_line_ = 1; // source line of the first character of buffer_
};

/// Names of the placeholders (`:name`) of a statement, without the colon, each once, in order of
/// appearance; names that differ only in case are one. Empty for CREATE statements, whose bodies may speak
/// of `:new` and `:old`.
std::vector<std::string> placeholders(std::string_view sql);

/// The form of a placeholder name under which its value is kept.
std::string folded_name(std::string_view name);

/// Whether a query locks its rows (FOR UPDATE).
bool locks_rows(std::string_view sql);

/// Names behind FROM, JOIN, INTO, UPDATE and TABLE as they stand in the text, which may be incomplete.
std::vector<std::string> tables_named(std::string_view sql);

/// What a statement does to a transaction as a whole.
enum class TransactionEnd { none, commit, rollback };

/// Tells COMMIT [WORK] and ROLLBACK [WORK] from all other statements.
TransactionEnd transaction_end(std::string_view sql);

/// Where a byte offset lies in a text.
struct TextPosition {
    std::size_t line = 0;       ///< line of the text, counted from 0
    std::string_view line_text; ///< that line
    std::size_t offset = 0;     ///< bytes of the line in front of the place
};

/// The position of `offset`, which is taken as the end of `text` when it lies behind it.
TextPosition locate(std::string_view text, std::size_t offset);

} // namespace dkomsql

#endif
