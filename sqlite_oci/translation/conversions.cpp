// Conversions: those that a server makes without being asked, and those into the columns of tables.
#include "text/text_scan.h"
#include "translation/translator.h"
#include "values/date.h"
#include "values/interval.h"
#include "values/stored_number.h"
#include "values/timestamp.h"

namespace sqlite_oci::sql
{
namespace
{

struct conversion_rule {
    family from, to;
    const char *function; // null: as it is
};

// What is missing makes no sense: ORA-00932.
constexpr conversion_rule rules[] = {
    {family::text, family::number, "oci_number"},
    {family::real, family::number, "oci_number"},
    {family::long_text, family::number, "oci_number"},
    {family::clob, family::number, "oci_number"},
    {family::number, family::real, "oci_real"},
    {family::text, family::real, "oci_real"},
    {family::number, family::text, "oci_number_text"},
    {family::real, family::text, "oci_number_text"},
    {family::date, family::text, "oci_date_text"},
    {family::timestamp, family::text, "oci_timestamp_text"},
    {family::zoned, family::text, "oci_timestamp_text"},
    {family::year_interval, family::text, "oci_interval_text"},
    {family::day_interval, family::text, "oci_interval_text"},
    {family::raw, family::text, "hex"},
    {family::row_id, family::text, "oci_row_id_text"},
    {family::clob, family::text, "oci_clob_text"},
    {family::long_text, family::text, nullptr},
    {family::number, family::clob, "oci_number_text"},
    {family::real, family::clob, "oci_number_text"},
    {family::date, family::clob, "oci_date_text"},
    {family::text, family::clob, nullptr},
    {family::long_text, family::clob, nullptr},
    {family::text, family::long_text, nullptr},
    {family::clob, family::long_text, nullptr},
    {family::number, family::long_text, "oci_number_text"},
    {family::date, family::long_text, "oci_date_text"},
    {family::text, family::date, "oci_date"},
    {family::timestamp, family::date, "oci_date_of_timestamp"},
    {family::zoned, family::date, "oci_date_of_timestamp"},
    {family::text, family::timestamp, "oci_timestamp"},
    {family::date, family::timestamp, nullptr},
    {family::zoned, family::timestamp, "oci_plain_timestamp"},
    {family::text, family::zoned, "oci_zoned_timestamp"},
    {family::date, family::zoned, "oci_zoned_timestamp"},
    {family::timestamp, family::zoned, "oci_zoned_timestamp"},
    {family::text, family::year_interval, "oci_year_interval"},
    {family::text, family::day_interval, "oci_day_interval"},
    {family::text, family::raw, "oci_raw"},
    {family::clob, family::raw, "oci_raw"},
    {family::long_text, family::raw, "oci_raw"},
    {family::blob, family::raw, nullptr},
    {family::raw, family::blob, nullptr},
    {family::text, family::blob, "oci_raw"},
    {family::text, family::row_id, "oci_row_id"},
    {family::number, family::row_id, nullptr},
};

declared_type type_of_family(family kind, const declared_type &from)
{
    switch (kind) {
    case family::number:
        return any_number;
    case family::real:
        return real_type;
    case family::date:
        return date_type;
    case family::timestamp:
        return {SQLT_TIMESTAMP, 0, 0, false, 0, 9};
    case family::zoned:
        return {SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 9};
    case family::year_interval:
        return {SQLT_INTERVAL_YM, 0, 0, false, 9, 0};
    case family::day_interval:
        return {SQLT_INTERVAL_DS, 0, 0, false, 9, 9};
    case family::raw:
        return any_bytes;
    case family::clob:
        return clob_type;
    case family::blob:
        return blob_type;
    case family::long_text:
        return {SQLT_LNG, SQLCS_IMPLICIT};
    case family::row_id:
        return row_id_type;
    case family::text:
        break;
    default:
        return {};
    }
    switch (family_of(from)) {
    case family::number:
    case family::real:
        return text_type(40);
    case family::date:
    case family::timestamp:
    case family::zoned:
    case family::year_interval:
    case family::day_interval:
        return text_type(75);
    case family::raw:
        return text_type(std::size_t{from.length} * 2);
    case family::row_id:
        return text_type(18);
    default:
        return any_text;
    }
}

const char *family_name(family kind)
{
    constexpr const char *names[] = {"a value",
                                     "NUMBER",
                                     "BINARY_DOUBLE",
                                     "CHAR",
                                     "LONG",
                                     "CLOB",
                                     "BLOB",
                                     "RAW",
                                     "DATE",
                                     "TIMESTAMP",
                                     "TIMESTAMP WITH TIME ZONE",
                                     "INTERVAL YEAR TO MONTH",
                                     "INTERVAL DAY TO SECOND",
                                     "ROWID",
                                     "CURSOR"};
    return names[static_cast<std::size_t>(kind)];
}

// Whether each value of a type can be stored in a column without a look at it.
bool fits_always(const declared_type &from, const declared_type &column)
{
    if (from.type != column.type && !(from.type == SQLT_AFC && column.type == SQLT_CHR))
        return false;
    switch (family_of(column)) {
    case family::number:
        return column.precision == 0 || (from.precision != 0 && from == column);
    case family::text:
        return from.type != SQLT_AFC ? column.type == SQLT_CHR && from.by_character == column.by_character &&
                                           from.length <= column.length
                                     : from == column;
    case family::raw:
        return from.length <= column.length;
    case family::date:
    case family::clob:
    case family::blob:
    case family::long_text:
        return true;
    default:
        return from == column;
    }
}

} // namespace

typed_sql translator::with_type(typed_sql value, const declared_type &type) const
{
    value.type = type;
    return value;
}

// What a literal stands for, where that is known now; as a call where it fails, for the statement that runs.
typed_sql translator::literal_converted(const typed_sql &value, family to) const
{
    typed_sql result;
    if (to == family::number) {
        OCINumber number;
        if (!number_from_text(value.literal, &number))
            return result;
        expression tree(node::number, 0);
        tree.text = number_to_text(number);
        const bool is_negative = tree.text.starts_with('-');
        if (number_is_infinite(number))
            return result;
        if (is_negative)
            tree.text.erase(0, 1);
        result = number_of(tree);
        if (is_negative && !result.is_wide)
            result.sql = "(-" + result.sql + ")";
        else if (is_negative)
            result.sql = "oci_negate(" + result.sql + ")";
    }
    return result;
}

typed_sql translator::converted(typed_sql value, family to, std::size_t offset)
{
    const family from = value.kind();
    if (from == to || value.is_null())
        return value;
    if (value.placeholder != no_placeholder) {
        conversion &bind = result_.binds[static_cast<std::size_t>(value.placeholder)];
        if (bind.column.type == 0)
            bind.to = to;
        value.type = type_of_family(to, value.type);
        value.is_wide = to == family::number;
        return value;
    }
    if (value.is_literal) {
        typed_sql literal = literal_converted(value, to);
        if (!literal.sql.empty())
            return literal;
    }
    const auto type = type_of_family(to, value.type);
    if (from == family::unknown) {
        if (to == family::text)
            value.sql = "oci_any_text(" + value.sql + ")";
        else if (to == family::number)
            value.sql = "oci_number(" + value.sql + ")";
        else if (to == family::date)
            value.sql = "oci_date(" + value.sql + ")";
        value.type = type;
        return value;
    }
    for (const conversion_rule &rule : rules) {
        if (rule.from != from || rule.to != to)
            continue;
        typed_sql result{
            .sql = rule.function ? std::string(rule.function) + "(" + value.sql + ")" : value.sql,
            .type = type,
            .is_nullable = value.is_nullable,
            .is_constant = value.is_constant,
            .is_wide = to == family::number,
            .is_column = !rule.function && value.is_column,
        };
        return result;
    }
    fail_at(offset, 932, "inconsistent datatypes: expected %s, got %s", family_name(to), family_name(from));
}

typed_sql translator::text_of_value(expression &tree)
{
    return converted(value_of(tree), family::text, tree.offset);
}

typed_sql translator::number_of_value(expression &tree)
{
    return converted(value_of(tree), family::number, tree.offset);
}

// As a column of a table keeps it: of its type, and within its length or precision.
typed_sql translator::stored(typed_sql value, const column_info &column, const std::string &table,
                             std::size_t offset)
{
    const declared_type &type = column.type;
    const family to = family_of(type);
    const std::string shown = quoted_name(table) + "." + quoted_name(column.name);
    if (value.placeholder != no_placeholder) {
        conversion &bind = result_.binds[static_cast<std::size_t>(value.placeholder)];
        bind.to = to;
        bind.column = type;
        bind.column_name = shown;
        return value;
    }
    if (to == family::unknown || value.is_null())
        return value;
    if (value.kind() == family::blob && to == family::text)
        fail_at(offset, 932, "inconsistent datatypes: expected CHAR, got BLOB");
    const bool is_lob_function =
        to == family::blob && value.kind() == family::clob && value.sql == "oci_empty_clob()";
    if (is_lob_function)
        fail_at(offset, 932, "inconsistent datatypes: expected BLOB, got CLOB");
    value = converted(std::move(value), to, offset);
    if (fits_always(value.type, type))
        return value;
    value.sql = "oci_store(" + value.sql + ", " + quoted_text(declared_type_text(type)) + ", " +
                quoted_text(shown) + ")";
    value.type = type;
    value.is_column = false;
    return value;
}

} // namespace sqlite_oci::sql
