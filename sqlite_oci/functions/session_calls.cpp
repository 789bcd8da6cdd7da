// What depends on the session: its user, sequences, the count of rows.
#include "functions/arguments.h"
#include "functions/families.h"
#include "functions/sequences.h"
#include "text/text_scan.h"

namespace sqlite_oci
{
namespace
{

session_settings &own_settings(sqlite3_context *context)
{
    return *static_cast<session_settings *>(sqlite3_user_data(context));
}

void user(sqlite3_context *context, int, arguments)
{
    return_text(context, settings_of(context).user);
}

void next_row(sqlite3_context *context, int, arguments)
{
    sqlite3_result_int64(context, ++own_settings(context).row_number);
}

void return_sequence_error(sqlite3_context *context, int code, const std::string &name)
{
    const char *text = code == 2289   ? "sequence %s does not exist"
                       : code == 8002 ? "sequence %s.CURRVAL is not yet defined in this session"
                       : code == 8004 ? "sequence %s has no more numbers"
                                      : "sequence %s: the database is locked by another session";
    char message[256];
    sqlite3_snprintf(sizeof message, message, text, name.c_str());
    return_error(context, code, message);
}

void next_of_sequence(sqlite3_context *context, int, arguments given)
{
    const std::string name(text_of(given[0]));
    std::int64_t number = 0;
    if (const int code = next_value(sqlite3_context_db_handle(context), own_settings(context), name, &number))
        return return_sequence_error(context, code, name);
    sqlite3_result_int64(context, number);
}

void current_of_sequence(sqlite3_context *context, int, arguments given)
{
    const std::string name(text_of(given[0]));
    std::int64_t number = 0;
    sqlite3 *const db = sqlite3_context_db_handle(context);
    const int code = has_sequence(db, name) ? current_value(settings_of(context), name, &number) : 2289;
    if (code)
        return return_sequence_error(context, code, name);
    sqlite3_result_int64(context, number);
}

void guid(sqlite3_context *context, int, arguments)
{
    char bytes[16];
    sqlite3_randomness(sizeof bytes, bytes);
    sqlite3_result_blob(context, bytes, sizeof bytes, SQLITE_TRANSIENT);
}

// What of the context USERENV has an answer here.
bool environment_value(const session_settings &settings, std::string_view name, std::string *text)
{
    for (const char *known : {"CURRENT_USER", "SESSION_USER", "CURRENT_SCHEMA"})
        if (equal_ignoring_case(known, name)) {
            *text = settings.user;
            return true;
        }
    if (equal_ignoring_case(name, "LANG")) {
        *text = "US";
        return true;
    }
    if (equal_ignoring_case(name, "LANGUAGE")) {
        *text = "AMERICAN_AMERICA.AL32UTF8";
        return true;
    }
    return false;
}

void sys_context(sqlite3_context *context, int count, arguments given)
{
    std::string text;
    const std::string_view name = text_of(given[count - 1 - (count == 3)]);
    if (count > 1 && !equal_ignoring_case(text_of(given[0]), "USERENV"))
        return;
    if (!environment_value(settings_of(context), name, &text))
        return return_error(context, 2003, "this parameter of USERENV is not known");
    return_text(context, text);
}

void raise(sqlite3_context *context, int, arguments given)
{
    const int code = sqlite3_value_int(given[0]);
    return_error(context, code,
                 code == 1427    ? "a subquery for one value returns more than one row"
                 : code == 30926 ? "several rows of the source match one row of the table"
                                 : "the statement fails");
}

// only(rows, value): the value of a subquery that may have one row.
void only(sqlite3_context *context, int, arguments given)
{
    if (sqlite3_value_int64(given[0]) > 1)
        return return_error(context, 1427, "a subquery for one value returns more than one row");
    sqlite3_result_value(context, given[1]);
}

// LOBs of no length, which are not null, for programs that fill them through a locator.
void empty_clob(sqlite3_context *context, int, arguments)
{
    sqlite3_result_text(context, "", 0, SQLITE_STATIC);
}

void empty_blob(sqlite3_context *context, int, arguments)
{
    sqlite3_result_zeroblob(context, 0);
}

constexpr function_entry entries[] = {
    {"oci_user", user, 0, false},
    {"oci_next_row", next_row, 0, false},
    {"oci_nextval", next_of_sequence, 1, false},
    {"oci_nextval", next_of_sequence, 2, false},
    {"oci_currval", current_of_sequence, 1, false},
    {"oci_guid", guid, 0, false},
    {"oci_sys_context", sys_context, 2, false},
    {"oci_sys_context", sys_context, 3, false},
    {"oci_userenv", sys_context, 1, false},
    {"oci_raise", raise, 1, false},
    {"oci_only", only, 2},
    {"oci_empty_clob", empty_clob, 0},
    {"oci_empty_blob", empty_blob, 0},
    // By the names in views of older databases.
    {"user", user, 0, false},
    {"empty_clob", empty_clob, 0},
    {"empty_blob", empty_blob, 0},
};

} // namespace

void add_session_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
