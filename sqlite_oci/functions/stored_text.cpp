#include "functions/stored_text.h"

#include "values/interval.h"
#include "values/timestamp.h"

namespace sqlite_oci
{

bool show_stored_text(std::string_view stored, bool is_date, const session_settings &settings,
                      std::string *shown)
{
    interval span;
    if (interval_from_text(stored, &span))
        return interval_to_literal(span, interval_default_lead, timestamp_default_digits, shown) == 0 ||
               interval_to_literal(span, interval_lead_max, timestamp_default_digits, shown) == 0;
    timestamp time;
    if (!timestamp_from_text(stored, &time))
        return false;
    return timestamp_format(time,
                            is_date     ? settings.date_format
                            : time.zone ? settings.zoned_format
                                        : settings.timestamp_format,
                            timestamp_default_digits, shown) == 0;
}

} // namespace sqlite_oci
