#include "result_writer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "utf8.h"

namespace dkomsql
{

namespace
{

constexpr std::array<std::pair<Format, std::string_view>, 3> format_names{{
    {Format::table, "table"},
    {Format::csv, "csv"},
    {Format::json, "json"},
}};

bool looks_like_number(std::string_view text)
{
    if (!text.empty() && (text.front() == '-' || text.front() == '+'))
        text.remove_prefix(1);
    const bool has_digit = std::any_of(
        text.begin(), text.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
    return has_digit && text.find_first_not_of("0123456789.eE+-") == std::string_view::npos &&
           text.find_first_of("eE") != 0;
}

/// How a value looks in a table.
struct Field {
    std::string text;
    std::size_t width = 0;
    bool is_null = false;
};

Field make_field(const Cell &cell, const WriterOptions &options)
{
    Field field;
    field.is_null = cell.is_null;
    field.text = printable(cell.is_null ? options.null_text.value_or("(null)") : cell.text);
    if (cell.is_cut)
        field.text += cell.length.empty() ? "…" : fmt::format("… ({})", cell.length);
    field.width = display_width(field.text);
    return field;
}

std::string dimmed(const Field &field, const WriterOptions &options)
{
    return field.is_null && options.colours ? "\033[2m" + field.text + "\033[0m" : field.text;
}

/// A number as JSON spells it; nothing for what it has no number for, such as an infinity.
std::optional<std::string> json_number(std::string_view text)
{
    if (!looks_like_number(text))
        return std::nullopt;
    std::string number;
    if (text.starts_with('-'))
        number = "-";
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    const std::size_t point = std::min(text.find_first_of(".eE"), text.size());
    std::string_view whole = text.substr(0, point);
    while (whole.size() > 1 && whole.front() == '0')
        whole.remove_prefix(1);
    number += whole.empty() ? "0" : whole;
    number += text.substr(point);
    return nlohmann::json::accept(number) ? std::optional(number) : std::nullopt;
}

/// Aligned columns. The widths come from the first rows, which are held back for that; a later value that
/// is wider than its column moves the rest of its line only.
class TableWriter : public ResultWriter
{
public:
    TableWriter(std::ostream &out, std::vector<std::string> columns, const WriterOptions &options)
        : out_(out), options_(options), columns_(columns.size())
    {
        for (std::size_t i = 0; i < columns.size(); i++) {
            columns_[i].heading = printable(columns[i]);
            columns_[i].type = i < options.types.size() ? options.types[i] : "";
            if (options.header)
                columns_[i].width =
                    std::max(display_width(columns_[i].heading), display_width(columns_[i].type));
        }
    }

    void row(std::span<const Cell> cells) override
    {
        std::vector<Field> fields;
        fields.reserve(cells.size());
        for (std::size_t i = 0; i < cells.size(); i++) {
            fields.push_back(make_field(cells[i], options_));
            if (!laid_out_)
                measure(columns_[i], cells[i], fields.back());
        }
        rows_++;
        if (laid_out_) {
            write(fields);
            return;
        }
        held_back_.push_back(std::move(fields));
        if (held_back_.size() == rows_measured)
            lay_out();
    }

    void finish() override
    {
        if (!laid_out_)
            lay_out();
        if (options_.header)
            out_ << fmt::format("({} row{})\n", rows_, rows_ == 1 ? "" : "s");
    }

private:
    static constexpr std::size_t rows_measured = 1000;

    struct Column {
        std::string heading;
        std::string type;
        std::size_t width = 0;
        bool only_numbers = true;
        bool has_values = false;

        bool right_aligned() const { return only_numbers && has_values; }
    };

    static void measure(Column &column, const Cell &cell, const Field &field)
    {
        column.width = std::max(column.width, field.width);
        if (!cell.is_null) {
            column.has_values = true;
            column.only_numbers = column.only_numbers && looks_like_number(cell.text);
        }
    }

    void lay_out()
    {
        laid_out_ = true;
        if (options_.header)
            write_heading();
        for (const std::vector<Field> &fields : held_back_)
            write(fields);
        held_back_.clear();
    }

    void write_heading()
    {
        std::string names;
        std::string types;
        std::string rule;
        for (std::size_t i = 0; i < columns_.size(); i++) {
            const Column &column = columns_[i];
            const std::size_t width = display_width(column.heading);
            append_aligned(names, i, {column.heading, width});
            append_aligned(types, i, {column.type, display_width(column.type)});
            rule += fmt::format("{}{:-<{}}", i == 0 ? "" : "+", "", column.width + 2);
        }
        out_ << names << '\n';
        if (!options_.types.empty())
            out_ << types << '\n';
        out_ << rule << '\n';
    }

    void write(const std::vector<Field> &fields)
    {
        std::string line;
        for (std::size_t i = 0; i < fields.size(); i++)
            append_aligned(line, i, fields[i]);
        out_ << line << '\n';
    }

    void append_aligned(std::string &line, std::size_t index, const Field &field) const
    {
        const Column &column = columns_[index];
        const std::size_t padding = column.width > field.width ? column.width - field.width : 0;
        const bool is_last = index + 1 == columns_.size();
        line += index == 0 ? " " : " | ";
        if (column.right_aligned())
            line.append(padding, ' ');
        line += dimmed(field, options_);
        if (!column.right_aligned() && !is_last)
            line.append(padding, ' ');
    }

    std::ostream &out_;
    WriterOptions options_;
    std::vector<Column> columns_;
    std::vector<std::vector<Field>> held_back_;
    bool laid_out_ = false;
    std::size_t rows_ = 0;
};

/// A line for each value, for rows that are wider than the screen.
class ExpandedWriter : public ResultWriter
{
public:
    ExpandedWriter(std::ostream &out, const std::vector<std::string> &columns, const WriterOptions &options)
        : out_(out), options_(options)
    {
        for (std::size_t i = 0; i < columns.size(); i++) {
            headings_.push_back(printable(columns[i]));
            if (i < options.types.size())
                headings_.back() += " " + options.types[i];
            width_ = std::max(width_, display_width(headings_.back()));
        }
    }

    void row(std::span<const Cell> cells) override
    {
        rows_++;
        if (options_.header)
            out_ << fmt::format("-[ row {} ]-\n", rows_);
        else if (rows_ > 1)
            out_ << '\n';
        for (std::size_t i = 0; i < cells.size(); i++) {
            const std::size_t padding = width_ - display_width(headings_[i]);
            out_ << ' ' << headings_[i] << std::string(padding, ' ') << " | "
                 << dimmed(make_field(cells[i], options_), options_) << '\n';
        }
    }

    void finish() override
    {
        if (options_.header)
            out_ << fmt::format("({} row{})\n", rows_, rows_ == 1 ? "" : "s");
    }

private:
    std::ostream &out_;
    WriterOptions options_;
    std::vector<std::string> headings_;
    std::size_t width_ = 0;
    std::size_t rows_ = 0;
};

/// RFC 4180 with line feeds. NULL is an empty field, the empty text a pair of quotes, so that \copy reads
/// back what was written.
class CsvWriter : public ResultWriter
{
public:
    CsvWriter(std::ostream &out, const std::vector<std::string> &columns, const WriterOptions &options)
        : out_(out), null_text_(options.null_text.value_or(""))
    {
        if (!options.header)
            return;
        std::vector<Cell> heading;
        heading.reserve(columns.size());
        for (const std::string &column : columns)
            heading.push_back({column});
        write(heading);
    }

    void row(std::span<const Cell> cells) override { write(cells); }

    void finish() override {}

private:
    void write(std::span<const Cell> cells)
    {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); i++) {
            if (i > 0)
                line += ',';
            if (cells[i].is_null)
                line += null_text_;
            else
                append_field(line, cells[i].text);
        }
        out_ << line << '\n';
    }

