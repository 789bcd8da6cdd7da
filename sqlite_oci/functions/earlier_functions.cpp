// Functions by the names that views in older databases call them by.
#include "functions/arguments.h"
#include "functions/families.h"

namespace sqlite_oci
{
namespace
{

bool is_number(sqlite3_value *argument)
{
    const int type = sqlite3_value_type(argument);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

void nvl(sqlite3_context *context, int, arguments given)
{
    sqlite3_result_value(context, is_null(given[0]) ? given[1] : given[0]);
}

void nvl2(sqlite3_context *context, int, arguments given)
{
    sqlite3_result_value(context, is_null(given[0]) ? given[2] : given[1]);
}

int order(sqlite3_value *a, sqlite3_value *b)
{
    if (is_number(a) && is_number(b)) {
        const double difference = sqlite3_value_double(a) - sqlite3_value_double(b);
        return difference < 0 ? -1 : difference > 0 ? 1 : 0;
    }
    return text_of(a).compare(text_of(b));
}

// decode(value, candidate, result, ... [, otherwise]); null equals null here.
void decode(sqlite3_context *context, int count, arguments given)
{
    for (int i = 1; i + 1 < count; i += 2)
        if (is_null(given[0]) || is_null(given[i]) ? is_null(given[0]) && is_null(given[i])
                                                   : order(given[0], given[i]) == 0)
            return sqlite3_result_value(context, given[i + 1]);
    if (count % 2 == 0 && count > 1)
        sqlite3_result_value(context, given[count - 1]);
}

template <int wanted> void extreme(sqlite3_context *context, int count, arguments given)
{
    sqlite3_value *found = count ? given[0] : nullptr;
    for (int i = 0; i < count; ++i) {
        if (is_null(given[i]))
            return;
        if (order(given[i], found) * wanted > 0)
            found = given[i];
    }
    if (found)
        sqlite3_result_value(context, found);
}

constexpr function_entry entries[] = {
    {"nvl", nvl, 2}, // also that of today: both arguments are evaluated
    {"nvl2", nvl2, 3}, {"decode", decode, -1}, {"greatest", extreme<1>, -1}, {"least", extreme<-1>, -1},
};

} // namespace

void add_earlier_functions(sqlite3 *db, session_settings &settings)
{
    add_functions(db, settings, entries);
}

} // namespace sqlite_oci
