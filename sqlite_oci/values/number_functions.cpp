#include "values/number_functions.h"

#include <mpfr.h>

#include <string>

namespace sqlite_oci
{
namespace
{

// Holds every NUMBER that is a whole number exactly, so that angles of any size are reduced right, and gives
// results far more digits than a NUMBER keeps.
constexpr mpfr_prec_t bits = 512;

// Digits of a result that are read; a NUMBER then keeps 39 or 40 of them.
constexpr std::size_t digits = 60;

class wide_real
{
public:
    wide_real() { mpfr_init2(value_, bits); }
    explicit wide_real(const OCINumber &number) : wide_real()
    {
        mpfr_set_str(value_, number_to_text(number).c_str(), 10, MPFR_RNDN);
    }
    ~wide_real() { mpfr_clear(value_); }
    wide_real(const wide_real &) = delete;
    wide_real &operator=(const wide_real &) = delete;

    mpfr_ptr get() { return value_; }

    number_status to_number(OCINumber *number)
    {
        if (mpfr_nan_p(value_))
            return number_status::out_of_domain;
        if (mpfr_divby0_p()) // the logarithm of zero
            return number_status::out_of_domain;
        if (mpfr_inf_p(value_))
            return number_status::overflow;
        if (mpfr_zero_p(value_)) {
            number_set_zero(number);
            return mpfr_underflow_p() ? number_status::underflow : number_status::ok;
        }
        mpfr_exp_t exponent = 0; // of 0.ddd
        char text[digits + 2];
        mpfr_get_str(text, &exponent, 10, digits, value_, MPFR_RNDN);
        std::string mantissa(text);
        mantissa.insert(mantissa.front() == '-' ? 1 : 0, ".");
        return number_parse(mantissa + 'E' + std::to_string(exponent), number);
    }

private:
    mpfr_t value_;
};

// The constants that the calculations share are kept for each thread: threads come and go here.
struct kept_constants {
    ~kept_constants() { mpfr_free_cache2(MPFR_FREE_LOCAL_CACHE); }
};

using unary_function = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

unary_function find_function(number_function function)
{
    switch (function) {
    case number_function::square_root:
        return mpfr_sqrt;
    case number_function::exponential:
        return mpfr_exp;
    case number_function::natural_logarithm:
        return mpfr_log;
    case number_function::sine:
        return mpfr_sin;
    case number_function::cosine:
        return mpfr_cos;
    case number_function::tangent:
        return mpfr_tan;
    case number_function::arc_sine:
        return mpfr_asin;
    case number_function::arc_cosine:
        return mpfr_acos;
    case number_function::arc_tangent:
        return mpfr_atan;
    case number_function::hyperbolic_sine:
        return mpfr_sinh;
    case number_function::hyperbolic_cosine:
        return mpfr_cosh;
    case number_function::hyperbolic_tangent:
        break;
    }
    return mpfr_tanh;
}

bool is_finite(const OCINumber &number)
{
    return number_is_valid(number) && !number_is_infinite(number);
}

number_status finish(number_status status, const OCINumber &computed, OCINumber *result)
{
    if (status == number_status::ok || status == number_status::underflow)
        *result = computed;
    return status;
}

} // namespace

number_status number_apply(number_function function, const OCINumber &number, OCINumber *result)
{
    if (!is_finite(number))
        return number_status::invalid;
    const kept_constants kept;
    wide_real value(number);
    mpfr_clear_flags();
    find_function(function)(value.get(), value.get(), MPFR_RNDN);
    OCINumber computed;
    const number_status status = value.to_number(&computed);
    return finish(status, computed, result);
}

number_status number_apply(number_function2 function, const OCINumber &a, const OCINumber &b,
                           OCINumber *result)
{
    if (!is_finite(a) || !is_finite(b))
        return number_status::invalid;
    const kept_constants kept;
    wide_real first(a), second(b);
    mpfr_clear_flags();
    switch (function) {
    case number_function2::power:
        if (number_is_zero(a) && number_sign(b) < 0)
            return number_status::divide_by_zero;
        mpfr_pow(first.get(), first.get(), second.get(), MPFR_RNDN);
        break;
    case number_function2::logarithm:
        if (number_sign(a) <= 0 || number_sign(b) <= 0)
            return number_status::out_of_domain;
        mpfr_log(first.get(), first.get(), MPFR_RNDN);
        mpfr_log(second.get(), second.get(), MPFR_RNDN);
        mpfr_div(first.get(), second.get(), first.get(), MPFR_RNDN); // by zero for the base 1
        break;
    case number_function2::arc_tangent:
        mpfr_atan2(first.get(), first.get(), second.get(), MPFR_RNDN);
        break;
    }
    OCINumber computed;
    const number_status status = first.to_number(&computed);
    return finish(status, computed, result);
}

} // namespace sqlite_oci
