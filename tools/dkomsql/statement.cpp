#include "statement.h"

#include <algorithm>
#include <cstring>

#include "interrupt.h"
#include "utf8.h"

namespace dkomsql
{

namespace
{

constexpr sb2 null_indicator = -1;

/// The headings of a query's columns: their names, or numbers where nothing describes them.
std::vector<std::string> column_names(const std::vector<ColumnDescription> &descriptions, std::size_t count)
{
    std::vector<std::string> names;
    names.reserve(count);
    for (const ColumnDescription &description : descriptions)
        names.push_back(description.name);
    while (names.size() < count)
        names.push_back(std::to_string(names.size() + 1));
    return names;
}

} // namespace

TextArray::TextArray(std::size_t rows, std::size_t longest)
    : width_(longest + 1), text_(rows * width_), indicators_(rows)
{
}

void TextArray::set(std::size_t row, const std::optional<std::string> &value)
{
    indicators_[row] = value ? sb2{0} : null_indicator;
    char *target = &text_[row * width_];
    if (value)
        std::memcpy(target, value->c_str(), value->size() + 1);
    else
        *target = '\0';
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

void Statement::bind(ub4 position, TextArray &values)
{
    OCIBind *bind = nullptr;
    session_.check(OCIBindByPos(handle_.get(), &bind, session_.error(), position, values.text_.data(),
                                static_cast<sb4>(values.width_), SQLT_STR, values.indicators_.data(), nullptr,
                                nullptr, 0, nullptr, OCI_DEFAULT),
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

template <typename T> T Statement::attribute(ub4 attribute) const
{
    T value{};
    session_.check(OCIAttrGet(handle_.get(), OCI_HTYPE_STMT, &value, nullptr, attribute, session_.error()),
                   "OCIAttrGet");
    return value;
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

Cursor::Cursor(Statement &statement, std::size_t longest_value, std::size_t longest_lob)
    : statement_(statement), longest_value_(longest_value), longest_lob_(longest_lob)
{
    constexpr std::size_t most_rows = 100;
    constexpr std::size_t most_bytes = 32U << 20;

    const std::size_t count = statement.attribute<ub4>(OCI_ATTR_PARAM_COUNT);
    if (can_describe(statement.session_))
        descriptions_ = statement.columns();
    names_ = column_names(descriptions_, count);
    columns_.resize(count);
    const std::size_t row_bytes = std::max<std::size_t>(1, count * std::max(longest_value_, longest_lob_));
    rows_per_fetch_ = std::clamp<std::size_t>(most_bytes / row_bytes, 1, most_rows);
    for (std::size_t i = 0; i < count; i++)
        define(i);
}

std::vector<std::string> Cursor::types() const
{
    std::vector<std::string> types;
    for (const ColumnDescription &description : descriptions_)
        types.push_back(type_text(description));
    return types;
}

void Cursor::define(std::size_t index)
{
    const Session &session = statement_.session_;
    Column &column = columns_[index];
    column.indicators.resize(rows_per_fetch_);
    column.lengths.resize(rows_per_fetch_);
    column.codes.resize(rows_per_fetch_);

    void *values = nullptr;
    std::size_t value_size = longest_value_;
    ub2 type = SQLT_CHR;
    if (!descriptions_.empty() && descriptions_[index].is_lob()) {
        for (std::size_t row = 0; row < rows_per_fetch_; row++) {
            column.locators.emplace_back(session.environment());
            column.locator_array.push_back(column.locators.back().get());
        }
        column.lob_heads.resize(rows_per_fetch_);
        values = column.locator_array.data();
        value_size = sizeof(OCILobLocator *);
        type = descriptions_[index].type;
    } else {
        // Left uninitialised: most of the room is never touched, and then it costs no memory.
        column.text = std::make_unique_for_overwrite<char[]>(rows_per_fetch_ * longest_value_);
        values = column.text.get();
    }

    OCIDefine *define = nullptr;
    session.check(OCIDefineByPos(statement_.handle_.get(), &define, session.error(),
                                 static_cast<ub4>(index + 1), values, static_cast<sb4>(value_size), type,
                                 column.indicators.data(), column.lengths.data(), column.codes.data(),
                                 OCI_DEFAULT),
                  "OCIDefineByPos");
}

std::size_t Cursor::fetch()
{
    rows_ = 0;
    remark_.reset();
    if (at_end_)
        return 0;

    const Session &session = statement_.session_;
    sword rc = OCI_SUCCESS;
    {
        const BreakOnInterrupt breakable(session);
        rc = OCIStmtFetch(statement_.handle_.get(), session.error(), static_cast<ub4>(rows_per_fetch_),
                          OCI_FETCH_NEXT, OCI_DEFAULT);
    }
    at_end_ = rc == OCI_NO_DATA;
    if (!at_end_)
        session.check(rc, "OCIStmtFetch");
    if (rc == OCI_SUCCESS_WITH_INFO)
        remark_ = session.last_error();
    rows_ = statement_.attribute<ub4>(OCI_ATTR_ROWS_FETCHED);

    const auto has_cut_value = [this](const Column &column) {
        return std::any_of(column.indicators.begin(),
                           column.indicators.begin() + static_cast<std::ptrdiff_t>(rows_),
                           [](sb2 indicator) { return indicator != 0 && indicator != null_indicator; });
    };
    if (std::any_of(columns_.begin(), columns_.end(), has_cut_value))
        remark_.reset(); // it is about the cut values, which the cells tell
    for (std::size_t i = 0; i < columns_.size() && longest_lob_ > 0; i++) {
        if (is_lob(i))
            read_lob_heads(i);
    }
    return rows_;
}

std::optional<Lob> Cursor::lob(std::size_t row, std::size_t column) const
{
    if (columns_[column].indicators[row] == null_indicator)
        return std::nullopt;
    return Lob(statement_.session_, columns_[column].locator_array[row], descriptions_[column]);
}

void Cursor::read_lob_heads(std::size_t index)
{
    for (std::size_t row = 0; row < rows_; row++) {
        LobHead &head = columns_[index].lob_heads[row];
        head = {};
        if (const std::optional<Lob> value = lob(row, index)) {
            bool is_whole = true;
            head.text = value->head(longest_lob_, is_whole);
            if (!is_whole)
                head.length = value->length_text();
        }
    }
}

Cell Cursor::cell(std::size_t row, std::size_t column_index) const
{
    const Column &column = columns_[column_index];
    const sb2 indicator = column.indicators[row];
    if (indicator == null_indicator)
        return {"", true, false, ""};
    if (is_lob(column_index)) {
        const LobHead &head = column.lob_heads[row];
        return {head.text, false, !head.length.empty(), head.length};
    }
    const std::size_t length = std::min<std::size_t>(column.lengths[row], longest_value_);
    std::string_view text(column.text.get() + row * longest_value_, length);
    const bool is_cut = indicator != 0;
    if (is_cut)
        text = text.substr(0, complete_prefix(text));
    return {text, false, is_cut, ""};
}

} // namespace dkomsql
