#include "functions/arguments.h"

#include "handles/call.h"
#include "sql/sqlite_errors.h"
#include "values/stored_number.h"

#include <limits>

namespace sqlite_oci
{
namespace
{

value number_value(sqlite3_value *argument)
{
    switch (sqlite3_value_type(argument)) {
    case SQLITE_INTEGER:
        return {.kind = value_kind::integer, .integer = sqlite3_value_int64(argument), .bytes = {}};
    case SQLITE_FLOAT:
        return {.kind = value_kind::real, .real = sqlite3_value_double(argument), .bytes = {}};
    case SQLITE_BLOB:
        return {.kind = value_kind::number, .bytes = bytes_of(argument)};
    default:
        return {.kind = value_kind::text, .bytes = text_of(argument)};
    }
}

} // namespace

bool any_null(int count, arguments given)
{
    for (int i = 0; i < count; ++i)
        if (is_null(given[i]))
            return true;
    return false;
}

std::string_view text_of(sqlite3_value *argument)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(argument));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(argument)))
                : std::string_view();
}

std::string_view bytes_of(sqlite3_value *argument)
{
    const auto *bytes = static_cast<const char *>(sqlite3_value_blob(argument));
    return bytes ? std::string_view(bytes, static_cast<std::size_t>(sqlite3_value_bytes(argument)))
                 : std::string_view();
}

const session_settings &settings_of(sqlite3_context *context)
{
    return *static_cast<const session_settings *>(sqlite3_user_data(context));
}

bool number_argument(sqlite3_context *context, sqlite3_value *argument, OCINumber *number)
{
    const int code = number_from_value(number_value(argument), number);
    if (code)
        return_error(context, code == ora_inconsistent_types ? int{ora_invalid_number} : code,
                     "not a number");
    return code == 0;
}

bool integer_argument(sqlite3_context *context, sqlite3_value *argument, std::int64_t *integer)
{
    if (sqlite3_value_type(argument) == SQLITE_INTEGER) {
        *integer = sqlite3_value_int64(argument);
        return true;
    }
    OCINumber number;
    if (!number_argument(context, argument, &number))
        return false;
    number_round(number, 0, rounding::toward_zero, &number);
    if (!number_to_int64(number, integer))
        *integer = number_sign(number) < 0 ? std::numeric_limits<std::int64_t>::min()
                                           : std::numeric_limits<std::int64_t>::max();
    return true;
}

bool date_argument(sqlite3_context *context, sqlite3_value *argument, civil_time *time)
{
    const std::string_view text = text_of(argument);
    const int code = date_from_session_text(text, settings_of(context), time);
    if (code)
        return_error(context, code, date_error_text(code));
    return code == 0;
}

bool timestamp_argument(sqlite3_context *context, sqlite3_value *argument, timestamp *time)
{
    if (timestamp_from_text(text_of(argument), time))
        return true;
    *time = {};
    return date_argument(context, argument, &time->local);
}

void return_text(sqlite3_context *context, std::string_view text)
{
    if (!text.empty())
        sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void return_error(sqlite3_context *context, int code, std::string_view text)
{
    sqlite3_result_error(context, make_record(code, text).text.c_str(), -1);
}

void return_number(sqlite3_context *context, const OCINumber &number)
{
    const stored_number stored = store_number(number);
    if (stored.kind == value_kind::integer)
        sqlite3_result_int64(context, stored.integer);
    else if (stored.kind == value_kind::real)
        sqlite3_result_double(context, stored.real);
    else
        sqlite3_result_blob64(context, stored.bytes, stored.length, SQLITE_TRANSIENT);
}

void return_number(sqlite3_context *context, number_status status, const OCINumber &number)
{
    switch (status) {
    case number_status::ok:
    case number_status::underflow:
        return return_number(context, number);
    case number_status::divide_by_zero:
        return return_error(context, 1476, "divisor is equal to zero");
    case number_status::malformed:
        return return_error(context, 1722, "not a number, or not in this format");
    case number_status::bad_format:
        return return_error(context, 1481, "not a format of numbers");
    case number_status::overflow:
        return return_error(context, 1426, "numeric overflow");
    default:
        return return_error(context, 1428, "the argument is out of range");
    }
}

void return_date(sqlite3_context *context, const civil_time &time)
{
    return_text(context, date_to_iso(time));
}

void add_function(sqlite3 *db, session_settings &settings, const function_entry &entry)
{
    const int flags = SQLITE_UTF8 | (entry.is_constant ? SQLITE_DETERMINISTIC : 0);
    const int code = sqlite3_create_function_v2(db, entry.name, entry.arguments, flags, &settings, entry.body,
                                                nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        throw failure{sqlite_record(db, code)};
}

} // namespace sqlite_oci
