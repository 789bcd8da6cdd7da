// Group functions on NUMBERs, exact; they serve as window functions, too.
#include "functions/arguments.h"
#include "functions/families.h"
#include "functions/list_aggregate.h"
#include "handles/call.h"
#include "sql/sqlite_errors.h"
#include "values/number_functions.h"
#include "values/stored_number.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <vector>

namespace sqlite_oci
{
namespace
{

// What a group has gathered: an object that SQLite's memory for the aggregate points to.
template <class State> State *state_of(sqlite3_context *context, bool create)
{
    auto **slot = static_cast<State **>(sqlite3_aggregate_context(context, create ? sizeof(State *) : 0));
    if (!slot)
        return nullptr;
    if (!*slot && create)
        *slot = new (std::nothrow) State();
    if (!*slot && create)
        sqlite3_result_error_nomem(context);
    return *slot;
}

template <class State> void release(sqlite3_context *context)
{
    auto **slot = static_cast<State **>(sqlite3_aggregate_context(context, 0));
    if (slot && *slot) {
        delete *slot;
        *slot = nullptr;
    }
}

// --- Sums

// Small integers are added as such.
struct sums {
    std::int64_t count = 0;
    std::int64_t small = 0;
    OCINumber sum, squares;
    bool has_large = false;
    number_status status = number_status::ok;

    sums()
    {
        number_set_zero(&sum);
        number_set_zero(&squares);
    }

    void note(number_status found)
    {
        if (found != number_status::ok && found != number_status::underflow)
            status = found;
    }

