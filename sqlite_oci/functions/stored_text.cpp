#include "functions/stored_text.h"

#include "values/interval.h"
#include "values/timestamp.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace sqlite_oci
{

void show_real(double real, const declared_type &type, std::string *shown)
{
    if (!std::isfinite(real) || real == 0) {
        *shown = real == 0 ? "0" : std::isnan(real) ? "Nan" : real < 0 ? "-Inf" : "Inf";
        return;
    }
    const int digits = type.type == SQLT_IBFLOAT ? std::numeric_limits<float>::max_digits10
                                                 : std::numeric_limits<double>::max_digits10;
    char room[32];
    const char *const end =
        std::to_chars(room, room + sizeof room, real, std::chars_format::scientific, digits - 1).ptr;
    const std::string_view text(room, static_cast<std::size_t>(end - room));
    const auto letter = text.find('e');
    std::string mantissa(text.substr(0, letter));
    while (mantissa.ends_with('0') && !mantissa.ends_with(".0"))
        mantissa.pop_back();
    const std::string_view exponent = text.substr(letter + 2);
    *shown =
        mantissa + 'E' + text[letter + 1] + std::string(3 - std::min<std::size_t>(3, exponent.size()), '0');
    shown->append(exponent);
}

bool show_stored_text(std::string_view stored, const declared_type &type, const session_settings &settings,
                      std::string *shown)
{
    const bool is_date = type.type == SQLT_DAT;
    const bool is_of_expression = type.precision == interval_lead_max; // no column's
    const int digits = type.scale < 0 || is_of_expression ? timestamp_default_digits : type.scale;
    interval span;
    if (interval_from_text(stored, &span))
        return interval_to_literal(span, interval_default_lead, digits, shown) == 0 ||
               interval_to_literal(span, interval_lead_max, digits, shown) == 0;
    timestamp time;
    if (!timestamp_from_text(stored, &time))
        return false;
    return timestamp_format(time,
                            is_date     ? settings.date_format
                            : time.zone ? settings.zoned_format
                                        : settings.timestamp_format,
                            digits, shown) == 0;
}

} // namespace sqlite_oci
