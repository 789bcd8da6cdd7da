#include "values/number.h"

#include "text/text_scan.h"
#include "values/number_digits.h"
#include "values/number_model.h"

#include <algorithm>
#include <charconv>

namespace sqlite_oci
{
namespace
{

constexpr int tm_plain_max = 64; // digits that TM9 shows before it turns scientific
constexpr std::size_t roman_width = 15;

// Adds sign and currency to the digits and fills the field with blanks.
std::string dress(const number_model &model, const number_locale &locale, bool negative,
                  std::string_view digits)
{
    std::string_view leader;
    std::string_view trailer;
    switch (model.sign) {
    case sign_place::before:
        leader = negative ? "-" : "";
        break;
    case sign_place::leading_s:
        leader = negative ? "-" : "+";
        break;
    case sign_place::trailing_s:
        trailer = negative ? "-" : "+";
        break;
    case sign_place::trailing_mi:
        trailer = negative ? "-" : model.fill ? " " : "";
        break;
    case sign_place::brackets:
        leader = negative ? "<" : "";
        trailer = negative ? ">" : model.fill ? " " : "";
        break;
    }
    std::string text(leader);
    std::string_view currency = currency_of(model, locale);
    if (!model.currency_at_end)
        text += currency;
    text += digits;
    if (model.currency_at_end)
        text += currency;
    text += trailer;
    std::size_t width = field_width(model, locale);
    if (model.fill && text.size() < width)
        text.insert(0, width - text.size(), ' ');
    return text;
}

std::string overflowed(const number_model &model, const number_locale &locale)
{
    std::size_t width = field_width(model, locale);
    if (model.kind == model_kind::roman)
        width = roman_width;
    return std::string(width, '#');
}

// The part before the point: `digits` without leading zeros, laid into the positions of the model.
std::string lay_out_whole(const number_model &model, std::string_view digits)
{
    std::string text;
    int skip = model.places - static_cast<int>(digits.size());
    bool shown = false;
    std::size_t next = 0;
    for (char element : model.whole) {
        if (element == 'G') {
            if (shown)
                text += model.group;
            continue;
        }
        if (skip-- > 0) {
            shown |= element == '0';
            if (shown)
                text += '0';
        } else {
            shown = true;
            text += digits[next++];
        }
    }
    return text;
}

// The first `kept` characters of a fraction that FM shows: up to the model's last 0 or the last digit not
// zero.
std::string_view strip_fraction(const number_model &model, std::string_view fraction)
{
    std::size_t forced = model.fraction.rfind('0');
    std::size_t used = fraction.find_last_not_of('0');
    std::size_t kept = 0;
    for (std::size_t last : {forced, used})
        if (last != std::string_view::npos)
            kept = std::max(kept, last + 1);
    return fraction.substr(0, kept);
}

number_status format_digits(const OCINumber &number, const number_model &model, const number_locale &locale,
                            std::string *text)
{
    OCINumber rounded;
    base10 value;
    int decimals = static_cast<int>(model.fraction.size());
    if (number_shift(number, model.scale, &rounded) == number_status::overflow ||
        number_round(rounded, decimals, rounding::half_away, &rounded) != number_status::ok ||
        !number_decode(rounded, &value) || value.exponent + 1 > model.places) {
        *text = overflowed(model, locale);
        return number_status::overflow;
    }
    std::string whole;
    std::string fraction(static_cast<std::size_t>(decimals), '0');
    for (int i = 0; i < std::max(value.count, value.exponent + 1); ++i) {
        char digit = i < value.count ? value[i] : '0';
        if (i <= value.exponent)
            whole += digit;
        else
            fraction[static_cast<std::size_t>(i - value.exponent - 1)] = digit;
    }
    if (value.count == 0)
        whole.clear();
    if (model.blank_zero && value.count == 0) {
        *text = std::string(model.fill ? field_width(model, locale) : 0, ' ');
        return number_status::ok;
    }

    std::string_view shown = model.fill ? std::string_view(fraction) : strip_fraction(model, fraction);
    std::string body;
    if (!(model.blank_zero && whole.empty()))
        body = lay_out_whole(model, whole);
    if (body.empty() && shown.empty())
        body += '0';
    if (model.has_point)
        body += model.decimal;
    body += shown;
    *text = dress(model, locale, number_sign(number) < 0, body);
    return number_status::ok;
}

number_status format_scientific(const OCINumber &number, const number_model &model,
                                const number_locale &locale, std::string *text)
{
    OCINumber rounded;
    base10 value;
    int decimals = static_cast<int>(model.fraction.size());
    if (number_round_digits(number, decimals + 1, &rounded) != number_status::ok ||
        !number_decode(rounded, &value)) {
        *text = overflowed(model, locale);
        return number_status::overflow;
    }
    std::string body(1, value.count > 0 ? value.digit[0] : '0');
    if (model.has_point)
        body += model.decimal;
    for (int i = 1; i <= decimals; ++i)
        body += i < value.count ? value[i] : '0';
    char exponent[exponent_text_max];
    body.append(exponent, write_exponent(value.exponent, exponent));
    *text = dress(model, locale, value.negative, body);
    return number_status::ok;
}

number_status format_hexadecimal(const OCINumber &number, const number_model &model,
                                 const number_locale &locale, std::string *text)
{
    OCINumber rounded;
    base100 value;
    std::array<unsigned, 64> nibble{}; // least significant first
    bool fits = number_round(number, 0, rounding::half_away, &rounded) == number_status::ok &&
                number_decode(rounded, &value) && !value.negative;
    for (int i = 0; fits && value.count > 0 && i <= value.exponent; ++i) {
        unsigned carry = i < value.count ? value[i] : 0U;
        for (unsigned &digit : nibble) {
            carry += digit * 100;
            digit = carry % 16;
            carry /= 16;
        }
        fits = carry == 0;
    }
    std::size_t count = nibble.size();
    while (count > 1 && nibble[count - 1] == 0)
        --count;
    if (!fits || count > model.whole.size()) {
        *text = overflowed(model, locale);
        return number_status::overflow;
    }
    if (model.whole[0] == '0')
        count = model.whole.size();
    std::string body;
    while (count-- > 0)
        body += (model.lower_case ? "0123456789abcdef" : "0123456789ABCDEF")[nibble[count]];
    *text = dress(model, locale, false, body);
    return number_status::ok;
}

number_status format_roman(const OCINumber &number, const number_model &model, const number_locale &locale,
                           std::string *text)
{
    struct numeral {
        int value;
        const char *letters;
    };
    static constexpr numeral numerals[] = {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"},
                                           {90, "XC"},  {50, "L"},   {40, "XL"}, {10, "X"},   {9, "IX"},
                                           {5, "V"},    {4, "IV"},   {1, "I"}};
    std::int64_t value = 0;
    if (!number_to_int64(number, &value) || value < 1 || value > 3999) {
        *text = overflowed(model, locale);
        return number_status::overflow;
    }
    text->clear();
    for (const numeral &n : numerals)
        for (; value >= n.value; value -= n.value)
            *text += n.letters;
    if (model.lower_case)
        std::transform(text->begin(), text->end(), text->begin(),
                       [](char c) { return static_cast<char>(c - 'A' + 'a'); });
    if (model.fill)
        text->insert(0, roman_width - text->size(), ' ');
    return number_status::ok;
}

number_status format_text_minimum(const OCINumber &number, const number_model &model, std::string *text)
{
    char buffer[2 * number_text_max];
    std::size_t length = write_shortest(number, tm_plain_max, model.scientific, buffer, sizeof buffer);
    std::replace(buffer, buffer + length, '.', model.decimal);
    text->assign(buffer, length);
    return number_status::ok;
}

// Takes the sign from where the model has it.
bool take_model_sign(const number_model &model, std::string_view *text, bool *negative)
{
    *negative = false;
    switch (model.sign) {
    case sign_place::brackets:
        *negative = take(text, "<");
        return !*negative || take_end(text, ">");
    case sign_place::trailing_s:
    case sign_place::trailing_mi:
        *negative = take_end(text, "-");
        if (!*negative)
            take_end(text, "+");
        return true;
    case sign_place::before:
    case sign_place::leading_s:
        take_sign(text, negative);
        return true;
    }
    return false;
}

// Separators may be left out altogether; those that are there must stand where the model has them.
bool fits_whole(const number_model &model, std::string_view whole, std::string *digits)
{
    if (whole.find(model.group) == std::string_view::npos) {
        *digits = whole;
        return static_cast<int>(whole.size()) <= model.places;
    }
    if (whole.size() > model.whole.size() || !is_digit(whole.front()))
        return false;
    std::string_view elements(model.whole);
    elements.remove_prefix(model.whole.size() - whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if ((elements[i] == 'G') != (whole[i] == model.group))
            return false;
        if (whole[i] != model.group)
            *digits += whole[i];
    }
    return true;
}

number_status parse_digits(std::string_view text, const number_model &model, const number_locale &locale,
                           OCINumber *number)
{
    bool negative = false;
    if (!take_model_sign(model, &text, &negative))
        return number_status::malformed;
    text = trim(text);
    std::string_view currency = currency_of(model, locale);
    if (model.currency_at_end)
        take_end(&text, currency);
    else
        take(&text, currency);
    text = trim(text);

    std::size_t end = 0;
    while (end < text.size() && (is_digit(text[end]) || text[end] == model.group) &&
           text[end] != model.decimal)
        ++end;
    std::string plain(negative ? "-" : "");
    std::string whole;
    if (end > 0 && !fits_whole(model, text.substr(0, end), &whole) && !model.scientific)
        return number_status::malformed;
    plain += whole;
    text.remove_prefix(end);
    if (model.has_point && !text.empty() && text.front() == model.decimal) {
        text.remove_prefix(1);
        std::size_t decimals = 0;
        while (decimals < text.size() && is_digit(text[decimals]))
            ++decimals;
        if (decimals > model.fraction.size())
            return number_status::malformed;
        plain += '.';
        plain += text.substr(0, decimals);
        text.remove_prefix(decimals);
    }
    if (model.scientific) {
        plain += text;
        text = {};
    }
    return text.empty() ? number_parse(plain, number) : number_status::malformed;
}

number_status parse_hexadecimal(std::string_view text, const number_model &model, OCINumber *number)
{
    if (text.empty() || text.size() > model.whole.size())
        return number_status::malformed;
    OCINumber sixteen;
    OCINumber digit;
    OCINumber sum;
    number_from_int64(16, &sixteen);
    number_set_zero(&sum);
    for (char c : text) {
        unsigned value = 0;
        if (std::from_chars(&c, &c + 1, value, 16).ec != std::errc())
            return number_status::malformed;
        number_from_uint64(value, &digit);
        number_multiply(sum, sixteen, &sum);
        number_add(sum, digit, &sum);
    }
    *number = sum;
    return number_status::ok;
}

number_status parse_text_minimum(std::string_view text, const number_model &model, OCINumber *number)
{
    std::string plain(text);
    if (model.decimal != '.' && plain.find('.') != std::string::npos)
        return number_status::malformed;
    std::replace(plain.begin(), plain.end(), model.decimal, '.');
    return number_parse(plain, number);
}

} // namespace

number_status number_format(const OCINumber &number, std::string_view format, const number_locale &locale,
                            std::string *text)
{
    number_model model;
    if (!read_number_model(format, locale, &model))
        return number_status::bad_format;
    if (!number_is_valid(number))
        return number_status::invalid;
    switch (model.kind) {
    case model_kind::hexadecimal:
        return format_hexadecimal(number, model, locale, text);
    case model_kind::roman:
        return format_roman(number, model, locale, text);
    case model_kind::text_minimum:
        return format_text_minimum(number, model, text);
    case model_kind::digits:
        break;
    }
    return model.scientific ? format_scientific(number, model, locale, text)
                            : format_digits(number, model, locale, text);
}

number_status number_parse_format(std::string_view text, std::string_view format, const number_locale &locale,
                                  OCINumber *number)
{
    number_model model;
    if (!read_number_model(format, locale, &model) || model.kind == model_kind::roman || model.has_v)
        return number_status::bad_format;
    text = trim(text);
    if (model.kind == model_kind::hexadecimal)
        return parse_hexadecimal(text, model, number);
    if (model.kind == model_kind::text_minimum)
        return parse_text_minimum(text, model, number);
    return parse_digits(text, model, locale, number);
}

} // namespace sqlite_oci
