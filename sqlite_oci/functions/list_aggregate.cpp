#include "functions/list_aggregate.h"

#include "functions/arguments.h"
#include "handles/call.h"
#include "sql/sqlite_errors.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace sqlite_oci
{
namespace
{

constexpr std::size_t longest_result = 4000;

struct value_release {
    void operator()(sqlite3_value *kept) const { sqlite3_value_free(kept); }
};
using kept_value = std::unique_ptr<sqlite3_value, value_release>;

struct list_entry {
    std::string text;
    std::vector<kept_value> keys;
};

struct list_state {
    std::vector<list_entry> entries;
    std::string separator, directions;
};

// Keys of one column are of one kind: numbers, texts or bytes.
int compare_keys(sqlite3_value *a, sqlite3_value *b)
{
    const int type = sqlite3_value_type(a);
    if (type == SQLITE_INTEGER && sqlite3_value_type(b) == SQLITE_INTEGER) {
        const auto x = sqlite3_value_int64(a), y = sqlite3_value_int64(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
        const double x = sqlite3_value_double(a), y = sqlite3_value_double(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    const int order = type == SQLITE_BLOB ? bytes_of(a).compare(bytes_of(b)) : text_of(a).compare(text_of(b));
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

bool is_before(const list_entry &a, const list_entry &b, const std::string &directions)
{
    for (std::size_t i = 0; i < a.keys.size(); ++i) {
        sqlite3_value *const x = a.keys[i].get(), *const y = b.keys[i].get();
        if (is_null(x) && is_null(y))
            continue;
        if (is_null(x) || is_null(y))
            return is_null(x) == (directions[2 * i + 1] == 'f');
        if (const int order = compare_keys(x, y))
            return (order < 0) == (directions[2 * i] == 'a');
    }
    return false;
}

list_state *state_of(sqlite3_context *context, bool create)
{
    auto **slot =
        static_cast<list_state **>(sqlite3_aggregate_context(context, create ? sizeof(list_state *) : 0));
    if (slot && !*slot && create)
        *slot = new list_state();
    return slot ? *slot : nullptr;
}

void add(sqlite3_context *context, int count, arguments given)
{
    if (is_null(given[0]))
        return;
    try {
        list_state *state = state_of(context, true);
        if (!state)
            return sqlite3_result_error_nomem(context);
        state->separator = text_of(given[1]);
        state->directions = text_of(given[2]);
        list_entry added{std::string(text_of(given[0])), {}};
        for (int i = 3; i < count; ++i)
            added.keys.emplace_back(sqlite3_value_dup(given[i]));
        state->entries.push_back(std::move(added));
    } catch (const std::bad_alloc &) {
        sqlite3_result_error_nomem(context);
    }
}

// Rows leave a window in the order in which they came.
void take_away(sqlite3_context *context, int, arguments given)
{
    list_state *state = state_of(context, false);
    if (state && !is_null(given[0]) && !state->entries.empty())
        state->entries.erase(state->entries.begin());
}

void give(sqlite3_context *context)
{
    const list_state *state = state_of(context, false);
    if (!state || state->entries.empty())
        return;
    std::vector<const list_entry *> order;
    for (const list_entry &one : state->entries)
        order.push_back(&one);
    std::stable_sort(order.begin(), order.end(), [&](const list_entry *a, const list_entry *b) {
        return is_before(*a, *b, state->directions);
    });
    std::string text;
    for (const list_entry *one : order)
        text += (one == order.front() ? "" : state->separator) + one->text;
    if (text.size() > longest_result)
        return return_error(context, 1489, "the result of LISTAGG is too long");
    return_text(context, text);
}

void end(sqlite3_context *context)
{
    give(context);
    delete state_of(context, false);
}

} // namespace

void add_list_function(sqlite3 *db)
{
    const int code = sqlite3_create_window_function(db, "oci_listagg", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                                    nullptr, add, end, give, take_away, nullptr);
    if (code != SQLITE_OK)
        throw failure{sqlite_record(db, code)};
}

} // namespace sqlite_oci
