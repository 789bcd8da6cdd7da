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
            fields.push_back(make_field(cells[i]));
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

    struct Field {
        std::string text;
        std::size_t width = 0;
        bool is_null = false;
    };

    static Field make_field(const Cell &cell)
    {
        if (cell.is_null)
            return {"(null)", 6, true};
        Field field{printable(cell.text), 0, false};
        if (cell.is_cut)
            field.text += cell.length.empty() ? "…" : fmt::format("… ({})", cell.length);
        field.width = display_width(field.text);
        return field;
    }

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
            append_aligned(names, i, column.heading, width, false);
            append_aligned(types, i, column.type, display_width(column.type), false);
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
            append_aligned(line, i, fields[i].text, fields[i].width, fields[i].is_null);
        out_ << line << '\n';
    }

    void append_aligned(std::string &line, std::size_t index, const std::string &text, std::size_t width,
                        bool is_null) const
    {
        const Column &column = columns_[index];
        const std::size_t padding = column.width > width ? column.width - width : 0;
        const bool is_last = index + 1 == columns_.size();
        line += index == 0 ? " " : " | ";
        if (column.right_aligned())
            line.append(padding, ' ');
        if (is_null && options_.colours)
            line += "\033[2m" + text + "\033[0m";
        else
            line += text;
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

/// RFC 4180 with line feeds. NULL is an empty field, the empty text a pair of quotes, so that \copy reads
/// back what was written.
class CsvWriter : public ResultWriter
{
public:
    CsvWriter(std::ostream &out, const std::vector<std::string> &columns, const WriterOptions &options)
        : out_(out)
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
            if (!cells[i].is_null)
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
};

/// One array of objects a query, one object a line. Values are texts, as the database handed them out.
class JsonWriter : public ResultWriter
{
public:
    JsonWriter(std::ostream &out, std::vector<std::string> columns) : out_(out), columns_(std::move(columns))
    {
        make_different(columns_);
        out_ << '[';
    }

    void row(std::span<const Cell> cells) override
    {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        for (std::size_t i = 0; i < cells.size(); i++) {
            if (cells[i].is_null)
                object[columns_[i]] = nullptr;
            else
                object[columns_[i]] = cells[i].text;
        }
        constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
        out_ << separator_ << object.dump(-1, ' ', false, replace);
        separator_ = ",\n";
    }

    void finish() override { out_ << "\n]\n"; }

private:
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
    std::vector<std::string> columns_;
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
        return std::make_unique<JsonWriter>(out, std::move(columns));
    case Format::table:
        break;
    }
    return std::make_unique<TableWriter>(out, std::move(columns), options);
}

} // namespace dkomsql