    static void append_field(std::string &line, std::string_view text)
    {
        const bool plain = !text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos &&
                           text.front() != ' ' && text.back() != ' ';
        if (plain) {
            line += text;
            return;
        }
        line += '"';
        for (const char c : text) {
            if (c == '"')
                line += '"';
            line += c;
        }
        line += '"';
    }

    std::ostream &out_;
    std::string null_text_;
};

/// One array of objects a query, one object a line. Values are texts, as the database handed them out, or
/// numbers with all their digits where that is asked for.
class JsonWriter : public ResultWriter
{
public:
    JsonWriter(std::ostream &out, std::vector<std::string> columns, const WriterOptions &options)
        : out_(out), numbers_(options.numbers)
    {
        make_different(columns);
        for (const std::string &column : columns)
            keys_.push_back(quoted(column));
        numbers_.resize(keys_.size());
        out_ << '[';
    }

    void row(std::span<const Cell> cells) override
    {
        std::string line{separator_};
        for (std::size_t i = 0; i < cells.size(); i++) {
            line += i == 0 ? "{" : ",";
            line += keys_[i] + ":" + value(cells[i], numbers_[i]);
        }
        out_ << line << '}';
        separator_ = ",\n";
    }

    void finish() override { out_ << "\n]\n"; }

private:
    static std::string quoted(std::string_view text)
    {
        return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }

    static std::string value(const Cell &cell, bool is_number)
    {
        if (cell.is_null)
            return "null";
        const std::optional<std::string> number = is_number ? json_number(cell.text) : std::nullopt;
        return number ? *number : quoted(cell.text);
    }

    /// Columns of one name would be one key of the object: the later ones get a number.
    static void make_different(std::vector<std::string> &names)
    {
        for (auto name = names.begin(); name != names.end(); ++name) {
            const std::string given = *name;
            for (int number = 2; std::find(names.begin(), name, *name) != name; number++)
                *name = fmt::format("{}_{}", given, number);
        }
    }

    std::ostream &out_;
    std::vector<std::string> keys_;
    std::vector<bool> numbers_;
    std::string_view separator_ = "\n";
};

} // namespace

std::optional<Format> format_named(std::string_view name)
{
    for (const auto &[format, known] : format_names) {
        if (name == known)
            return format;
    }
    return std::nullopt;
}

std::string_view name_of(Format format)
{
    for (const auto &[known, name] : format_names) {
        if (format == known)
            return name;
    }
    return "";
}

std::unique_ptr<ResultWriter> make_writer(Format format, std::ostream &out, std::vector<std::string> columns,
                                          const WriterOptions &options)
{
    switch (format) {
    case Format::csv:
        return std::make_unique<CsvWriter>(out, columns, options);
    case Format::json:
        return std::make_unique<JsonWriter>(out, std::move(columns), options);
    case Format::table:
        break;
    }
    if (options.expanded)
        return std::make_unique<ExpandedWriter>(out, columns, options);
    return std::make_unique<TableWriter>(out, std::move(columns), options);
}

} // namespace dkomsql
