// Literals.
#include "text/text_scan.h"
#include "translation/translator.h"
#include "values/interval.h"
#include "values/stored_number.h"
#include "values/timestamp.h"

#include <cstdio>

namespace sqlite_oci::sql
{
namespace
{

std::string hex(std::string_view bytes)
{
    std::string result = "x'";
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        result += digits;
    }
    return result + "'";
}

std::string real_text(double real)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.17e", real);
    return text;
}

} // namespace

typed_sql translator::number_of(const expression &tree) const
{
    typed_sql result{.type = any_number, .is_nullable = false, .is_constant = true};
    std::string text = tree.text;
    const char last = text.back();
    if (last == 'D' || last == 'F') {
        text.pop_back();
        result.sql = real_text(std::strtod(text.c_str(), nullptr));
        result.type = {last == 'D' ? ub2{SQLT_IBDOUBLE} : ub2{SQLT_IBFLOAT}};
        return result;
    }
    OCINumber number;
    const number_status status = number_parse(text, &number);
    if (status == number_status::overflow)
        fail_at(tree.offset, 1426, "numeric overflow: %.40s", text.c_str());
    if (status != number_status::ok && status != number_status::underflow)
        fail_at(tree.offset, 1722, "not a number: %.40s", text.c_str());
    const stored_number stored = store_number(number);
    result.is_wide = stored.kind == value_kind::number;
    result.sql = stored.kind == value_kind::integer ? std::to_string(stored.integer)
                 : stored.kind == value_kind::real  ? real_text(stored.real)
                                                    : hex(stored.view());
    return result;
}

typed_sql translator::datetime_of(const expression &tree) const
{
    typed_sql result{.is_nullable = false, .is_constant = true};
    timestamp time;
    const bool is_date = tree.word == "DATE";
    if (!timestamp_from_text(tree.text, &time) || (is_date && trim(tree.text).size() > 11))
        fail_at(tree.offset, 1861, "not a %s: \"%.60s\"", is_date ? "date (YYYY-MM-DD)" : "point in time",
                tree.text.c_str());
    result.type = is_date     ? date_type
                  : time.zone ? declared_type{SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 9}
                              : declared_type{SQLT_TIMESTAMP, 0, 0, false, 0, 9};
    result.sql =
        quoted_text(timestamp_to_text(time, time.zone ? timestamp_type::zoned : timestamp_type::plain));
    return result;
}

// INTERVAL '1-2' YEAR TO MONTH and INTERVAL '5' DAY.
typed_sql translator::interval_of(const expression &tree) const
{
    const std::string &fields = tree.word;
    const bool is_year =
        fields.find("YEAR") != std::string::npos || fields.find("MONTH") != std::string::npos;
    interval value;
    int code = 0;
    std::string text(trim(tree.text));
    const auto is_single = [&](std::string_view field) {
        return fields.starts_with(field) && fields.find(" TO ") == std::string::npos;
    };
    const bool has_sign = !text.empty() && (text[0] == '-' || text[0] == '+');
    const std::string sign = has_sign ? text.substr(0, 1) : "";
    const std::string digits = has_sign ? text.substr(1) : text;
    const auto number = [&](const std::string &of) {
        if (of.empty() || of.find_first_not_of("0123456789") != std::string::npos || of.size() > 9)
            fail_at(tree.offset, 1867, "not an interval: \"%.40s\"", tree.text.c_str());
        return std::stoll(of) * (sign == "-" ? -1 : 1);
    };
    if (is_single("YEAR"))
        code = interval_from_years(number(digits), 0, &value);
    else if (is_single("MONTH"))
        code = interval_from_years(0, number(digits), &value);
    else if (is_single("DAY"))
        code = interval_from_days(number(digits), 0, 0, 0, 0, &value);
    else if (is_single("HOUR"))
        code = interval_from_days(0, number(digits), 0, 0, 0, &value);
    else if (is_single("MINUTE"))
        code = interval_from_days(0, 0, number(digits), 0, 0, &value);
    else if (is_single("SECOND"))
        code = interval_from_literal(sign + "0 00:00:" + digits, interval_type::day_to_second, &value);
    else if (is_year || fields.starts_with("DAY"))
        code = interval_from_literal(text + (fields.find("TO HOUR") != std::string::npos     ? ":00:00"
                                             : fields.find("TO MINUTE") != std::string::npos ? ":00"
                                                                                             : ""),
                                     is_year ? interval_type::year_to_month : interval_type::day_to_second,
                                     &value);
    else if (fields.starts_with("HOUR"))
        code = interval_from_literal(sign + "0 " + digits + (fields.ends_with("MINUTE") ? ":00" : ""),
                                     interval_type::day_to_second, &value);
    else
        code = interval_from_literal(sign + "0 00:" + digits, interval_type::day_to_second, &value);
    if (code)
        fail_at(tree.offset, code, "%s: \"%.40s\"", interval_error_text(code), tree.text.c_str());
    return {.sql = quoted_text(interval_to_text(value)),
            .type = is_year ? declared_type{SQLT_INTERVAL_YM, 0, 0, false, 9, 0}
                            : declared_type{SQLT_INTERVAL_DS, 0, 0, false, 9, 9},
            .is_nullable = false,
            .is_constant = true};
}

} // namespace sqlite_oci::sql
