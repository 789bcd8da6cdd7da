#include "translation/typed_sql.h"

#include <algorithm>

namespace sqlite_oci::sql
{
namespace
{

// Integers of so many digits fit 64 bits, and numbers of so many a double.
constexpr int integer_digits = 18;
constexpr int real_digits = 15;
constexpr int real_binary_digits = 49;

} // namespace

family family_of(const declared_type &type)
{
    switch (type.type) {
    case SQLT_NUM:
        return family::number;
    case SQLT_IBFLOAT:
    case SQLT_IBDOUBLE:
        return family::real;
    case SQLT_CHR:
    case SQLT_AFC:
        return family::text;
    case SQLT_LNG:
        return family::long_text;
    case SQLT_CLOB:
        return family::clob;
    case SQLT_BLOB:
        return family::blob;
    case SQLT_BIN:
    case SQLT_LBI:
        return family::raw;
    case SQLT_DAT:
        return family::date;
    case SQLT_TIMESTAMP:
        return family::timestamp;
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
        return family::zoned;
    case SQLT_INTERVAL_YM:
        return family::year_interval;
    case SQLT_INTERVAL_DS:
        return family::day_interval;
    case SQLT_RDD:
        return family::row_id;
    case SQLT_RSET:
        return family::cursor;
    default:
        return family::unknown;
    }
}

bool may_be_wide(const declared_type &type)
{
    if (type.type != SQLT_NUM)
        return type.type == 0;
    if (type.precision == 0)
        return true;
    if (type.scale == no_scale)
        return type.precision > real_binary_digits;
    if (type.scale <= 0 && type.precision - type.scale <= integer_digits)
        return false;
    return type.precision > real_digits;
}

declared_type text_type(std::size_t length, ub2 type)
{
    declared_type result = any_text;
    result.type = type;
    result.length = static_cast<ub2>(std::min<std::size_t>(length, longest_text));
    return result;
}

} // namespace sqlite_oci::sql
