#include "statements/statement.h"

namespace sqlite_oci
{
namespace
{

// Where the error that the connection reports is in the text. For a name that it does not find, SQLite tells
// the name only, at the end of the message.
std::size_t error_place(sqlite3 *db, std::string_view text)
{
    const int told = sqlite3_error_offset(db);
    if (told >= 0)
        return static_cast<std::size_t>(told);
    const std::string_view message = sqlite3_errmsg(db);
    const auto name = message.find_last_of(" .");
    const auto found = name == message.npos ? message.npos : find_word(text, message.substr(name + 1));
    return found == text.npos ? 0 : found;
}

} // namespace

void compiled_statement::compile(const std::shared_ptr<connection> &on, const sql_text &text,
                                 ub2 *error_offset)
{
    *error_offset = 0;
    if (compiled_ && on_ == on)
        return;
    reset();
    const char *tail = nullptr;
    const int code =
        sqlite3_prepare_v3(on->db(), text.for_engine.c_str(), static_cast<int>(text.for_engine.size()) + 1,
                           SQLITE_PREPARE_PERSISTENT, &compiled_, &tail);
    if (code != SQLITE_OK) {
        *error_offset = as_attribute(error_place(on->db(), text.for_engine));
        throw failure{sqlite_record(on->db(), code, text.action, text.for_engine)};
    }
    on_ = on;
    try {
        check_whole_text(text, tail);
    } catch (...) {
        *error_offset = as_attribute(static_cast<std::size_t>(tail - text.for_engine.c_str()));
        finalize();
        throw;
    }
}

// SQLite compiles the first of several statements; a statement handle has only one.
void compiled_statement::check_whole_text(const sql_text &text, const char *tail) const
{
    if (!compiled_)
        fail(900, "there is no SQL statement in the text");
    if (!is_blank(tail))
        fail(933, "a second statement follows the first; execute one at a time");
    if (static_cast<std::size_t>(sqlite3_bind_parameter_count(compiled_)) != text.placeholders.size())
        fail(911, "invalid character: bind variables are written :name");
}

void compiled_statement::reset()
{
    if (!compiled_)
        return;
    const auto on = on_; // outlives the lock
    const cleaning_lock lock(on->mutex());
    finalize();
}

void compiled_statement::leave_other(const connection &than)
{
    if (on_.get() != &than)
        reset();
}

void compiled_statement::finalize()
{
    sqlite3_finalize(compiled_);
    compiled_ = nullptr;
    on_ = nullptr;
}

} // namespace sqlite_oci
