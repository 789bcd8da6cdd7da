// Conversions between types, and into the columns of tables.
#include "functions/arguments.h"
#include "functions/column_fit.h"
#include "functions/families.h"
#include "values/stored_number.h"

#include <algorithm>
#include <memory>

namespace sqlite_oci
{
namespace
{

value value_of(sqlite3_value *argument, bool is_number)
{
    switch (sqlite3_value_type(argument)) {
    case SQLITE_INTEGER:
        return {.kind = value_kind::integer, .integer = sqlite3_value_int64(argument), .bytes = {}};
    case SQLITE_FLOAT:
        return {.kind = value_kind::real, .real = sqlite3_value_double(argument), .bytes = {}};
    case SQLITE_TEXT:
        return {.kind = value_kind::text, .bytes = text_of(argument)};
    case SQLITE_BLOB:
        return {.kind = is_number ? value_kind::number : value_kind::blob, .bytes = bytes_of(argument)};
    default:
        return {};
    }
}

void return_value(sqlite3_context *context, const value &result)
{
    switch (result.kind) {
    case value_kind::integer:
        return sqlite3_result_int64(context, result.integer);
    case value_kind::real:
        return sqlite3_result_double(context, result.real);
    case value_kind::text:
        return sqlite3_result_text64(context, result.bytes.data(), result.bytes.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8);
    case value_kind::blob:
    case value_kind::number:
        return sqlite3_result_blob64(context, result.bytes.data(), result.bytes.size(), SQLITE_TRANSIENT);
    case value_kind::null:
        return sqlite3_result_null(context);
    }
}

// store(value, type [, column]): the type and the column are constants, which are read once a statement.
template <bool is_cast> void store(sqlite3_context *context, int count, arguments given)
{
    auto *rule = static_cast<fit_rule *>(sqlite3_get_auxdata(context, 1));
    std::unique_ptr<fit_rule> made;
    if (!rule) {
        made = std::make_unique<fit_rule>();
        made->type = parse_declared_type(text_of(given[1]));
        made->is_cast = is_cast;
        if (count == 3)
            made->column = text_of(given[2]);
        rule = made.get();
    }
    value result;
    fit_room room;
    const int code =
        fit(value_of(given[0], rule->type.type == SQLT_NUM), *rule, settings_of(context), &result, &room);
    if (code)
        return return_error(context, code, room.message);
    // SQLite keeps what a value needs before it is gone.
    return_value(context, result);
    if (made)
        sqlite3_set_auxdata(context, 1, made.release(),
                            [](void *old) { delete static_cast<fit_rule *>(old); });
}

void number_text(sqlite3_context *context, int, arguments given)
{
    if (is_null(given[0]))
        return;
    if (sqlite3_value_type(given[0]) == SQLITE_FLOAT) {
        char text[number_text_max];
        return return_text(context, {text, real_to_chars(sqlite3_value_double(given[0]), text)});
    }
    OCINumber number;
    if (number_argument(context, given[0], &number))
        return_text(context, number_to_text(number));
}

// A value of which only its storage tells what it is.
void any_text(sqlite3_context *context, int count, arguments given)
{
    const int type = sqlite3_value_type(given[0]);
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT)
        return number_text(context, count, given);
    if (type != SQLITE_BLOB)
        return sqlite3_result_value(context, given[0]);
    fit_room room;
    value result;
    fit(value_of(given[0], false),
        {.type = parse_declared_type("VARCHAR2(4000)"), .column = {}, .is_cast = true}, settings_of(context),
        &result, &room);
    return_value(context, result);
}

// An empty CLOB is null as a text.
void clob_text(sqlite3_context *context, int, arguments given)
{
    return_text(context, text_of(given[0]));
}

void raw_of_text(sqlite3_context *context, int, arguments given)
{
    if (is_null(given[0]))
        return;
    if (sqlite3_value_type(given[0]) == SQLITE_BLOB)
        return sqlite3_result_value(context, given[0]);
    std::string bytes;
    if (!bytes_from_hex(text_of(given[0]), &bytes))
        return return_error(context, ora_invalid_hex, conversion_error_text(ora_invalid_hex));
    sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

void row_id_text(sqlite3_context *context, int, arguments given)
{
    if (sqlite3_value_type(given[0]) == SQLITE_TEXT)
        return sqlite3_result_value(context, given[0]);
    if (!is_null(given[0]))
        return_text(context, row_id_to_text(sqlite3_value_int64(given[0])));
}

void row_id_of_text(sqlite3_context *context, int, arguments given)
{
    std::int64_t row = 0;
    if (is_null(given[0]))
        return;
    if (!row_id_from_text(text_of(given[0]), &row))
        return return_error(context, 1410, "not a row identifier");
    sqlite3_result_int64(context, row);
}

// --- With formats

void format_number(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    OCINumber number;
    if (!number_argument(context, given[0], &number))
        return;
    number_locale locale;
    if (count == 3 && !number_locale_from_nls(text_of(given[2]), &locale))
        return return_error(context, 12702, "not NLS parameters");
    std::string text;
    const number_status status = number_format(number, text_of(given[1]), locale, &text);
    if (status == number_status::ok || status == number_status::overflow ||
        status == number_status::underflow)
        return return_text(context, text);
    return_error(context, 1481, "not a format of numbers");
}

void format_any(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    timestamp time;
    if (sqlite3_value_type(given[0]) != SQLITE_TEXT || !timestamp_from_text(text_of(given[0]), &time))
        return format_number(context, count, given);
    std::string text;
    if (const int code = timestamp_format(time, text_of(given[1]), timestamp_default_digits, &text))
        return return_error(context, code, date_error_text(code));
    return_text(context, text);
}

void number_from_format(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    OCINumber number;
    const number_status status = number_parse_format(text_of(given[0]), text_of(given[1]), {}, &number);
    if (status == number_status::overflow)
        return return_error(context, 1722, "not a number in this format");
    return_number(context, status, number);
}

// What the dictionary tells of a declared type.
void type_part(sqlite3_context *context, int, arguments given)
{
    const declared_type type = parse_declared_type(text_of(given[0]));
    const std::string_view part = text_of(given[1]);
    const bool is_text = type.is_text();
    if (part == "TYPE") {
        const std::string text = type.type == SQLT_NUM && type.scale == no_scale && type.precision > 0
                                     ? "FLOAT"
                                     : declared_type_text(type);
        const bool keeps_digits = type.type == SQLT_TIMESTAMP || type.type == SQLT_TIMESTAMP_TZ ||
                                  type.type == SQLT_TIMESTAMP_LTZ || type.type == SQLT_INTERVAL_YM ||
                                  type.type == SQLT_INTERVAL_DS;
        return return_text(context, keeps_digits ? text : text.substr(0, text.find('(')));
    }
    if (part == "LENGTH") {
        constexpr int longest_character = 4;
        const int length = type.type == SQLT_NUM   ? 22
                           : type.type == SQLT_DAT ? 7
                           : is_text && type.by_character
                               ? std::min<int>(type.length * longest_character, longest_text)
                               : type.length;
        return sqlite3_result_int(context, length);
    }
    if (part == "PRECISION" && type.type == SQLT_NUM && type.precision > 0)
        return sqlite3_result_int(context, type.precision);
    if (part == "SCALE" && type.scale != no_scale && (type.type == SQLT_TIMESTAMP || type.precision > 0))
        return sqlite3_result_int(context, type.scale);
    if (part == "CHARS")
        return sqlite3_result_int(context, is_text ? type.length : 0);
    if (part == "UNIT" && is_text)
        return return_text(context, type.by_character ? "C" : "B");
}

constexpr function_entry entries[] = {
    {"oci_type_part", type_part, 2},
    {"oci_store", store<false>, 3},
    {"oci_cast", store<true>, 2},
    {"oci_number_text", number_text, 1},
    {"oci_any_text", any_text, 1},
    {"oci_clob_text", clob_text, 1},
    {"oci_raw", raw_of_text, 1},
    {"oci_row_id_text", row_id_text, 1},
    {"oci_row_id", row_id_of_text, 1},
    {"oci_format_number", format_number, 2},
    {"oci_format_number", format_number, 3},
    {"oci_format_any", format_any, 2},
    {"oci_to_number", number_from_format, 2},
    // By the names in views of older databases.
    {"to_char", any_text, 1},
    {"to_char", format_any, 2},
    {"to_number", number_from_format, 2},
};

} // namespace

void add_conversion_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
