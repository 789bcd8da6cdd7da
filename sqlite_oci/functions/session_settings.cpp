#include "functions/session_settings.h"

#include "values/date.h"
#include "values/timestamp.h"

namespace sqlite_oci
{

int session_settings::set(const std::string &name, const std::string &value)
{
    const civil_time example{2000, 1, 1, 0, 0, 0};
    const auto set_format = [&](std::string &format) {
        std::string text;
        timestamp time;
        time.local = example;
        time.zone = 0;
        if (const int code = sqlite_oci::timestamp_format(time, value, timestamp_default_digits, &text))
            return code;
        format = value;
        ++version;
        return 0;
    };
    if (name == "NLS_DATE_FORMAT") {
        std::string text;
        if (const int code = sqlite_oci::date_format(example, value, &text))
            return code;
        return set_format(date_format);
    }
    if (name == "NLS_TIMESTAMP_FORMAT")
        return set_format(timestamp_format);
    if (name == "NLS_TIMESTAMP_TZ_FORMAT")
        return set_format(zoned_format);
    // Of these, only what is the case anyway.
    const auto must_be = [&](const char *known) { return value == known ? 0 : 12705; };
    if (name == "NLS_LANGUAGE" || name == "NLS_DATE_LANGUAGE")
        return must_be("AMERICAN");
    if (name == "NLS_TERRITORY")
        return must_be("AMERICA");
    if (name == "NLS_SORT" || name == "NLS_COMP")
        return must_be("BINARY");
    if (name == "NLS_CALENDAR")
        return must_be("GREGORIAN");
    if (name == "NLS_NUMERIC_CHARACTERS")
        return must_be(".,");
    if (name == "NLS_LENGTH_SEMANTICS")
        return must_be("BYTE");
    if (name == "ISOLATION_LEVEL")
        return must_be("READ");
    return 2248;
}

int date_from_session_text(std::string_view text, const session_settings &settings, civil_time *time)
{
    if (date_from_iso(text, time))
        return 0;
    const bool is_usual = settings.date_format == usual_date_format;
    if (is_usual && date_from_default_text(text, time))
        return 0;
    const int code = date_parse_format(text, settings.date_format, date_now(), time);
    return code && date_from_default_text(text, time) ? 0 : code;
}

} // namespace sqlite_oci
