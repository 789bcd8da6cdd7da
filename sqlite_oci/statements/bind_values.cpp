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

// Whether values of the type are kept in another form than texts show them in. A DATE in the usual format is
// not.
bool has_own_text(const declared_type &type, const session_settings &settings)
{
    switch (type.type) {
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
    case SQLT_IBFLOAT:
    case SQLT_IBDOUBLE:
        return true;
    case SQLT_DAT:
        return settings.date_format != usual_date_format;
    default:
        return false;
    }
}

} // namespace

void statement::find_own_texts(const connection &on)
{
    formats_ = on.settings;
    has_own_text_.clear();
    for (const sql::result_column &column : result().columns)
        has_own_text_.push_back(has_own_text(column.type, on.settings));
}

// Dates, intervals and reals as texts, in the session's formats.
const value &statement::shown_in(const value &fetched, const declared_type &type, const variable &into)
{
    if (!is_text_variable(into.array.host.type))
        return fetched;
    if (type.type == SQLT_IBFLOAT || type.type == SQLT_IBDOUBLE) {
        if (fetched.kind != value_kind::integer && fetched.kind != value_kind::real)
            return fetched;
        show_real(fetched.kind == value_kind::real ? fetched.real : static_cast<double>(fetched.integer),
                  type, &shown_text_);
    } else if (fetched.kind != value_kind::text ||
               !show_stored_text(fetched.bytes, type, formats_, &shown_text_)) {
        return fetched;
    }
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
    const std::shared_ptr<connection> on = compiled_.on();
    const std::uint64_t read_at = step.gives_row_id ? lobs_of(*on).moment() : 0;
    row_store::reader reader(fetched, 0, step.outputs.size());
    reader.next_row();
    for (const sql::output &one : step.outputs) {
        value given;
        reader.next_value(given);
        bind *const to = bound_[one.placeholder];
        const ub2 of_variable = to->array.host.type;
        if (of_variable == SQLT_RSET || (one.column.type.type == SQLT_BLOB && is_text_variable(of_variable)))
            fail(932, "inconsistent datatypes: the variable :%s is not for the value's type",
                 text.placeholders[one.placeholder].name.c_str());
        fetch_outcome outcome;
        const declared_type &type = one.column.type;
        const value shown_value = has_own_text(type, formats_) ? shown_in(given, type, *to) : given;
        lob_locator *locator = nullptr;
        if (to->is_dynamic) {
            locator = to->give(shown_value, row, outcome);
        } else {
            define target(*this);
            target.describe(to->array);
            target.store(shown_value, row, outcome);
            locator = target.locator_at(row);
        }
        if (outcome.error.code)
            throw failure{outcome.error};
        // A row that the statement has changed is locked by its transaction.
        if (locator && !one.lob_column.empty())
            lobs_of(*on).lock(on, lobs_of(*on).transaction(), read_at,
                              {"main", step.table, one.lob_column,
                               sqlite3_column_int64(from, static_cast<int>(step.outputs.size()))},
                              *locator);
    }
}

} // namespace sqlite_oci
