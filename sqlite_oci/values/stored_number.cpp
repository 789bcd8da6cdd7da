#include "values/stored_number.h"

#include <cmath>
#include <cstring>

namespace sqlite_oci
{
namespace
{

// Every decimal of so many digits is the shortest one of its real.
constexpr std::size_t safe_digits = 15;

// Base-100 digits, and so at most twice as many decimal ones.
std::size_t digit_pairs(const OCINumber &number)
{
    return number.OCINumberPart[0];
}

bool reads_back(const OCINumber &number, double real)
{
    OCINumber again;
    return std::isfinite(real) && number_from_double(real, &again) && number_compare(number, again) == 0;
}

} // namespace

stored_number store_number(const OCINumber &number)
{
    stored_number result;
    if (number_is_integer(number) && number_to_int64(number, &result.integer)) {
        result.kind = value_kind::integer;
        return result;
    }
    result.real = number_to_double(number);
    if (digit_pairs(number) * 2 <= safe_digits || reads_back(number, result.real)) {
        result.kind = value_kind::real;
        return result;
    }
    result.kind = value_kind::number;
    result.length = number_to_num(number, result.bytes);
    return result;
}

int number_from_value(const value &from, OCINumber *number)
{
    switch (from.kind) {
    case value_kind::integer:
        number_from_int64(from.integer, number);
        return 0;
    case value_kind::real:
        return number_from_double(from.real, number) ? 0 : ora_numeric_overflow;
    case value_kind::text:
        return number_from_text(from.bytes, number) ? 0 : ora_invalid_number;
    case value_kind::number:
        return number_from_num(reinterpret_cast<const ub1 *>(from.bytes.data()), from.bytes.size(), number)
                   ? 0
                   : ora_invalid_number;
    default:
        return ora_inconsistent_types;
    }
}

} // namespace sqlite_oci
