#include "statements/compiled_statement.h"

#include "syntax/sql_failure.h"

#include <algorithm>
#include <limits>

namespace sqlite_oci
{
namespace
{

ub2 as_attribute(std::size_t offset)
{
    return static_cast<ub2>(std::min<std::size_t>(offset, std::numeric_limits<ub2>::max()));
}

declared_type type_of(const sql::conversion &wanted, const sql::bind_type &given)
{
    using sql::family;
    if (wanted.column.type)
        return wanted.column;
    switch (wanted.to) {
    case family::number:
        return any_number;
    case family::real:
        return sql::real_type;
    case family::text:
    case family::long_text:
    case family::clob:
        return {SQLT_LNG, SQLCS_IMPLICIT};
    case family::raw:
    case family::blob:
        return {SQLT_LBI};
    case family::date:
        return sql::date_type;
    case family::timestamp:
        return {SQLT_TIMESTAMP, 0, 0, false, 0, 9};
    case family::zoned:
        return {SQLT_TIMESTAMP_TZ, 0, 0, false, 0, 9};
    case family::year_interval:
        return {SQLT_INTERVAL_YM, 0, 0, false, 9, 0};
    case family::day_interval:
        return {SQLT_INTERVAL_DS, 0, 0, false, 9, 9};
    case family::row_id:
        return sql::row_id_type;
    default:
        return given.type.type == SQLT_NUM ? any_number : declared_type{};
    }
}

} // namespace

bool compiled_statement::is_current(const std::shared_ptr<connection> &on,
                                    const std::vector<sql::bind_type> &binds) const
{
    return !steps_.empty() && on_ == on && binds_ == binds &&
           translation_.settings_version == on->settings.version &&
           translation_.schema_version == on->catalogue.refresh();
}

void compiled_statement::compile(const std::shared_ptr<connection> &on, const sql_text &text,
                                 const std::vector<sql::bind_type> &binds, ub2 *error_offset)
{
    *error_offset = 0;
    if (is_current(on, binds))
        return;
    finalize();
    try {
        take(on, text.action,
             sql::translate({text.original, text.tokens, binds, on->catalogue, on->settings}), binds);
    } catch (const sql::located_failure &failed) {
        *error_offset = as_attribute(failed.offset);
        throw;
    }
    if (steps_.size() == 1)
        try {
            step(0);
        } catch (...) {
            finalize();
            throw;
        }
}

void compiled_statement::take(const std::shared_ptr<connection> &on, sql_action action,
                              sql::translation translated, const std::vector<sql::bind_type> &binds)
{
    translation_ = std::move(translated);
    on_ = on;
    action_ = action;
    binds_ = binds;
    steps_.assign(translation_.steps.size(), nullptr);
    parameters_.clear();
    parameters_.resize(binds.size());
    for (std::size_t i = 0; i < binds.size(); ++i) {
        parameter &one = parameters_[i];
        one.rule.type = type_of(translation_.binds[i], binds[i]);
        one.rule.column = translation_.binds[i].column_name;
        one.is_converted = one.rule.type.type != 0;
    }
}

sqlite3_stmt *compiled_statement::prepare(const std::string &sql) const
{
    sqlite3_stmt *compiled = nullptr;
    const int code = sqlite3_prepare_v3(on_->db(), sql.c_str(), static_cast<int>(sql.size()) + 1,
                                        SQLITE_PREPARE_PERSISTENT, &compiled, nullptr);
    if (code != SQLITE_OK)
        throw failure{sqlite_record(on_->db(), code, action_, sql)};
    return compiled;
}

sqlite3_stmt *compiled_statement::step(std::size_t index)
{
    sqlite3_stmt *&one = steps_[index];
    if (!one)
        one = prepare(translation_.steps[index].sql);
    return one;
}

sqlite3_stmt *compiled_statement::locking()
{
    if (!locking_ && !translation_.steps[0].with_row_id.empty())
        locking_ = prepare(translation_.steps[0].with_row_id);
    return locking_;
}

void compiled_statement::bind(sqlite3_stmt *to, std::size_t placeholder, const value &given)
{
    const int position = static_cast<int>(placeholder) + 1;
    if (position > sqlite3_bind_parameter_count(to))
        return;
    parameter &by = parameters_[placeholder];
    if (!by.is_converted || given.kind == value_kind::null) {
        bind_to(to, position, given);
        return;
    }
    value converted;
    if (by.rule.type.type == SQLT_RDD) {
        std::int64_t row = 0;
        if (given.kind != value_kind::text || !row_id_from_text(given.bytes, &row))
            fail(1410, "a bound text is no row identifier");
        converted = {.kind = value_kind::integer, .integer = row, .bytes = {}};
    } else if (const int code = fit(given, by.rule, on_->settings, &converted, &by.room)) {
        fail(code, "%s", by.room.message.c_str());
    }
    bind_to(to, position, converted);
}

void compiled_statement::reset()
{
    if (!on_)
        return;
    const auto on = on_; // outlives the lock
    const cleaning_lock lock(on->mutex());
    finalize();
}

void compiled_statement::leave_other(const connection &than)
{
    if (on_.get() != &than)
        reset();
}

void compiled_statement::finalize()
{
    for (sqlite3_stmt *one : steps_)
        sqlite3_finalize(one);
    sqlite3_finalize(locking_);
    steps_.clear();
    locking_ = nullptr;
    on_ = nullptr;
    translation_ = {};
}

} // namespace sqlite_oci
