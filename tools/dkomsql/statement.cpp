#include "statement.h"

#include <cstring>

#include "interrupt.h"

namespace dkomsql
{

namespace
{

constexpr sb2 null_indicator = -1;

} // namespace

ValueArray::ValueArray(Kind kind, std::size_t rows, std::size_t longest)
    : kind_(kind), width_(longest + (kind == Kind::text ? 1 : sizeof(sb4))), values_(rows * width_),
      indicators_(rows)
{
}

void ValueArray::set(std::size_t row, const std::optional<std::string> &value)
{
    indicators_[row] = value ? sb2{0} : null_indicator;
    char *target = &values_[row * width_];
    if (!value) {
        std::memset(target, 0, kind_ == Kind::text ? 1 : sizeof(sb4));
    } else if (kind_ == Kind::text) {
        std::memcpy(target, value->c_str(), value->size() + 1);
    } else {
        const auto length = static_cast<sb4>(value->size());
        std::memcpy(target, &length, sizeof length);
        std::memcpy(target + sizeof length, value->data(), value->size());
    }
}

Statement::Statement(const Session &session, const std::string &sql)
    : session_(session), handle_(session.environment())
{
    session_.check(OCIStmtPrepare(handle_.get(), session_.error(),
                                  reinterpret_cast<const OraText *>(sql.data()), static_cast<ub4>(sql.size()),
                                  OCI_NTV_SYNTAX, OCI_DEFAULT),
                   "OCIStmtPrepare");
    type_ = attribute<ub2>(OCI_ATTR_STMT_TYPE);
}

void Statement::bind(const std::string &name, const std::optional<std::string> &value)
{
    BoundText &bound = bound_.emplace_back();
    bound.text = value.value_or("");
    bound.indicator = value ? sb2{0} : null_indicator;

    const std::string placeholder = ":" + name;
    OCIBind *bind = nullptr;
    session_.check(OCIBindByName(handle_.get(), &bind, session_.error(),
                                 reinterpret_cast<const OraText *>(placeholder.data()),
                                 static_cast<sb4>(placeholder.size()), bound.text.data(),
                                 static_cast<sb4>(bound.text.size()), SQLT_CHR, &bound.indicator, nullptr,
                                 nullptr, 0, nullptr, OCI_DEFAULT),
                   "OCIBindByName");
}

void Statement::bind(ub4 position, ValueArray &values)
{
    OCIBind *bind = nullptr;
    session_.check(OCIBindByPos(handle_.get(), &bind, session_.error(), position, values.values_.data(),
                                static_cast<sb4>(values.width_),
                                values.kind_ == ValueArray::Kind::text ? SQLT_STR : SQLT_LVB,
                                values.indicators_.data(), nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
                   "OCIBindByPos");
}

std::optional<OciError> Statement::execute(Commit commit)
{
    const ub4 mode = commit == Commit::at_once && !is_query() ? OCI_COMMIT_ON_SUCCESS : OCI_DEFAULT;
    const sword rc = run(is_query() ? 0 : 1, 0, mode);
    if (rc == OCI_SUCCESS_WITH_INFO)
        return session_.last_error();
    if (rc != OCI_SUCCESS && rc != OCI_NO_DATA)
        throw failure_with_offset(rc);
    return std::nullopt;
}

ArrayResult Statement::execute_rows(std::size_t first, std::size_t end)
{
    ArrayResult result;
    const sword rc = run(static_cast<ub4>(end), static_cast<ub4>(first), OCI_DEFAULT);
    if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
        result.error = failure_with_offset(rc);
    result.rows_done = row_count();
    return result;
}

std::vector<ColumnDescription> Statement::describe()
{
    const sword rc = run(0, 0, OCI_DESCRIBE_ONLY);
    if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
        throw failure_with_offset(rc);
    return columns();
}

std::vector<ColumnDescription> Statement::columns() const
{
    return describe_columns(session_, handle_.get(), attribute<ub4>(OCI_ATTR_PARAM_COUNT));
}

std::size_t Statement::row_count() const
{
    return attribute<ub4>(OCI_ATTR_ROW_COUNT);
}

sword Statement::run(ub4 iterations, ub4 first_row, ub4 mode)
{
    const BreakOnInterrupt breakable(session_);
    return OCIStmtExecute(session_.service(), handle_.get(), session_.error(), iterations, first_row, nullptr,
                          nullptr, mode);
}

OciError Statement::failure_with_offset(sword rc) const
{
    OciError error = session_.failure(rc, "OCIStmtExecute");
    ub2 offset = 0;
    const sword got = OCIAttrGet(handle_.get(), OCI_HTYPE_STMT, &offset, nullptr, OCI_ATTR_PARSE_ERROR_OFFSET,
                                 session_.error());
    // 0 is also what a database says of an error that has no place in the text.
    if (got == OCI_SUCCESS && offset > 0)
        error.offset = offset;
    return error;
}

} // namespace dkomsql
