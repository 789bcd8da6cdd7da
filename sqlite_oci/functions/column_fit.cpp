#include "functions/column_fit.h"

#include "syntax/token.h"
#include "text/charset.h"
#include "text/text_scan.h"
#include "values/interval.h"
#include "values/stored_number.h"
#include "values/timestamp.h"

#include <array>

namespace sqlite_oci
{
namespace
{

constexpr int fast_digits = 18;

constexpr auto powers = [] {
    std::array<std::int64_t, fast_digits + 1> result{};
    std::int64_t power = 1;
    for (std::size_t i = 0; i < result.size(); ++i, power *= i < result.size() ? 10 : 1)
        result[i] = power;
    return result;
}();

// One value's way into one column.
class fitting
{
public:
    fitting(const value &from, const fit_rule &rule, const session_settings &settings, value *to,
            fit_room *room)
        : from_(from), rule_(rule), type_(rule.type), settings_(settings), to_(*to), room_(*room)
    {
    }

    int run()
    {
        to_ = from_;
        if (from_.kind == value_kind::null)
            return 0;
        switch (type_.type) {
        case SQLT_NUM:
            return to_number();
        case SQLT_IBFLOAT:
        case SQLT_IBDOUBLE:
            return to_real();
        case SQLT_CHR:
        case SQLT_AFC:
            return to_text();
        case SQLT_CLOB:
        case SQLT_LNG:
            return plain_text() ? 0
                                : fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        case SQLT_BIN:
        case SQLT_LBI:
        case SQLT_BLOB:
            return to_bytes();
        case SQLT_DAT:
            return to_date();
        case SQLT_TIMESTAMP:
        case SQLT_TIMESTAMP_TZ:
        case SQLT_TIMESTAMP_LTZ:
            return to_timestamp();
        case SQLT_INTERVAL_YM:
        case SQLT_INTERVAL_DS:
            return to_interval();
        default:
            return 0;
        }
    }

private:
    int fail(int code, std::string_view text)
    {
        room_.message = text;
        if (!rule_.column.empty() && code != 12899)
            room_.message += " (" + rule_.column + ")";
        return code;
    }

    void set_text(std::string text)
    {
        room_.bytes = std::move(text);
        to_ = {.kind = room_.bytes.empty() ? value_kind::null : value_kind::text, .bytes = room_.bytes};
    }

    // --- Numbers

    int to_number()
    {
        if (from_.kind == value_kind::integer && integer_fits())
            return 0;
        OCINumber number;
        if (const int code = number_from_value(from_, &number))
            return fail(code == ora_inconsistent_types ? code : int{ora_invalid_number},
                        conversion_error_text(code));
        if (type_.precision > 0)
            if (const int code = round_number(&number))
                return code;
        const stored_number stored = store_number(number);
        to_ = {.kind = stored.kind, .integer = stored.integer, .real = stored.real, .bytes = {}};
        if (stored.kind == value_kind::number) {
            room_.bytes = stored.view();
            to_.bytes = room_.bytes;
        }
        return 0;
    }

    bool integer_fits() const
    {
        if (type_.precision == 0)
            return true;
        const int digits = type_.precision - std::max<int>(type_.scale, 0);
        if (type_.scale < 0 || digits < 0)
            return false;
        return digits > fast_digits || (from_.integer < powers[static_cast<std::size_t>(digits)] &&
                                        from_.integer > -powers[static_cast<std::size_t>(digits)]);
    }

    int round_number(OCINumber *number)
    {
        if (type_.scale == no_scale) { // FLOAT counts binary digits
            number_round_digits(*number, type_.precision * 30103 / 100000 + 1, number);
            return 0;
        }
        number_round(*number, type_.scale, rounding::half_away, number);
        // The digits before the point that the precision leaves.
        OCINumber limit;
        number_from_int64(1, &limit);
        number_shift(limit, type_.precision - type_.scale, &limit);
        OCINumber magnitude = *number;
        if (number_sign(magnitude) < 0)
            number_negate(magnitude, &magnitude);
        if (number_compare(magnitude, limit) >= 0)
            return fail(1438, "value larger than the precision allows for the column");
        return 0;
    }

    int to_real()
    {
        double real = 0;
        OCINumber number;
        if (from_.kind == value_kind::integer)
            real = static_cast<double>(from_.integer);
        else if (from_.kind == value_kind::real)
            real = from_.real;
        else if (const int code = number_from_value(from_, &number))
            return fail(code, conversion_error_text(code));
        else
            real = number_to_double(number);
        if (type_.type == SQLT_IBFLOAT)
            real = static_cast<double>(static_cast<float>(real));
        to_ = {.kind = value_kind::real, .real = real, .bytes = {}};
        return 0;
    }

    // --- Texts and bytes

    bool plain_text()
    {
        OCINumber number;
        switch (from_.kind) {
        case value_kind::integer:
            set_text(std::to_string(from_.integer));
            return true;
        case value_kind::real: {
            char text[number_text_max];
            set_text({text, real_to_chars(from_.real, text)});
            return true;
        }
        case value_kind::number:
            if (number_from_value(from_, &number))
                return false;
            set_text(number_to_text(number));
            return true;
        case value_kind::blob:
            return hex_text();
        default:
            return true;
        }
    }

    bool hex_text()
    {
        std::string text;
        for (const char c : from_.bytes)
            for (const int shift : {4, 0})
                text += "0123456789ABCDEF"[(static_cast<unsigned char>(c) >> shift) & 15];
        set_text(std::move(text));
        return type_.type != SQLT_CLOB;
    }

