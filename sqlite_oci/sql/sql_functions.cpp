#include "sql/sql_functions.h"

#include "handles/call.h"
#include "sql/dual_table.h"
#include "sql/sqlite_errors.h"
#include "values/date.h"
#include "values/number.h"
#include "values/value.h"

#include <algorithm>
#include <memory>
#include <string>

namespace sqlite_oci
{
namespace
{

// --- Arguments and results

std::string_view text_of(sqlite3_value *argument)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(argument));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(argument)))
                : std::string_view();
}

bool is_null(sqlite3_value *argument)
{
    return sqlite3_value_type(argument) == SQLITE_NULL;
}

bool is_number(sqlite3_value *argument)
{
    const int type = sqlite3_value_type(argument);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

void return_text(sqlite3_context *context, std::string_view text)
{
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void return_error(sqlite3_context *context, int code, std::string_view text)
{
    sqlite3_result_error(context, make_record(code, text).text.c_str(), -1);
}

void return_number(sqlite3_context *context, const OCINumber &number)
{
    std::int64_t integer = 0;
    if (number_is_integer(number) && number_to_int64(number, &integer))
        sqlite3_result_int64(context, integer);
    else
        sqlite3_result_double(context, number_to_double(number));
}

bool number_argument(sqlite3_context *context, sqlite3_value *argument, OCINumber *number)
{
    bool is_good = true;
    if (sqlite3_value_type(argument) == SQLITE_INTEGER)
        number_from_int64(sqlite3_value_int64(argument), number);
    else if (sqlite3_value_type(argument) == SQLITE_FLOAT)
        is_good = number_from_double(sqlite3_value_double(argument), number);
    else
        is_good = number_from_text(text_of(argument), number);
    if (!is_good)
        return_error(context, 1722, "not a number");
    return is_good;
}

bool date_argument(sqlite3_context *context, sqlite3_value *argument, civil_time *time)
{
    const std::string_view text = text_of(argument);
    const bool is_date = date_from_iso(text, time) || date_from_default_text(text, time);
    if (!is_date)
        return_error(context, 1861, conversion_error_text(1861));
    return is_date;
}

using arguments = sqlite3_value **;

// --- Nulls and choices

void nvl(sqlite3_context *context, int, arguments given)
{
    sqlite3_result_value(context, is_null(given[0]) ? given[1] : given[0]);
}

void nvl2(sqlite3_context *context, int, arguments given)
{
    sqlite3_result_value(context, is_null(given[0]) ? given[2] : given[1]);
}

int order(sqlite3_value *a, sqlite3_value *b)
{
    if (is_number(a) && is_number(b)) {
        const double difference = sqlite3_value_double(a) - sqlite3_value_double(b);
        return difference < 0 ? -1 : difference > 0 ? 1 : 0;
    }
    return text_of(a).compare(text_of(b));
}

// decode(value, candidate, result, ... [, otherwise]); null equals null here.
void decode(sqlite3_context *context, int count, arguments given)
{
    for (int i = 1; i + 1 < count; i += 2)
        if (is_null(given[0]) || is_null(given[i]) ? is_null(given[0]) && is_null(given[i])
                                                   : order(given[0], given[i]) == 0)
            return sqlite3_result_value(context, given[i + 1]);
    if (count % 2 == 0 && count > 1)
        sqlite3_result_value(context, given[count - 1]);
}

template <int wanted> void extreme(sqlite3_context *context, int count, arguments given)
{
    sqlite3_value *found = count ? given[0] : nullptr;
    for (int i = 0; i < count; ++i) {
        if (is_null(given[i]))
            return;
        if (order(given[i], found) * wanted > 0)
            found = given[i];
    }
    if (found)
        sqlite3_result_value(context, found);
}

// --- Conversions

void format_number(sqlite3_context *context, sqlite3_value *argument, std::string_view format)
{
    OCINumber number;
    if (!number_argument(context, argument, &number))
        return;
    std::string text;
    const number_status status = number_format(number, format, {}, &text);
    if (status == number_status::ok || status == number_status::overflow ||
        status == number_status::underflow)
        return return_text(context, text);
    return_error(context, 1481, "not a format of numbers");
}

void format_date(sqlite3_context *context, const civil_time &time, std::string_view format)
{
    std::string text;
    if (const int code = date_format(time, format, &text))
        return return_error(context, code, date_error_text(code));
    return_text(context, text);
}

void to_char(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]) || (count == 2 && is_null(given[1])))
        return;
    if (count == 2) {
        civil_time time{};
        if (!is_number(given[0]) && date_from_iso(text_of(given[0]), &time))
            return format_date(context, time, text_of(given[1]));
        return format_number(context, given[0], text_of(given[1]));
    }
    if (sqlite3_value_type(given[0]) != SQLITE_FLOAT)
        return return_text(context, text_of(given[0]));
    char text[number_text_max];
    return_text(context, {text, real_to_chars(sqlite3_value_double(given[0]), text)});
}

void to_date(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]) || (count == 2 && is_null(given[1])))
        return;
    civil_time time{};
    if (count == 1) {
        if (date_argument(context, given[0], &time))
            return_text(context, date_to_iso(time));
        return;
    }
    if (const int code = date_parse_format(text_of(given[0]), text_of(given[1]), date_now(), &time))
        return return_error(context, code, date_error_text(code));
    return_text(context, date_to_iso(time));
}

