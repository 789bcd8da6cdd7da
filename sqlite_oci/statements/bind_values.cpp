// The types that bind variables have for SQL, and values that SQL gives them.
#include "functions/stored_text.h"
#include "statements/statement.h"

namespace sqlite_oci
{
namespace
{

sql::bind_type type_of_host(const host_type &host)
{
    switch (host.type) {
    case SQLT_INT:
        return {any_number, false};
    case SQLT_UIN:
        return {any_number, host.size > 4};
    case SQLT_FLT:
        return {any_number, false};
    case SQLT_NUM:
    case SQLT_VNU:
    case SQLT_PDN:
        return {any_number, true};
    case SQLT_BFLOAT:
    case SQLT_BDOUBLE:
        return {sql::real_type, false};
    case SQLT_DAT:
    case SQLT_ODT:
        return {sql::date_type, false};
    case SQLT_TIMESTAMP:
        return {{SQLT_TIMESTAMP, 0, 0, false, 0, 9}, false};
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
        return {{SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 9}, false};
    case SQLT_INTERVAL_YM:
        return {{SQLT_INTERVAL_YM, 0, 0, false, 9, 0}, false};
    case SQLT_INTERVAL_DS:
        return {{SQLT_INTERVAL_DS, 0, 0, false, 9, 9}, false};
    case SQLT_BIN:
    case SQLT_LBI:
    case SQLT_VBI:
    case SQLT_LVB:
        return {any_bytes, false};
    case SQLT_AFC:
    case SQLT_AVC:
        return {sql::text_type(longest_text, SQLT_AFC), false};
    case SQLT_CLOB:
        return {sql::clob_type, false};
    case SQLT_BLOB:
        return {sql::blob_type, false};
    default:
        return {any_text, false};
    }
}

bool is_text_variable(ub2 type)
{
    switch (type) {
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_LNG:
    case SQLT_AFC:
    case SQLT_AVC:
    case SQLT_VCS:
    case SQLT_LVC:
    case SQLT_VST:
    case SQLT_CLOB:
        return true;
    default:
        return false;
    }
}

} // namespace

// A DATE in the form in which it is kept needs nothing done.
void statement::find_own_texts(const connection &on)
{
    formats_ = on.settings;
    has_own_text_.clear();
    for (const sql::result_column &column : compiled_.translated().columns) {
        const bool is_date = column.type.type == SQLT_DAT;
        const bool is_other = column.type.type == SQLT_TIMESTAMP || column.type.type == SQLT_TIMESTAMP_TZ ||
                              column.type.type == SQLT_TIMESTAMP_LTZ ||
                              column.type.type == SQLT_INTERVAL_YM || column.type.type == SQLT_INTERVAL_DS;
        has_own_text_.push_back(is_other || (is_date && on.settings.date_format != usual_date_format));
    }
}

// Dates and intervals as texts, in the session's formats.
const value &statement::shown(const value &fetched, std::size_t column, const define &into)
{
    if (!has_own_text_[column] || fetched.kind != value_kind::text || !is_text_variable(into.array.host.type))
        return fetched;
    const bool is_date = compiled_.translated().columns[column].type.type == SQLT_DAT;
    if (!show_stored_text(fetched.bytes, is_date, formats_, &shown_text_))
        return fetched;
    shown_ = {.kind = value_kind::text, .bytes = shown_text_};
    return shown_;
}

std::vector<sql::bind_type> statement::bind_types() const
{
    std::vector<sql::bind_type> result(bound_.size());
    for (std::size_t i = 0; i < bound_.size(); ++i)
        if (bound_[i])
            result[i] = type_of_host(bound_[i]->array.host);
    return result;
}

// The values of a row for bind variables: RETURNING ... INTO, SELECT ... INTO, and :name := in a block.
void statement::store_outputs(sqlite3_stmt *from, const sql::translated_step &step, std::size_t row)
{
    row_store fetched;
    std::vector<bool> are_numbers;
    for (const sql::output &one : step.outputs)
        are_numbers.push_back(one.column.type.type == SQLT_NUM);
    fetched.append(from, static_cast<int>(step.outputs.size()), are_numbers);
    row_store::reader reader(fetched, 0, step.outputs.size());
    reader.next_row();
    for (const sql::output &one : step.outputs) {
        value given;
        reader.next_value(given);
        bind *const to = bound_[one.placeholder];
        fetch_outcome outcome;
        if (to->is_dynamic) {
            to->give(given, row, outcome);
        } else {
            define target(*this);
            target.describe(to->array);
            target.store(given, row, outcome);
        }
        if (outcome.error.code)
            throw failure{outcome.error};
    }
}

} // namespace sqlite_oci
