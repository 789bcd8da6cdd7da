#include "functions/sequences.h"

#include "functions/session_settings.h"
#include "sql/own_query.h"
#include "syntax/token.h"

#include <charconv>
#include <limits>

namespace sqlite_oci
{
namespace
{

constexpr const char *table = "\"oci$sequences\"";
constexpr const char *identity_prefix = "ISEQ$$_";

enum : int {
    ora_no_sequence = 2289,
    ora_not_in_session = 8002,
    ora_exhausted_up = 8004,
    ora_zero_increment = 4002,
    ora_bad_bounds = 4004,
    ora_start_below = 4006,
    ora_start_above = 4008,
    ora_bad_number = 4001,
};

bool has_row(sqlite3 *db, const std::string &sql)
{
    return next_row(compile_query(db, sql));
}

// Numbers of up to 28 digits are usual for bounds, which here end with 64 bits.
int read_number(const std::string &text, std::int64_t otherwise, std::int64_t *number)
{
    *number = otherwise;
    if (text.empty())
        return 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), *number);
    if (parsed.ec == std::errc::result_out_of_range) {
        *number = text[0] == '-' ? std::numeric_limits<std::int64_t>::min()
                                 : std::numeric_limits<std::int64_t>::max();
        return 0;
    }
    return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() ? 0 : int{ora_bad_number};
}

std::string where_name(const std::string &name)
{
    return " WHERE name = " + sql::quoted_text(name);
}

} // namespace

std::string create_sequences_table()
{
    return std::string("CREATE TABLE IF NOT EXISTS ") + table +
           " (name TEXT PRIMARY KEY NOT NULL, increment INTEGER NOT NULL, minimum INTEGER NOT NULL, "
           "maximum INTEGER NOT NULL, cycles INTEGER NOT NULL, next INTEGER)";
}

int insert_sequence_sql(const std::string &name, const std::string &start, const std::string &increment,
                        const std::string &minimum, const std::string &maximum, bool cycles, std::string *sql)
{
    std::int64_t step = 1, least = 0, most = 0, first = 0;
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max(),
                   smallest = std::numeric_limits<std::int64_t>::min();
    int code = read_number(increment, 1, &step);
    const bool is_up = step > 0;
    code = code ? code : read_number(minimum, is_up ? 1 : smallest, &least);
    code = code ? code : read_number(maximum, is_up ? greatest : -1, &most);
    code = code ? code : read_number(start, is_up ? least : most, &first);
    if (code)
        return code;
    if (step == 0)
        return ora_zero_increment;
    if (least >= most)
        return ora_bad_bounds;
    if (first < least)
        return ora_start_below;
    if (first > most)
        return ora_start_above;
    *sql = std::string("INSERT INTO ") + table + " VALUES (" + sql::quoted_text(name);
    for (const std::int64_t number : {step, least, most, std::int64_t{cycles}, first})
        *sql += ", " + std::to_string(number);
    *sql += ")";
    return 0;
}

int alter_sequence_sql(const std::string &name, const std::string &increment, const std::string &minimum,
                       const std::string &maximum, int cycles, std::string *sql)
{
    std::string set;
    const auto add = [&](const char *column, const std::string &text) {
        std::int64_t number = 0;
        if (text.empty())
            return 0;
        const int code = read_number(text, 0, &number);
        set += (set.empty() ? "" : ", ") + std::string(column) + " = " + std::to_string(number);
        return code;
    };
    std::int64_t step = 1;
    int code = read_number(increment, 1, &step);
    if (step == 0)
        code = ora_zero_increment;
    // The next number is counted from the last one.
    if (!increment.empty())
        set = "next = next - increment + " + std::to_string(step);
    code = code ? code : add("increment", increment);
    code = code ? code : add("minimum", minimum);
    code = code ? code : add("maximum", maximum);
    if (cycles >= 0)
        add("cycles", std::to_string(cycles));
    *sql = std::string("UPDATE ") + table + " SET " + (set.empty() ? "name = name" : set) + where_name(name);
    return code;
}

std::string drop_sequence_sql(const std::string &name)
{
    return std::string("DELETE FROM ") + table + where_name(name);
}

std::string identity_sequence(const std::string &of_table, const std::string &column)
{
    return identity_prefix + of_table + "." + column;
}

std::string drop_identities_sql(const std::string &of_table)
{
    const std::string prefix = identity_prefix + of_table + ".";
    return std::string("DELETE FROM ") + table + " WHERE substr(name, 1, " + std::to_string(prefix.size()) +
           ") = " + sql::quoted_text(prefix);
}

bool has_sequences(sqlite3 *db)
{
    return has_row(db, "SELECT 1 FROM sqlite_schema WHERE name = 'oci$sequences'");
}

bool has_sequence(sqlite3 *db, const std::string &name)
{
    return has_sequences(db) && has_row(db, std::string("SELECT 1 FROM ") + table + where_name(name));
}

int next_value(sqlite3 *db, session_settings &settings, const std::string &name, std::int64_t *number)
{
    if (!has_sequences(db))
        return ora_no_sequence;
    const auto query = compile_query(
        db, std::string("SELECT increment, minimum, maximum, cycles, next FROM ") + table + where_name(name));
    if (!next_row(query))
        return ora_no_sequence;
    const std::int64_t step = sqlite3_column_int64(query.get(), 0),
                       least = sqlite3_column_int64(query.get(), 1),
                       most = sqlite3_column_int64(query.get(), 2);
    const bool cycles = sqlite3_column_int(query.get(), 3) != 0;
    const bool is_over = sqlite3_column_type(query.get(), 4) == SQLITE_NULL;
    *number = sqlite3_column_int64(query.get(), 4);
    if (is_over || *number > most || *number < least) {
        if (!cycles)
            return ora_exhausted_up;
        *number = step > 0 ? least : most;
    }
    std::int64_t next = 0;
    const bool overflows = __builtin_add_overflow(*number, step, &next);
    const auto change =
        compile_query(db, std::string("UPDATE ") + table + " SET next = " +
                              (overflows ? std::string("NULL") : std::to_string(next)) + where_name(name));
    if (!change || sqlite3_step(change.get()) != SQLITE_DONE)
        return 54;
    settings.sequence_values[name] = *number;
    return 0;
}

int current_value(const session_settings &settings, const std::string &name, std::int64_t *number)
{
    const auto found = settings.sequence_values.find(name);
    if (found == settings.sequence_values.end())
        return ora_not_in_session;
    *number = found->second;
    return 0;
}

std::string keep_values_sql(const session_settings &settings)
{
    std::string sql;
    for (const auto &[name, number] : settings.sequence_values) {
        const std::string value = std::to_string(number);
        sql.append("UPDATE ").append(table).append(" SET next = ").append(value).append(" + increment");
        sql.append(where_name(name)).append(" AND (increment > 0 AND next <= ").append(value);
        sql.append(" OR increment < 0 AND next >= ").append(value).append(");");
    }
    return sql;
}

} // namespace sqlite_oci
