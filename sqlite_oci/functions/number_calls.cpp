// Arithmetic on NUMBERs, exact to 38 digits and more, and its functions.
#include "functions/arguments.h"
#include "functions/families.h"
#include "values/number_functions.h"

#include <algorithm>
#include <cmath>

namespace sqlite_oci
{
namespace
{

bool are_integers(arguments given)
{
    return sqlite3_value_type(given[0]) == SQLITE_INTEGER && sqlite3_value_type(given[1]) == SQLITE_INTEGER;
}

bool numbers(sqlite3_context *context, arguments given, OCINumber *a, OCINumber *b)
{
    return !any_null(2, given) && number_argument(context, given[0], a) &&
           number_argument(context, given[1], b);
}

using operation = number_status (*)(const OCINumber &, const OCINumber &, OCINumber *);

template <operation apply> void calculate(sqlite3_context *context, arguments given)
{
    OCINumber a, b;
    if (!numbers(context, given, &a, &b))
        return;
    const number_status status = apply(a, b, &a);
    return_number(context, status, a);
}

// What stays within 64 bits needs no NUMBER.
void add(sqlite3_context *context, int, arguments given)
{
    std::int64_t sum = 0;
    if (are_integers(given) &&
        !__builtin_add_overflow(sqlite3_value_int64(given[0]), sqlite3_value_int64(given[1]), &sum))
        return sqlite3_result_int64(context, sum);
    calculate<number_add>(context, given);
}

void subtract(sqlite3_context *context, int, arguments given)
{
    std::int64_t difference = 0;
    if (are_integers(given) &&
        !__builtin_sub_overflow(sqlite3_value_int64(given[0]), sqlite3_value_int64(given[1]), &difference))
        return sqlite3_result_int64(context, difference);
    calculate<number_subtract>(context, given);
}

void multiply(sqlite3_context *context, int, arguments given)
{
    std::int64_t product = 0;
    if (are_integers(given) &&
        !__builtin_mul_overflow(sqlite3_value_int64(given[0]), sqlite3_value_int64(given[1]), &product))
        return sqlite3_result_int64(context, product);
    calculate<number_multiply>(context, given);
}

void divide(sqlite3_context *context, int, arguments given)
{
    calculate<number_divide>(context, given);
}

void modulo(sqlite3_context *context, int, arguments given)
{
    calculate<number_modulo>(context, given);
}

template <number_function2 which>
number_status apply2(const OCINumber &a, const OCINumber &b, OCINumber *result)
{
    return number_apply(which, a, b, result);
}

void power(sqlite3_context *context, int, arguments given)
{
    calculate<apply2<number_function2::power>>(context, given);
}

void logarithm(sqlite3_context *context, int, arguments given)
{
    calculate<apply2<number_function2::logarithm>>(context, given);
}

void arc_tangent2(sqlite3_context *context, int, arguments given)
{
    calculate<apply2<number_function2::arc_tangent>>(context, given);
}

template <number_function which> void apply1(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (is_null(given[0]) || !number_argument(context, given[0], &number))
        return;
    const number_status status = number_apply(which, number, &number);
    return_number(context, status, number);
}

// The remainder toward the nearest multiple.
void remainder(sqlite3_context *context, int, arguments given)
{
    OCINumber a, b, quotient;
    if (!numbers(context, given, &a, &b))
        return;
    number_status status = number_divide(a, b, &quotient);
    if (status == number_status::ok)
        number_round(quotient, 0, rounding::half_away, &quotient);
    if (status == number_status::ok)
        status = number_multiply(quotient, b, &b);
    if (status == number_status::ok)
        status = number_subtract(a, b, &a);
    return_number(context, status, a);
}

void negate(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (is_null(given[0]) || !number_argument(context, given[0], &number))
        return;
    number_negate(number, &number);
    return_number(context, number);
}

void absolute(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (is_null(given[0]) || !number_argument(context, given[0], &number))
        return;
    if (number_sign(number) < 0)
        number_negate(number, &number);
    return_number(context, number);
}

void sign(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (!is_null(given[0]) && number_argument(context, given[0], &number))
        sqlite3_result_int64(context, number_sign(number));
}

template <rounding mode> void rounded(sqlite3_context *context, int count, arguments given)
{
    OCINumber number;
    std::int64_t places = 0;
    if (any_null(count, given) || !number_argument(context, given[0], &number) ||
        (count == 2 && !integer_argument(context, given[1], &places)))
        return;
    const int limited = static_cast<int>(std::clamp<std::int64_t>(places, -200, 200));
    const number_status status = number_round(number, limited, mode, &number);
    return_number(context, status, number);
}

void bit_and(sqlite3_context *context, int, arguments given)
{
    std::int64_t a = 0, b = 0;
    if (!any_null(2, given) && integer_argument(context, given[0], &a) &&
        integer_argument(context, given[1], &b))
        sqlite3_result_int64(context, a & b);
}

void compare_numbers(sqlite3_context *context, int, arguments given)
{
    OCINumber a, b;
    if (numbers(context, given, &a, &b))
        sqlite3_result_int64(context, number_compare(a, b));
}

// Values of which only their storage tells what they are.
void compare_any(sqlite3_context *context, int, arguments given)
{
    if (any_null(2, given))
        return;
    const bool is_number =
        sqlite3_value_type(given[0]) != SQLITE_TEXT || sqlite3_value_type(given[1]) != SQLITE_TEXT;
    if (is_number)
        return compare_numbers(context, 2, given);
    const int order = text_of(given[0]).compare(text_of(given[1]));
    sqlite3_result_int64(context, order < 0 ? -1 : order > 0 ? 1 : 0);
}

// Bytes that sort as numbers do.
void key(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    ub1 bytes[number_num_max];
    if (is_null(given[0]) || !number_argument(context, given[0], &number))
        return;
    const std::size_t length = number_to_num(number, bytes);
    sqlite3_result_blob64(context, bytes, length, SQLITE_TRANSIENT);
}

void number_of(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (!is_null(given[0]) && number_argument(context, given[0], &number))
        return_number(context, number);
}

void real_of(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (is_null(given[0]))
        return;
    if (sqlite3_value_type(given[0]) == SQLITE_FLOAT)
        return sqlite3_result_value(context, given[0]);
    if (number_argument(context, given[0], &number))
        sqlite3_result_double(context, number_to_double(number));
}

template <char op> void calculate_real(sqlite3_context *context, int, arguments given)
{
    if (any_null(2, given))
        return;
    const double a = sqlite3_value_double(given[0]), b = sqlite3_value_double(given[1]);
    const double result = op == '+' ? a + b : op == '-' ? a - b : op == '*' ? a * b : a / b;
    if (std::isnan(result))
        return return_error(context, 1426, "the result is NaN, which is not kept");
    sqlite3_result_double(context, result);
}

template <int wanted> void extreme(sqlite3_context *context, int count, arguments given)
{
    if (any_null(count, given))
        return;
    int found = 0;
    OCINumber best, number;
    for (int i = 0; i < count; ++i) {
        if (!number_argument(context, given[i], i ? &number : &best))
            return;
        if (i && number_compare(number, best) * wanted > 0) {
            best = number;
            found = i;
        }
    }
    sqlite3_result_value(context, given[found]);
}

// How many rows a condition on ROWNUM lets through: rows are counted as they pass.
void row_limit(sqlite3_context *context, int, arguments given)
{
    OCINumber bound, one;
    if (is_null(given[1]))
        return sqlite3_result_int64(context, 0);
    if (!number_argument(context, given[1], &bound))
        return;
    const std::string_view op = text_of(given[0]);
    number_from_int64(1, &one);
    const int order = number_compare(one, bound);
    std::int64_t rows = 0;
    if (op == "<=" || op == "<") {
        const bool is_whole = number_is_integer(bound);
        number_round(bound, 0, rounding::floor, &bound);
        if (!number_to_int64(bound, &rows))
            rows = number_sign(bound) < 0 ? 0 : INT64_MAX;
        else if (op == "<" && is_whole)
            --rows;
        rows = std::max<std::int64_t>(rows, 0);
    } else if (op == "=") {
        rows = order == 0;
    } else if (op == "<>") { // the first row that is refused keeps its number, and so all others are
        rows = INT64_MAX;
        if (number_is_integer(bound) && order <= 0 && number_to_int64(bound, &rows))
            --rows;
    } else {
        rows = (op == ">" ? order > 0 : order >= 0) ? INT64_MAX : 0;
    }
    sqlite3_result_int64(context, rows);
}

constexpr function_entry entries[] = {
    {"oci_add", add, 2},
    {"oci_subtract", subtract, 2},
    {"oci_multiply", multiply, 2},
    {"oci_divide", divide, 2},
    {"oci_add_real", calculate_real<'+'>, 2},
    {"oci_subtract_real", calculate_real<'-'>, 2},
    {"oci_multiply_real", calculate_real<'*'>, 2},
    {"oci_divide_real", calculate_real<'/'>, 2},
    {"oci_negate", negate, 1},
    {"oci_compare_numbers", compare_numbers, 2},
    {"oci_compare", compare_any, 2},
    {"oci_key", key, 1},
    {"oci_number", number_of, 1},
    {"to_number", number_of, 1}, // in views of older databases
    {"oci_real", real_of, 1},
    {"oci_greatest", extreme<1>, -1},
    {"oci_least", extreme<-1>, -1},
    {"oci_row_limit", row_limit, 2},
    {"oci_abs", absolute, 1},
    {"oci_sign", sign, 1},
    {"oci_mod", modulo, 2},
    {"oci_remainder", remainder, 2},
    {"oci_power", power, 2},
    {"oci_log", logarithm, 2},
    {"oci_atan2", arc_tangent2, 2},
    {"oci_bitand", bit_and, 2},
    {"oci_round", rounded<rounding::half_away>, 1},
    {"oci_round", rounded<rounding::half_away>, 2},
    {"oci_truncate", rounded<rounding::toward_zero>, 1},
    {"oci_truncate", rounded<rounding::toward_zero>, 2},
    {"oci_ceil", rounded<rounding::ceiling>, 1},
    {"oci_floor", rounded<rounding::floor>, 1},
    {"oci_sqrt", apply1<number_function::square_root>, 1},
    {"oci_exp", apply1<number_function::exponential>, 1},
    {"oci_ln", apply1<number_function::natural_logarithm>, 1},
    {"oci_sin", apply1<number_function::sine>, 1},
    {"oci_cos", apply1<number_function::cosine>, 1},
    {"oci_tan", apply1<number_function::tangent>, 1},
    {"oci_asin", apply1<number_function::arc_sine>, 1},
    {"oci_acos", apply1<number_function::arc_cosine>, 1},
    {"oci_atan", apply1<number_function::arc_tangent>, 1},
    {"oci_sinh", apply1<number_function::hyperbolic_sine>, 1},
    {"oci_cosh", apply1<number_function::hyperbolic_cosine>, 1},
    {"oci_tanh", apply1<number_function::hyperbolic_tangent>, 1},
};

} // namespace

void add_number_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
