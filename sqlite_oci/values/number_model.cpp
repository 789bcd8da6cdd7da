#include "values/number_model.h"

#include "text/text_scan.h"

#include <algorithm>

namespace sqlite_oci
{
namespace
{

constexpr std::size_t format_max = 255;
constexpr std::size_t currency_width = 10;
constexpr std::size_t iso_currency_width = 7;
constexpr std::size_t exponent_width = 5; // E+123

// Understands a format model element by element.
class model_reader
{
public:
    model_reader(std::string_view format, const number_locale &locale) : rest(format), names(locale) {}

    bool read(number_model *target)
    {
        model = target;
        if (rest.size() > format_max)
            return false;
        if (take(&rest, "FM"))
            model->fill = false;
        if (starts_with(rest, "TM"))
            return read_text_minimum();
        if (starts_with(rest, "RN"))
            return read_roman();
        if (rest.find_first_of("xX") != std::string_view::npos)
            return read_hexadecimal();
        read_start();
        while (!rest.empty() && read_digit_element()) {
        }
        read_end();
        if (!rest.empty() || (uses_nls && uses_literal))
            return false;
        if (model->scientific && (model->has_v || model->whole.find('G') != std::string::npos))
            return false;
        return model->places + static_cast<int>(model->fraction.size()) > 0;
    }

private:
    bool read_text_minimum()
    {
        model->kind = model_kind::text_minimum;
        rest.remove_prefix(2);
        model->scientific = take(&rest, "E");
        if (!model->scientific)
            take(&rest, "9");
        model->decimal = names.decimal;
        return rest.empty();
    }

    bool read_roman()
    {
        model->kind = model_kind::roman;
        model->lower_case = rest[0] == 'r';
        return rest.size() == 2;
    }

    bool read_hexadecimal()
    {
        model->kind = model_kind::hexadecimal;
        model->lower_case = rest.find('x') != std::string_view::npos;
        model->whole = rest;
        std::size_t zeros = std::min(rest.find_first_not_of('0'), rest.size());
        return rest.size() <= 63 && rest.find_first_not_of("xX", zeros) == std::string_view::npos;
    }

    void read_start()
    {
        if (take(&rest, "S"))
            model->sign = sign_place::leading_s;
        take_currency(false);
    }

    // L, U or C.
    bool take_currency(bool at_end)
    {
        if (model->currency != currency_kind::none)
            return false;
        if (take(&rest, "L") || take(&rest, "U"))
            model->currency = currency_kind::local;
        else if (take(&rest, "C"))
            model->currency = currency_kind::iso;
        else
            return false;
        model->currency_at_end = at_end;
        return true;
    }

