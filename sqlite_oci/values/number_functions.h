// Roots, powers, logarithms and the circular and hyperbolic functions of NUMBERs.
//
// Each result is the exact one rounded to the digits of a NUMBER. Angles are in radians. As with the
// arithmetic of number.h, `result` may be an operand and is written if the status is ok or underflow (then
// zero).
#pragma once

#include "values/number.h"

namespace sqlite_oci
{

enum class number_function : std::uint8_t {
    square_root,
    exponential,
    natural_logarithm,
    sine,
    cosine,
    tangent,
    arc_sine,
    arc_cosine,
    arc_tangent,
    hyperbolic_sine,
    hyperbolic_cosine,
    hyperbolic_tangent,
};

enum class number_function2 : std::uint8_t {
    power,       // a to the power of b
    logarithm,   // of b to the base a
    arc_tangent, // of a / b, in the quadrant that both signs tell
};

// The status is out_of_domain where the function has no real value: roots and logarithms of what is too
// small, an arc sine beyond 1, a negative base with a fraction for an exponent. Infinities are invalid.
number_status number_apply(number_function function, const OCINumber &number, OCINumber *result);
number_status number_apply(number_function2 function, const OCINumber &a, const OCINumber &b,
                           OCINumber *result);

} // namespace sqlite_oci