    OCINumber total()
    {
        OCINumber part, result;
        number_from_int64(small, &part);
        note(number_add(sum, part, &result));
        return result;
    }
};

template <int direction> void add_sum(sqlite3_context *context, int, arguments given)
{
    if (is_null(given[0]))
        return;
    auto *state = state_of<sums>(context, true);
    if (!state)
        return;
    state->count += direction;
    std::int64_t total = 0;
    if (sqlite3_value_type(given[0]) == SQLITE_INTEGER) {
        const std::int64_t integer = sqlite3_value_int64(given[0]);
        const bool overflows = direction > 0 ? __builtin_add_overflow(state->small, integer, &total)
                                             : __builtin_sub_overflow(state->small, integer, &total);
        if (!overflows) {
            state->small = total;
            return;
        }
    }
    OCINumber number;
    if (!number_argument(context, given[0], &number))
        return;
    state->note(direction > 0 ? number_add(state->sum, number, &state->sum)
                              : number_subtract(state->sum, number, &state->sum));
}

void sum_value(sqlite3_context *context)
{
    auto *state = state_of<sums>(context, false);
    if (!state || state->count == 0)
        return;
    const OCINumber total = state->total();
    return_number(context, state->status, total);
}

void average_value(sqlite3_context *context)
{
    auto *state = state_of<sums>(context, false);
    if (!state || state->count == 0)
        return;
    OCINumber total = state->total(), count;
    number_from_int64(state->count, &count);
    state->note(number_divide(total, count, &total));
    return_number(context, state->status, total);
}

template <void (*value)(sqlite3_context *), class State> void finish(sqlite3_context *context)
{
    value(context);
    release<State>(context);
}

// --- Variances

template <int direction> void add_square(sqlite3_context *context, int, arguments given)
{
    OCINumber number, square;
    if (is_null(given[0]))
        return;
    auto *state = state_of<sums>(context, true);
    if (!state || !number_argument(context, given[0], &number))
        return;
    state->count += direction;
    state->note(number_multiply(number, number, &square));
    state->note(direction > 0 ? number_add(state->sum, number, &state->sum)
                              : number_subtract(state->sum, number, &state->sum));
    state->note(direction > 0 ? number_add(state->squares, square, &state->squares)
                              : number_subtract(state->squares, square, &state->squares));
}

enum class spread : std::uint8_t { sample, sample_or_zero, population };

// The sum of squares less the square of the sum by the count, over the count or one less.
template <spread of, bool is_root> void spread_value(sqlite3_context *context)
{
    auto *state = state_of<sums>(context, false);
    if (!state || state->count == 0 || (of == spread::sample && state->count == 1))
        return;
    if (of == spread::sample_or_zero && state->count == 1)
        return sqlite3_result_int(context, 0);
    OCINumber count, divisor, result;
    number_from_int64(state->count, &count);
    number_from_int64(of == spread::population ? state->count : state->count - 1, &divisor);
    state->note(number_multiply(state->sum, state->sum, &result));
    state->note(number_divide(result, count, &result));
    state->note(number_subtract(state->squares, result, &result));
    state->note(number_divide(result, divisor, &result));
    if (number_sign(result) < 0) // what rounding leaves of zero
        number_set_zero(&result);
    if (is_root)
        state->note(number_apply(number_function::square_root, result, &result));
    return_number(context, state->status, result);
}

// --- Extremes and medians: the values that are there, by the bytes that sort as numbers do

using number_key = std::string;

struct values {
    std::map<number_key, std::int64_t> counts;
    std::int64_t count = 0;
};

template <int direction> void add_value(sqlite3_context *context, int, arguments given)
{
    OCINumber number;
    if (is_null(given[0]))
        return;
    auto *state = state_of<values>(context, true);
    if (!state || !number_argument(context, given[0], &number))
        return;
    ub1 bytes[number_num_max];
    const std::size_t length = number_to_num(number, bytes);
    try {
        const number_key key(reinterpret_cast<const char *>(bytes), length);
        state->count += direction;
        if ((state->counts[key] += direction) == 0)
            state->counts.erase(key);
    } catch (const std::bad_alloc &) {
        sqlite3_result_error_nomem(context);
    }
}

void return_key(sqlite3_context *context, const number_key &key)
{
    OCINumber number;
    number_from_num(reinterpret_cast<const ub1 *>(key.data()), key.size(), &number);
    return_number(context, number);
}

template <bool is_least> void extreme_value(sqlite3_context *context)
{
    const auto *state = state_of<values>(context, false);
    if (state && !state->counts.empty())
        return_key(context, is_least ? state->counts.begin()->first : state->counts.rbegin()->first);
}

void median_value(sqlite3_context *context)
{
    const auto *state = state_of<values>(context, false);
    if (!state || state->count == 0)
        return;
    const auto at = [&](std::int64_t index) {
        auto found = state->counts.begin();
        for (; index >= found->second; ++found)
            index -= found->second;
        OCINumber number;
        number_from_num(reinterpret_cast<const ub1 *>(found->first.data()), found->first.size(), &number);
        return number;
    };
    OCINumber low = at((state->count - 1) / 2), high = at(state->count / 2), two;
    number_from_int64(2, &two);
    number_add(low, high, &low);
    const number_status status = number_divide(low, two, &low);
    return_number(context, status, low);
}

// --- Registration

using step = void (*)(sqlite3_context *, int, arguments);
using result = void (*)(sqlite3_context *);

struct group_entry {
    const char *name;
    step add, take_away;
    result value, end;
};

template <result value> constexpr result end_of_sums = finish<value, sums>;
template <result value> constexpr result end_of_values = finish<value, values>;

template <spread of, bool is_root> constexpr group_entry spread_entry(const char *name)
{
    return {name, add_square<1>, add_square<-1>, spread_value<of, is_root>,
            end_of_sums<spread_value<of, is_root>>};
}

constexpr group_entry entries[] = {
    {"oci_sum", add_sum<1>, add_sum<-1>, sum_value, end_of_sums<sum_value>},
    {"oci_avg", add_sum<1>, add_sum<-1>, average_value, end_of_sums<average_value>},
    {"oci_min", add_value<1>, add_value<-1>, extreme_value<true>, end_of_values<extreme_value<true>>},
    {"oci_max", add_value<1>, add_value<-1>, extreme_value<false>, end_of_values<extreme_value<false>>},
    {"oci_median", add_value<1>, add_value<-1>, median_value, end_of_values<median_value>},
    spread_entry<spread::sample_or_zero, false>("oci_variance"),
    spread_entry<spread::sample_or_zero, true>("oci_stddev"),
    spread_entry<spread::sample, false>("oci_var_samp"),
    spread_entry<spread::sample, true>("oci_stddev_samp"),
    spread_entry<spread::population, false>("oci_var_pop"),
    spread_entry<spread::population, true>("oci_stddev_pop"),
};

} // namespace

void add_group_functions(sqlite3 *db, session_settings &settings)
{
    for (const group_entry &entry : entries) {
        const int code =
            sqlite3_create_window_function(db, entry.name, 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &settings,
                                           entry.add, entry.end, entry.value, entry.take_away, nullptr);
        if (code != SQLITE_OK)
            throw failure{sqlite_record(db, code)};
    }
    add_list_function(db);
}

} // namespace sqlite_oci
