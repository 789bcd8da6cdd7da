#include "cursor.h"

#include <algorithm>
#include <array>

#include "interrupt.h"
#include "libraries.h"
#include "utf8.h"

// Not among the calls of the exact edition.
#pragma weak OCIStmtGetPieceInfo
#pragma weak OCIStmtSetPieceInfo

namespace dkomsql
{

namespace
{

constexpr sb2 null_indicator = -1;
constexpr std::size_t longest_varchar = 32767;

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

Cursor::Cursor(Statement &statement, const CursorLimits &limits) : statement_(statement), limits_(limits)
{
    constexpr std::size_t most_rows = 100;
    constexpr std::size_t most_bytes = 32U << 20;

    const std::size_t count = statement.attribute<ub4>(OCI_ATTR_PARAM_COUNT);
    if (can_describe(statement.session_))
        descriptions_ = statement.columns();
    names_ = column_names(descriptions_, count);
    columns_.resize(count);
    row_.resize(count);
    std::size_t row_bytes = 1;
    for (std::size_t i = 0; i < count; i++) {
        columns_[i].in_pieces = wants_pieces(i);
        has_pieces_ = has_pieces_ || columns_[i].in_pieces;
        columns_[i].width = width_of(i);
        row_bytes += columns_[i].width;
    }
    rows_per_fetch_ = has_pieces_ ? 1 : std::clamp<std::size_t>(most_bytes / row_bytes, 1, most_rows);
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

std::vector<bool> Cursor::numbers() const
{
    std::vector<bool> numbers;
    for (const ColumnDescription &description : descriptions_)
        numbers.push_back(description.is_number());
    return numbers;
}

/// Values that may be longer than an array's are fetched in pieces, where they are wanted whole and can be.
bool Cursor::wants_pieces(std::size_t index) const
{
    if (limits_.value || descriptions_.empty() || !is_extended() || descriptions_[index].is_lob())
        return false;
    const ColumnDescription &column = descriptions_[index];
    return column.is_long() || column.size > longest_varchar;
}

std::size_t Cursor::width_of(std::size_t index) const
{
    constexpr std::size_t longest_scalar = 256; // numbers, dates and intervals as texts
    if (limits_.value)
        return *limits_.value;
    if (descriptions_.empty())
        return longest_array_value; // large objects come as texts here
    const ColumnDescription &column = descriptions_[index];
    if (column.is_lob())
        return sizeof(OCILobLocator *);
    if (column.is_number() || column.is_time())
        return longest_scalar;
    // Bytes come as two digits each, and a text can be longer in this character set than in the database's.
    return std::clamp<std::size_t>(std::size_t{column.size} * 2, longest_varchar, longest_array_value);
}

void Cursor::define(std::size_t index)
{
    const Session &session = statement_.session_;
    Column &column = columns_[index];
    column.indicators.resize(rows_per_fetch_);
    column.lengths.resize(rows_per_fetch_);
    column.codes.resize(rows_per_fetch_);
    if (column.in_pieces) {
        define_pieces(index);
        return;
    }

    void *values = nullptr;
    std::size_t value_size = column.width;
    ub2 type = SQLT_CHR;
    if (!descriptions_.empty() && descriptions_[index].is_lob()) {
        for (std::size_t row = 0; row < rows_per_fetch_; row++) {
            column.locators.emplace_back(session.environment());
            column.locator_array.push_back(column.locators.back().get());
        }
        values = column.locator_array.data();
        value_size = sizeof(OCILobLocator *);
        type = descriptions_[index].type;
    } else {
        // Left uninitialised: most of the room is never touched, and then it costs no memory.
        column.text = std::make_unique_for_overwrite<char[]>(rows_per_fetch_ * column.width);
        values = column.text.get();
    }
    session.check(OCIDefineByPos(statement_.handle_.get(), &column.define, session.error(),
                                 static_cast<ub4>(index + 1), values, static_cast<sb4>(value_size), type,
                                 column.indicators.data(), column.lengths.data(), column.codes.data(),
                                 OCI_DEFAULT),
                  "OCIDefineByPos");
}

void Cursor::define_pieces(std::size_t index)
{
    constexpr sb4 longest = 0x7fffffff;
    const Session &session = statement_.session_;
    Column &column = columns_[index];
    column.is_binary = descriptions_[index].is_binary();
    session.check(OCIDefineByPos(statement_.handle_.get(), &column.define, session.error(),
                                 static_cast<ub4>(index + 1), nullptr, longest,
                                 column.is_binary ? SQLT_LBI : SQLT_LNG, nullptr, nullptr, nullptr,
                                 OCI_DYNAMIC_FETCH),
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
        if (rc == OCI_NEED_DATA)
            rc = fetch_pieces();
    }
    at_end_ = rc == OCI_NO_DATA;
    if (!at_end_)
        session.check(rc, "OCIStmtFetch");
    if (rc == OCI_SUCCESS_WITH_INFO)
        remark_ = session.last_error();
    rows_ = has_pieces_ ? (at_end_ ? 0 : 1) : statement_.attribute<ub4>(OCI_ATTR_ROWS_FETCHED);

    const auto has_cut_value = [this](const Column &column) {
        return std::any_of(column.indicators.begin(),
                           column.indicators.begin() + static_cast<std::ptrdiff_t>(rows_),
                           [](sb2 indicator) { return indicator != 0 && indicator != null_indicator; });
    };
    if (std::any_of(columns_.begin(), columns_.end(), has_cut_value))
        remark_.reset(); // it is about the cut values, which the cells tell
    return rows_;
}

/// Fetches the values of one row for which the library asks piece by piece; returns what the fetch returns at
/// last.
sword Cursor::fetch_pieces()
{
    constexpr std::size_t piece_bytes = 64U << 10;
    const Session &session = statement_.session_;
    for (Column &column : columns_)
        column.whole.clear();
    std::vector<char> piece(piece_bytes);
    ub4 length = 0; // the library writes it while it fetches
    sword rc = OCI_NEED_DATA;
    while (rc == OCI_NEED_DATA) {
        void *asked_for = nullptr;
        ub4 type = 0;
        ub4 iteration = 0;
        ub4 index = 0;
        ub1 in_out = 0;
        ub1 which = OCI_FIRST_PIECE;
        session.check(OCIStmtGetPieceInfo(statement_.handle_.get(), session.error(), &asked_for, &type,
                                          &in_out, &iteration, &index, &which),
                      "OCIStmtGetPieceInfo");
        const auto column = std::find_if(columns_.begin(), columns_.end(),
                                         [&](const Column &c) { return c.define == asked_for; });
        if (column == columns_.end())
            throw OciError(0, "the library asks for a piece of a column that there is not");
        length = static_cast<ub4>(piece.size());
        session.check(OCIStmtSetPieceInfo(asked_for, type, session.error(), piece.data(), &length, which,
                                          column->indicators.data(), column->codes.data()),
                      "OCIStmtSetPieceInfo");
        rc = OCIStmtFetch(statement_.handle_.get(), session.error(), 1, OCI_FETCH_NEXT, OCI_DEFAULT);
        if (column->indicators[0] != null_indicator)
            column->whole.append(piece.data(), length);
    }
    for (Column &column : columns_) {
        if (column.is_binary)
            column.whole = hexadecimal(column.whole);
    }
    return rc;
}

std::optional<Lob> Cursor::lob(std::size_t row, std::size_t column) const
{
    if (columns_[column].indicators[row] == null_indicator)
        return std::nullopt;
    return Lob(statement_.session_, columns_[column].locator_array[row], descriptions_[column]);
}

void Cursor::read_lob(std::size_t row, std::size_t index)
{
    Column &column = columns_[index];
    column.whole.clear();
    column.length.clear();
    const std::optional<Lob> value = limits_.lob == 0U ? std::nullopt : lob(row, index);
    if (!value)
        return;
    if (!limits_.lob) {
        column.whole = value->text();
        return;
    }
    bool is_whole = true;
    column.whole = value->head(*limits_.lob, is_whole);
    if (!is_whole)
        column.length = value->length_text();
}

const std::vector<Cell> &Cursor::row(std::size_t row)
{
    for (std::size_t i = 0; i < columns_.size(); i++) {
        if (is_lob(i))
            read_lob(row, i);
        row_[i] = cell(row, i);
    }
    return row_;
}

Cell Cursor::cell(std::size_t row, std::size_t column_index)
{
    const Column &column = columns_[column_index];
    const sb2 indicator = column.indicators[row];
    if (indicator == null_indicator)
        return {"", true, false, ""};
    if (is_lob(column_index) || column.in_pieces)
        return {column.whole, false, !column.length.empty(), column.length};
    const std::size_t length = std::min<std::size_t>(column.lengths[row], column.width);
    std::string_view text(column.text.get() + row * column.width, length);
    const bool is_cut = indicator != 0;
    if (is_cut)
        text = text.substr(0, complete_prefix(text));
    return {text, false, is_cut, ""};
}

} // namespace dkomsql
