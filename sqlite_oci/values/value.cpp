#include "values/value.h"

#include "values/interval.h"
#include "values/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace sqlite_oci
{

int bind_to(sqlite3_stmt *statement, int position, const value &bound)
{
    const auto size = static_cast<sqlite3_uint64>(bound.bytes.size());
    switch (bound.kind) {
    case value_kind::integer:
        return sqlite3_bind_int64(statement, position, bound.integer);
    case value_kind::real:
        return sqlite3_bind_double(statement, position, bound.real);
    case value_kind::text:
        return sqlite3_bind_text64(statement, position, bound.bytes.data(), size, SQLITE_STATIC, SQLITE_UTF8);
    case value_kind::blob:
    case value_kind::number:
        return sqlite3_bind_blob64(statement, position, bound.bytes.data(), size, SQLITE_STATIC);
    case value_kind::null:
        break;
    }
    return sqlite3_bind_null(statement, position);
}

std::size_t real_to_chars(double real, char *buffer)
{
    OCINumber number;
    if (std::isfinite(real) && number_from_double(real, &number))
        return number_to_chars(number, buffer, number_text_max);
    if (std::isinf(real))
        return std::string_view(real < 0 ? "-Inf" : "Inf").copy(buffer, number_text_max);
    // A finite number beyond the range of NUMBER.
    char *const end = std::to_chars(buffer, buffer + number_text_max, real).ptr;
    std::replace(buffer, end, 'e', 'E');
    return static_cast<std::size_t>(end - buffer);
}

const char *conversion_error_text(int code)
{
    switch (code) {
    case ora_invalid_number:
        return "not a number";
    case ora_integer_overflow:
        return "the number does not fit the integer variable";
    case ora_numeric_overflow:
        return "the number does not fit the variable";
    case ora_not_a_date:
        return "not a date: \"YYYY-MM-DD HH:MM:SS\" or \"DD-MON-RR\" was expected";
    case ora_invalid_hex:
        return "not a text of hexadecimal digits";
    case ora_inconsistent_types:
        return "inconsistent datatypes: the column's value cannot be converted to the type of the variable";
    case ora_invalid_descriptor:
        return "the variable holds no descriptor of this library for its type";
    case ora_invalid_locator:
        return "the variable holds no LOB locator of this library";
    default:
        return interval_error_text(code);
    }
}

} // namespace sqlite_oci
