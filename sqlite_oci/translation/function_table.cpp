#include "translation/function_table.h"

#include <algorithm>
#include <iterator>

namespace sqlite_oci::sql
{
namespace
{

// Arguments: c text, n number, d date, t timestamp, r raw, a anything, x text or CLOB, i interval of days.
// Results: c text, C text as long as the first argument, n number, d date, t timestamp, z timestamp with
// zone, r raw, x CLOB if the first argument is one and text otherwise, l CLOB, b BLOB, y and i intervals.
constexpr function_rule rules[] = {
    {"ABS", 1, 1, "n", "n", "oci_abs"},
    {"ADD_MONTHS", 2, 2, "dn", "d", "oci_add_months"},
    {"ACOS", 1, 1, "n", "n", "oci_acos"},
    {"ASCII", 1, 1, "c", "n", "oci_ascii"},
    {"ASIN", 1, 1, "n", "n", "oci_asin"},
    {"ATAN", 1, 1, "n", "n", "oci_atan"},
    {"ATAN2", 2, 2, "n", "n", "oci_atan2"},
    {"BITAND", 2, 2, "n", "n", "oci_bitand"},
    {"CEIL", 1, 1, "n", "n", "oci_ceil"},
    {"CHAR", 1, 1, "n", "c", "char"}, // SQLite's
    {"CHR", 1, 1, "n", "c", "oci_chr"},
    {"CONCAT", 2, 2, "x", "x", "oci_concat"},
    {"COS", 1, 1, "n", "n", "oci_cos"},
    {"COSH", 1, 1, "n", "n", "oci_cosh"},
    {"EMPTY_BLOB", 0, 0, "", "b", "oci_empty_blob"},
    {"EMPTY_CLOB", 0, 0, "", "l", "oci_empty_clob"},
    {"EXP", 1, 1, "n", "n", "oci_exp"},
    {"FLOOR", 1, 1, "n", "n", "oci_floor"},
    {"GROUP_CONCAT", 1, 2, "c", "c", "group_concat", true}, // SQLite's
    {"HEX", 1, 1, "a", "c", "hex"},                         // SQLite's
    {"HEXTORAW", 1, 1, "c", "r", "oci_raw"},
    {"INITCAP", 1, 1, "c", "C", "oci_initcap"},
    {"INSTR", 2, 4, "xxnn", "n", "oci_instr"},
    {"INSTRB", 2, 4, "xxnn", "n", "oci_instrb"},
    {"LAST_DAY", 1, 1, "d", "d", "oci_last_day"},
    {"LENGTH", 1, 1, "x", "n", "oci_length"},
    {"LENGTHB", 1, 1, "x", "n", "oci_lengthb"},
    {"LENGTHC", 1, 1, "x", "n", "oci_length"},
    {"LN", 1, 1, "n", "n", "oci_ln"},
    {"LOG", 2, 2, "n", "n", "oci_log"},
    {"LOWER", 1, 1, "x", "x", "oci_lower"},
    {"LPAD", 2, 3, "xnx", "x", "oci_lpad"},
    {"LTRIM", 1, 2, "xx", "x", "oci_ltrim"},
    {"MOD", 2, 2, "n", "n", "oci_mod"},
    {"MONTHS_BETWEEN", 2, 2, "d", "n", "oci_months_between"},
    {"NEXT_DAY", 2, 2, "dc", "d", "oci_next_day"},
    {"NUMTODSINTERVAL", 2, 2, "nc", "i", "oci_number_to_day_interval"},
    {"NUMTOYMINTERVAL", 2, 2, "nc", "y", "oci_number_to_year_interval"},
    {"POWER", 2, 2, "n", "n", "oci_power"},
    {"PRINTF", 1, 99, "a", "c", "printf"}, // SQLite's
    {"RAWTOHEX", 1, 1, "r", "c", "hex"},
    {"REMAINDER", 2, 2, "n", "n", "oci_remainder"},
    {"REPLACE", 2, 3, "xcc", "x", "oci_replace"},
    {"RPAD", 2, 3, "xnx", "x", "oci_rpad"},
    {"RTRIM", 1, 2, "xx", "x", "oci_rtrim"},
    {"SIGN", 1, 1, "n", "n", "oci_sign"},
    {"SIN", 1, 1, "n", "n", "oci_sin"},
    {"SINH", 1, 1, "n", "n", "oci_sinh"},
    {"SQRT", 1, 1, "n", "n", "oci_sqrt"},
    {"SUBSTR", 2, 3, "xnn", "x", "oci_substr"},
    {"SUBSTRB", 2, 3, "xnn", "x", "oci_substrb"},
    {"SYS_CONTEXT", 2, 3, "c", "c", "oci_sys_context"},
    {"SYS_GUID", 0, 0, "", "r", "oci_guid"},
    {"TAN", 1, 1, "n", "n", "oci_tan"},
    {"TANH", 1, 1, "n", "n", "oci_tanh"},
    {"TO_BLOB", 1, 1, "r", "b", ""},
    {"TO_DATE", 2, 2, "cc", "d", "oci_to_date"},
    {"TO_DSINTERVAL", 1, 1, "c", "i", "oci_day_interval"},
    {"TO_NUMBER", 2, 2, "cc", "n", "oci_to_number"},
    {"TO_TIMESTAMP", 2, 2, "cc", "t", "oci_to_timestamp"},
    {"TO_TIMESTAMP_TZ", 2, 2, "cc", "z", "oci_to_timestamp_tz"},
    {"TO_YMINTERVAL", 1, 1, "c", "y", "oci_year_interval"},
    {"TRANSLATE", 3, 3, "c", "c", "oci_translate"},
    {"TYPEOF", 1, 1, "a", "c", "typeof"}, // SQLite's
    {"UPPER", 1, 1, "x", "x", "oci_upper"},
    {"USERENV", 1, 1, "c", "c", "oci_userenv"},
    {"ZEROBLOB", 1, 1, "n", "b", "zeroblob"}, // SQLite's
    // Group functions; those that depend on the type are written out in group_calls.cpp.
    {"AVG", 1, 1, "n", "n", "oci_avg", true},
    {"MEDIAN", 1, 1, "n", "n", "oci_median", true},
    {"STDDEV", 1, 1, "n", "n", "oci_stddev", true},
    {"STDDEV_POP", 1, 1, "n", "n", "oci_stddev_pop", true},
    {"STDDEV_SAMP", 1, 1, "n", "n", "oci_stddev_samp", true},
    {"SUM", 1, 1, "n", "n", "oci_sum", true},
    {"VAR_POP", 1, 1, "n", "n", "oci_var_pop", true},
    {"VAR_SAMP", 1, 1, "n", "n", "oci_var_samp", true},
    {"VARIANCE", 1, 1, "n", "n", "oci_variance", true},
};

} // namespace

const function_rule *find_function(std::string_view name, std::size_t arguments)
{
    const auto count = static_cast<int>(arguments);
    const auto *found = std::find_if(std::begin(rules), std::end(rules), [&](const function_rule &rule) {
        return name == rule.name && count >= rule.least && count <= rule.most;
    });
    return found == std::end(rules) ? nullptr : found;
}

bool is_function_name(std::string_view name)
{
    return std::any_of(std::begin(rules), std::end(rules),
                       [&](const function_rule &rule) { return name == rule.name; });
}

} // namespace sqlite_oci::sql