    bool read_digit_element()
    {
        char c = upper(rest.front());
        switch (c) {
        case '0':
        case '9':
            if (model->has_point)
                model->fraction += c;
            else
                add_place(c);
            model->scale += model->has_v ? 1 : 0;
            break;
        case ',':
        case 'G':
            if (model->has_point || model->has_v || model->places == 0)
                return false;
            note_origin(c == 'G');
            model->group = c == 'G' ? names.group : c;
            model->whole += 'G';
            break;
        case '.':
        case 'D':
            if (model->has_point || model->has_v)
                return false;
            note_origin(c == 'D');
            model->decimal = c == 'D' ? names.decimal : c;
            model->has_point = true;
            break;
        case 'V':
            if (model->has_point || model->has_v)
                return false;
            model->has_v = true;
            break;
        case '$':
            if (model->currency != currency_kind::none)
                return false;
            model->currency = currency_kind::dollar;
            break;
        case 'B':
            if (model->blank_zero)
                return false;
            model->blank_zero = true;
            break;
        default:
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }

    void add_place(char c)
    {
        model->whole += c;
        ++model->places;
    }

    void note_origin(bool nls)
    {
        uses_nls |= nls;
        uses_literal |= !nls;
    }

    void read_end()
    {
        if (take(&rest, "EEEE"))
            model->scientific = true;
        take_currency(true);
        if (model->sign != sign_place::before)
            return;
        if (take(&rest, "MI"))
            model->sign = sign_place::trailing_mi;
        else if (take(&rest, "PR"))
            model->sign = sign_place::brackets;
        else if (take(&rest, "S"))
            model->sign = sign_place::trailing_s;
        take_currency(true);
    }

    std::string_view rest;
    const number_locale &names;
    number_model *model = nullptr;
    bool uses_nls = false;     // D or G
    bool uses_literal = false; // . or ,
};

std::size_t currency_field(const number_model &model, const number_locale &locale)
{
    switch (model.currency) {
    case currency_kind::dollar:
        return 1;
    case currency_kind::local:
        return std::max(currency_width, locale.currency.size());
    case currency_kind::iso:
        return std::max(iso_currency_width, locale.iso_currency.size());
    case currency_kind::none:
        break;
    }
    return 0;
}

// The quoted value of an NLS parameter; the quotes may be doubled, as in a SQL literal.
bool take_quoted(std::string_view *text, std::string_view *value)
{
    std::string_view quote = text->substr(0, 2) == "''" ? "''" : "'";
    if (!take(text, quote))
        return false;
    // A value that is itself a quote, as in ",'", ends with the last quote before a blank or the end.
    std::size_t end = text->find(quote, 1);
    if (end == std::string_view::npos)
        return false;
    *value = text->substr(0, end);
    text->remove_prefix(end + quote.size());
    return true;
}

bool take_nls_value(std::string_view *text, std::string_view *value)
{
    *text = trim(*text);
    if (!take(text, "="))
        return false;
    *text = trim(*text);
    if (!text->empty() && text->front() == '\'')
        return take_quoted(text, value);
    std::size_t end = std::min(text->find_first_of(" \t\n"), text->size());
    *value = text->substr(0, end);
    text->remove_prefix(end);
    return !value->empty();
}

bool set_numeric_characters(std::string_view value, number_locale *locale)
{
    if (value.size() != 2 || value[0] == value[1])
        return false;
    for (char c : value)
        if (is_digit(c) || c == '+' || c == '-' || c == '<' || c == '>')
            return false;
    locale->decimal = value[0];
    locale->group = value[1];
    return true;
}

} // namespace

bool read_number_model(std::string_view format, const number_locale &locale, number_model *model)
{
    return model_reader(format, locale).read(model);
}

std::string_view currency_of(const number_model &model, const number_locale &locale)
{
    switch (model.currency) {
    case currency_kind::dollar:
        return "$";
    case currency_kind::local:
        return locale.currency;
    case currency_kind::iso:
        return locale.iso_currency;
    case currency_kind::none:
        break;
    }
    return {};
}

std::size_t field_width(const number_model &model, const number_locale &locale)
{
    std::size_t width = model.whole.size() + model.fraction.size() + (model.has_point ? 1 : 0);
    width += model.scientific ? exponent_width : 0;
    width += currency_field(model, locale);
    return width + (model.sign == sign_place::brackets ? 2 : 1);
}

bool number_locale_from_nls(std::string_view parameters, number_locale *locale)
{
    number_locale result = *locale;
    for (parameters = trim(parameters); !parameters.empty(); parameters = trim(parameters)) {
        std::string_view value;
        if (take(&parameters, "NLS_NUMERIC_CHARACTERS")) {
            if (!take_nls_value(&parameters, &value) || !set_numeric_characters(value, &result))
                return false;
        } else if (take(&parameters, "NLS_CURRENCY")) {
            if (!take_nls_value(&parameters, &value))
                return false;
            result.currency = value;
        } else if (take(&parameters, "NLS_ISO_CURRENCY")) {
            if (!take_nls_value(&parameters, &value))
                return false;
            result.iso_currency = equal_ignoring_case(value, "AMERICA") ? "USD" : value;
        } else {
            return false;
        }
    }
    *locale = result;
    return true;
}

} // namespace sqlite_oci
