// Format models of numbers ("FM999G990D00MI"), taken apart.
#pragma once

#include "values/number.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace sqlite_oci
{

enum class sign_place : std::uint8_t { before, leading_s, trailing_s, trailing_mi, brackets };
enum class currency_kind : std::uint8_t { none, dollar, local, iso };
enum class model_kind : std::uint8_t { digits, hexadecimal, roman, text_minimum };

struct number_model {
    model_kind kind = model_kind::digits;
    bool fill = true;        // FM switches it off
    bool blank_zero = false; // B
    bool scientific = false; // EEEE, or TME
    bool lower_case = false; // x and rn
    sign_place sign = sign_place::before;
    currency_kind currency = currency_kind::none;
    bool currency_at_end = false;
    std::string whole;    // '9', '0', and 'G' for a separator; the digits of a hexadecimal model
    std::string fraction; // '9' and '0'
    int places = 0;       // digits of `whole`
    int scale = 0;        // digits behind V, part of `whole`
    bool has_point = false;
    bool has_v = false;
    char decimal = '.';
    char group = ',';
};

// False if the format is not understood.
bool read_number_model(std::string_view format, const number_locale &locale, number_model *model);

// The symbol that the model asks for, or nothing.
std::string_view currency_of(const number_model &model, const number_locale &locale);

// Characters of a text in this model: without FM every text has this length.
std::size_t field_width(const number_model &model, const number_locale &locale);

} // namespace sqlite_oci