void to_number(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]) || (count == 2 && is_null(given[1])))
        return;
    OCINumber number;
    if (count == 1) {
        if (number_argument(context, given[0], &number))
            return_number(context, number);
        return;
    }
    switch (number_parse_format(text_of(given[0]), text_of(given[1]), {}, &number)) {
    case number_status::ok:
    case number_status::underflow:
        return return_number(context, number);
    case number_status::bad_format:
        return return_error(context, 1481, "not a format of numbers");
    default:
        return return_error(context, 1722, "not a number, or not in this format");
    }
}

// --- Dates

void sysdate(sqlite3_context *context, int, arguments)
{
    return_text(context, date_to_iso(date_now()));
}

void add_months(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    if (is_null(given[0]) || is_null(given[1]) || !date_argument(context, given[0], &time))
        return;
    if (!date_add_months(time, sqlite3_value_int64(given[1]), &time))
        return return_error(context, 1841, "the year is out of range");
    return_text(context, date_to_iso(time));
}

void last_day(sqlite3_context *context, int, arguments given)
{
    civil_time time{};
    if (is_null(given[0]) || !date_argument(context, given[0], &time))
        return;
    time.day = date_last_day(time.year, time.month);
    return_text(context, date_to_iso(time));
}

// --- Texts

void length_in_bytes(sqlite3_context *context, int, arguments given)
{
    if (!is_null(given[0]))
        sqlite3_result_int64(context, static_cast<sqlite3_int64>(text_of(given[0]).size()));
}

// `characters` characters of the repeated filling.
std::string filling_of(std::string_view filling, std::size_t characters)
{
    std::string result;
    for (std::size_t left = characters; left > 0;) {
        const std::size_t taken = std::min(left, utf8_length(filling));
        result.append(filling.substr(0, utf8_offset(filling, taken)));
        left -= taken;
    }
    return result;
}

enum class side : std::uint8_t { left, right };

template <side where> void pad(sqlite3_context *context, int count, arguments given)
{
    const std::string_view filling = count == 3 ? text_of(given[2]) : " ";
    const sqlite3_int64 width = sqlite3_value_int64(given[1]);
    if (is_null(given[0]) || is_null(given[1]) || filling.empty() || width < 1)
        return;
    if (width > 1'000'000)
        return return_error(context, 1489, "the result of padding is too long");
    const std::string_view text = text_of(given[0]);
    const auto wanted = static_cast<std::size_t>(width);
    const std::size_t present = utf8_length(text);
    if (present >= wanted)
        return return_text(context, text.substr(0, utf8_offset(text, wanted)));
    const std::string added = filling_of(filling, wanted - present);
    return_text(context, where == side::left ? added + std::string(text) : std::string(text) + added);
}

// LOBs of no length, which are not null, for programs that fill them through a locator.
void empty_clob(sqlite3_context *context, int, arguments)
{
    return_text(context, "");
}

void empty_blob(sqlite3_context *context, int, arguments)
{
    sqlite3_result_zeroblob(context, 0);
}

void user(sqlite3_context *context, int, arguments)
{
    return_text(context, *static_cast<const std::string *>(sqlite3_user_data(context)));
}

using function = void (*)(sqlite3_context *, int, arguments);

struct function_entry {
    const char *name;
    function body;
    int arguments;    // -1: any number
    bool is_constant; // within a statement
};

constexpr function_entry functions[] = {
    {"nvl", nvl, 2, true},
    {"nvl2", nvl2, 3, true},
    {"decode", decode, -1, true},
    {"greatest", extreme<1>, -1, true},
    {"least", extreme<-1>, -1, true},
    {"to_char", to_char, 1, true},
    {"to_char", to_char, 2, true},
    {"to_date", to_date, 1, true},
    {"to_date", to_date, 2, false},
    {"to_number", to_number, 1, true},
    {"to_number", to_number, 2, true},
    {"sysdate", sysdate, 0, false},
    {"add_months", add_months, 2, true},
    {"last_day", last_day, 1, true},
    {"lengthb", length_in_bytes, 1, true},
    {"lpad", pad<side::left>, 2, true},
    {"lpad", pad<side::left>, 3, true},
    {"rpad", pad<side::right>, 2, true},
    {"rpad", pad<side::right>, 3, true},
    {"empty_clob", empty_clob, 0, true},
    {"empty_blob", empty_blob, 0, true},
    {"user", user, 0, false},
};

void check(sqlite3 *db, int code)
{
    if (code != SQLITE_OK)
        throw failure{sqlite_record(db, code)};
}

} // namespace

void add_sql_functions(sqlite3 *db, const std::string &user_name)
{
    void *const name = const_cast<std::string *>(&user_name);
    for (const function_entry &entry : functions) {
        const int flags = SQLITE_UTF8 | (entry.is_constant ? SQLITE_DETERMINISTIC : 0);
        check(db, sqlite3_create_function_v2(db, entry.name, entry.arguments, flags, name, entry.body,
                                             nullptr, nullptr, nullptr));
    }
    check(db, add_dual(db, user_name));
}

} // namespace sqlite_oci