    int to_text()
    {
        if (!plain_text())
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        if (to_.bytes.empty()) {
            to_ = {};
            return 0;
        }
        const std::size_t most = type_.length;
        if (to_.bytes.size() <= most && (!type_.by_character || type_.type == SQLT_CHR) &&
            type_.type == SQLT_CHR)
            return 0;
        const std::size_t length = type_.by_character ? utf8_length(to_.bytes) : to_.bytes.size();
        if (length > most)
            return too_long(length, most);
        if (type_.type == SQLT_AFC && length < most)
            set_text(std::string(to_.bytes) + std::string(most - length, ' '));
        return 0;
    }

    int too_long(std::size_t length, std::size_t most)
    {
        if (rule_.is_cast) {
            const std::size_t kept =
                type_.by_character ? utf8_offset(to_.bytes, most) : cut(charset::utf8, to_.bytes, most);
            set_text(std::string(to_.bytes.substr(0, kept)));
            return 0;
        }
        return fail(12899, "value too large for column " + sql::quoted_name(settings_.user) + "." +
                               rule_.column + " (actual: " + std::to_string(length) +
                               ", maximum: " + std::to_string(most) + ")");
    }

    int to_bytes()
    {
        if (from_.kind == value_kind::text) {
            std::string bytes;
            if (!bytes_from_hex(from_.bytes, &bytes))
                return fail(ora_invalid_hex, conversion_error_text(ora_invalid_hex));
            room_.bytes = std::move(bytes);
            to_ = {.kind = value_kind::blob, .bytes = room_.bytes};
        } else if (from_.kind != value_kind::blob) {
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        }
        if (type_.type == SQLT_BIN && to_.bytes.size() > type_.length)
            return too_long(to_.bytes.size(), type_.length);
        return 0;
    }

    // --- Dates

    int to_date()
    {
        if (from_.kind != value_kind::text)
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        civil_time time{};
        if (const int code = date_from_session_text(from_.bytes, settings_, &time))
            return fail(code, date_error_text(code));
        set_text(date_to_iso(time));
        return 0;
    }

    int to_timestamp()
    {
        if (from_.kind != value_kind::text)
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        timestamp time;
        if (!timestamp_from_text(from_.bytes, &time)) {
            time = {};
            const int code =
                timestamp_parse_format(from_.bytes, settings_.timestamp_format, date_now(), &time);
            if (code && date_from_session_text(from_.bytes, settings_, &time.local))
                return fail(code, date_error_text(code));
        }
        if (!timestamp_round(&time, type_.scale))
            return fail(1841, date_error_text(1841));
        const timestamp_type as = type_.type == SQLT_TIMESTAMP      ? timestamp_type::plain
                                  : type_.type == SQLT_TIMESTAMP_TZ ? timestamp_type::zoned
                                                                    : timestamp_type::local_zoned;
        if (as == timestamp_type::plain)
            time.zone.reset();
        set_text(timestamp_to_text(time, as));
        return 0;
    }

    int to_interval()
    {
        const auto type =
            type_.type == SQLT_INTERVAL_YM ? interval_type::year_to_month : interval_type::day_to_second;
        interval value;
        if (from_.kind != value_kind::text)
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        if (!interval_from_text(from_.bytes, &value))
            if (const int code = interval_from_literal(from_.bytes, type, &value))
                return fail(code, interval_error_text(code));
        std::string shown;
        if (value.type != type)
            return fail(ora_inconsistent_types, conversion_error_text(ora_inconsistent_types));
        if (const int code = interval_to_literal(value, type_.precision, type_.scale, &shown))
            return fail(code, interval_error_text(code));
        // The digits of the fraction that the column keeps.
        if (const int code = interval_from_literal(shown, type, &value))
            return fail(code, interval_error_text(code));
        set_text(interval_to_text(value));
        return 0;
    }

    const value &from_;
    const fit_rule &rule_;
    const declared_type &type_;
    const session_settings &settings_;
    value &to_;
    fit_room &room_;
};

int hex_value(char c)
{
    if (is_digit(c))
        return c - '0';
    c = lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

constexpr std::string_view row_id_digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t row_id_length = 18;

} // namespace

int fit(const value &from, const fit_rule &rule, const session_settings &settings, value *to, fit_room *room)
{
    return fitting(from, rule, settings, to, room).run();
}

bool bytes_from_hex(std::string_view digits, std::string *bytes)
{
    std::string padded;
    if (digits.size() % 2 != 0)
        digits = padded = "0" + std::string(digits);
    bytes->clear();
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = hex_value(digits[i]), low = hex_value(digits[i + 1]);
        if (high < 0 || low < 0)
            return false;
        *bytes += static_cast<char>(high * 16 + low);
    }
    return true;
}

std::string row_id_to_text(std::int64_t row)
{
    std::string text(row_id_length, 'A');
    auto rest = static_cast<std::uint64_t>(row);
    for (std::size_t i = row_id_length; i-- > 0; rest >>= 6)
        text[i] = row_id_digits[rest & 63];
    return text;
}

bool row_id_from_text(std::string_view text, std::int64_t *row)
{
    if (text.size() != row_id_length)
        return false;
    std::uint64_t result = 0;
    for (const char c : text) {
        const auto digit = row_id_digits.find(c);
        if (digit == row_id_digits.npos)
            return false;
        result = result << 6 | digit;
    }
    *row = static_cast<std::int64_t>(result);
    return true;
}

} // namespace sqlite_oci
