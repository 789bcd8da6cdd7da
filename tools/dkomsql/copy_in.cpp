#include "copy_in.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "csv_reader.h"
#include "interrupt.h"
#include "progress.h"
#include "statement.h"
#include "utf8.h"

namespace dkomsql
{

namespace
{

constexpr std::size_t most_batch_rows = 1000;
constexpr std::size_t batch_bytes = 32U << 20;

/// Errors that are about the values of one row. After any other one the next rows would fail as well.
bool is_about_one_row(int code)
{
    constexpr std::array codes{1,    1400, 1401, 1407, 1426, 1438, 1461,
                               1465, 1480, 1722, 2290, 2291, 2292, 12899};
    const bool is_date_error = code >= 1830 && code <= 1899;
    const bool is_raised_by_trigger = code >= 20000 && code <= 20999;
    return is_date_error || is_raised_by_trigger ||
           std::find(codes.begin(), codes.end(), code) != codes.end();
}

/// A column name as it has to stand in SQL: bare where that works, quoted otherwise.
std::string sql_identifier(const std::string &name)
{
    const auto is_plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    };
    const bool starts_with_letter =
        !name.empty() && is_plain(name.front()) && (name.front() < '0' || name.front() > '9');
    if (starts_with_letter && std::all_of(name.begin(), name.end(), is_plain))
        return name;
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

/// The bytes that hexadecimal digits stand for; nothing for other texts.
std::optional<std::string> bytes_of(std::string_view digits)
{
    const auto value_of = [](char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        const char lower = static_cast<char>(c | 0x20);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    };
    if (digits.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = value_of(digits[i]);
        const int low = value_of(digits[i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

/// An insert statement with arrays for its values; the arrays grow with the values.
class ArrayInsert
{
public:
    ArrayInsert(const Session &session, std::string sql, std::vector<ValueArray::Kind> kinds)
        : session_(session), sql_(std::move(sql)), kinds_(std::move(kinds)), longest_(kinds_.size(), 0)
    {
    }

    /// Room for `rows` rows with values of up to `longest` bytes a column.
    void reserve(std::size_t rows, const std::vector<std::size_t> &longest)
    {
        const bool fits = statement_ && rows <= rows_ &&
                          std::equal(longest.begin(), longest.end(), longest_.begin(), std::less_equal<>());
        if (fits)
            return;
        arrays_.clear();
        // A new statement instead of new binds: handles of replaced binds would pile up on the old one.
        statement_ = std::make_unique<Statement>(session_, sql_);
        rows_ = std::max(rows_, rows);
        for (std::size_t i = 0; i < longest_.size(); i++) {
            longest_[i] = std::max(longest_[i], std::bit_ceil(longest[i] + 1));
            arrays_.push_back(std::make_unique<ValueArray>(kinds_[i], rows_, longest_[i]));
            statement_->bind(static_cast<ub4>(i + 1), *arrays_[i]);
        }
    }

    void set(std::size_t row, std::size_t column, const std::optional<std::string> &value)
    {
        arrays_[column]->set(row, value);
    }

    ArrayResult execute(std::size_t first, std::size_t end) { return statement_->execute_rows(first, end); }

private:
    const Session &session_;
    std::string sql_;
    std::vector<ValueArray::Kind> kinds_;
    std::vector<std::size_t> longest_;
    std::size_t rows_ = 0;
    std::vector<std::unique_ptr<ValueArray>> arrays_;
    std::unique_ptr<Statement> statement_;
};

class CopyIn
{
public:
    CopyIn(const Session &session, const CopyOptions &options, const RejectHandler &on_reject)
        : session_(session), options_(options), on_reject_(on_reject), file_(open(options.file)),
          in_(file_.is_open() ? static_cast<std::istream &>(file_) : std::cin),
          reader_(in_, options.delimiter, options.end_marker), progress_(size_of(options.file), "rows"),
          batch_rows_(options.commit_every > 0 ? std::min(options.commit_every, most_batch_rows)
                                               : most_batch_rows)
    {
    }

    CopyResult run()
    {
        const auto start = std::chrono::steady_clock::now();
        read_header();
        while (result_.stopped.empty()) {
            std::optional<CsvRecord> record = reader_.next();
            if (!record)
                break;
            add(std::move(*record));
        }
        if (result_.stopped.empty() && interrupted())
            result_.stopped = "interrupted";
        if (result_.stopped.empty())
            load_batch();
        if (in_.bad())
            result_.stopped = fmt::format("cannot read {}", options_.name());
        report_rejects();
        end_transaction();
        result_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return result_;
    }

private:
    static std::ifstream open(const std::string &path)
    {
        if (path == "-")
            return {};
        if (std::filesystem::is_directory(path))
            throw std::runtime_error(fmt::format("{} is a directory", path));
        std::ifstream file(path, std::ios::binary);
        if (!file)
            throw std::runtime_error(fmt::format("cannot open {}: {}", path, std::strerror(errno)));
        return file;
    }

    static std::uintmax_t size_of(const std::string &path)
    {
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(path, unknown);
        return unknown ? 0 : size;
    }

    void read_header()
    {
        if (!options_.header)
            return;
        const std::optional<CsvRecord> record = reader_.next();
        if (!record || record->blank)
            throw std::runtime_error(fmt::format("{} has no header line", options_.name()));
        if (!record->error.empty())
            throw std::runtime_error(fmt::format("{}: header line: {}", options_.name(), record->error));
        if (!options_.columns.empty())
            return; // they say it better
        for (const std::optional<std::string> &name : record->fields) {
            if (!name || name->empty())
                throw std::runtime_error(
                    fmt::format("{}: a column in the header line has no name", options_.name()));
            column_names_.push_back(sql_identifier(*name));
        }
        prepare(column_names_.size());
    }

    void prepare(std::size_t columns)
    {
        columns_ = columns;
        std::vector<std::string> values;
        for (std::size_t number = 1; number <= columns; number++)
            values.push_back(fmt::format(":v{}", number));
        const std::string names =
            column_names_.empty() ? "" : fmt::format(" ({})", fmt::join(column_names_, ", "));
        kinds_ = kinds_of_columns();
        insert_ = std::make_unique<ArrayInsert>(
            session_,
            fmt::format("INSERT INTO {}{} VALUES ({})", options_.table, names, fmt::join(values, ", ")),
            kinds_);
        longest_.assign(columns, 0);
    }

    /// What cannot be described is taken as text; why it cannot, the insert tells.
    std::vector<ValueArray::Kind> kinds_of_columns() const
    {
        std::vector<ValueArray::Kind> kinds(columns_, ValueArray::Kind::text);
        if (!can_describe(session_))
            return kinds;
        try {
            const std::string names =
                column_names_.empty() ? "*" : fmt::format("{}", fmt::join(column_names_, ", "));
            const std::vector<ColumnDescription> described =
                Statement(session_, fmt::format("SELECT {} FROM {}", names, options_.table)).describe();
            for (std::size_t i = 0; i < std::min(kinds.size(), described.size()); i++) {
                if (described[i].is_binary())
                    kinds[i] = ValueArray::Kind::bytes;
            }
        } catch (const OciError &) {
            return kinds;
        }
        return kinds;
    }

    void add(CsvRecord record)
    {
        if (interrupted()) {
            result_.stopped = "interrupted";
            return;
        }
        if (!insert_ && !options_.columns.empty()) {
            column_names_ = options_.columns;
            prepare(column_names_.size());
        }
        if (!insert_ && record.error.empty() && !record.blank)
            prepare(record.fields.size());
        if (record.blank && columns_ != 1)
            return;
        if (const std::string reason = reason_to_reject(record); !reason.empty()) {
            reject(record.line, reason);
            return;
        }

        std::size_t row_bytes = 0;
        for (std::size_t i = 0; i < columns_; i++) {
            std::optional<std::string> &field = record.fields[i];
            if (options_.null_text && field.value_or("") == *options_.null_text)
                field.reset();
            else if (options_.null_text && !field)
                field = "";
            if (field && kinds_[i] == ValueArray::Kind::bytes)
                field = bytes_of(*field);
            longest_[i] = std::max(longest_[i], field ? field->size() : 0);
            row_bytes += std::bit_ceil(longest_[i] + 1) + 1;
        }
        batch_.push_back(std::move(record));
        if (batch_.size() == batch_rows_ || batch_.size() * row_bytes > batch_bytes)
            load_batch();
    }

    std::string reason_to_reject(const CsvRecord &record) const
    {
        if (!record.error.empty())
            return record.error;
        if (record.fields.size() != columns_)
            return fmt::format("{} fields where {} are expected", record.fields.size(), columns_);
        for (std::size_t i = 0; i < columns_; i++) {
            const std::optional<std::string> &field = record.fields[i];
            if (!field)
                continue;
            if (field->find('\0') != std::string::npos)
                return "a field holds a zero byte";
            if (takes_utf8() && malformed_at(*field))
                return fmt::format("field {} is no valid UTF-8", i + 1);
            if (kinds_[i] == ValueArray::Kind::bytes && field != options_.null_text && !bytes_of(*field))
                return fmt::format("field {} is for bytes and does not consist of hexadecimal digits", i + 1);
        }
        return "";
    }

    void load_batch()
    {
        if (batch_.empty())
            return;
        insert_->reserve(batch_.size(), longest_);
        for (std::size_t row = 0; row < batch_.size(); row++) {
            for (std::size_t column = 0; column < columns_; column++)
                insert_->set(row, column, batch_[row].fields[column]);
        }
        for (std::size_t first = 0; first < batch_.size() && result_.stopped.empty();)
            first = load_rows(first);
        if (options_.autocommit && options_.commit_every > 0 &&
            result_.loaded - result_.committed >= options_.commit_every)
            commit();
        longest_.assign(columns_, 0);
        batch_.clear();
        report_rejects();
        progress_.update(reader_.bytes_read(), result_.loaded);
    }

    /// Inserts the rows of the batch from `first` on, up to a row that is refused; returns the row to go on
    /// with.
    std::size_t load_rows(std::size_t first)
    {
        const ArrayResult done = insert_->execute(first, batch_.size());
        result_.loaded += done.rows_done;
        if (!done.error)
            return batch_.size();

        const std::size_t failed = first + done.rows_done;
        const std::size_t line = failed < batch_.size() ? batch_[failed].line : batch_.back().line;
        if (is_about_one_row(done.error->code()))
            reject(line, done.error->what());
        else
            result_.stopped = fmt::format("{}:{}: {}", options_.name(), line, done.error->what());
        return failed + 1;
    }

    void commit()
    {
        session_.commit();
        result_.committed = result_.loaded;
    }

    /// Commits all rows of a load that came to its end, and undoes the open ones of another.
    void end_transaction()
    {
        if (!options_.autocommit || result_.loaded == result_.committed)
            return;
        if (result_.stopped.empty()) {
            commit();
            return;
        }
        session_.rollback();
        result_.undone = result_.loaded - result_.committed;
        result_.loaded = result_.committed;
    }

    void reject(std::size_t line, const std::string &reason)
    {
        result_.rejected++;
        rejects_.emplace_back(line, reason);
        if (result_.rejected > options_.most_rejects)
            result_.stopped = fmt::format("more than {} rows rejected", options_.most_rejects);
    }

    /// Rows are refused here before their batch and by the database after it: told in the order of the file.
    void report_rejects()
    {
        progress_.clear();
        std::stable_sort(rejects_.begin(), rejects_.end(),
                         [](const auto &one, const auto &other) { return one.first < other.first; });
        for (const auto &[line, reason] : rejects_)
            on_reject_(line, reason);
        rejects_.clear();
    }

    const Session &session_;
    const CopyOptions &options_;
    const RejectHandler &on_reject_;
    std::ifstream file_; // not open: the standard input is read
    std::istream &in_;
    CsvReader reader_;
    ProgressBar progress_;
    std::size_t batch_rows_;

    std::vector<std::string> column_names_; // as they stand in SQL
    std::size_t columns_ = 0;
    std::vector<ValueArray::Kind> kinds_;
    std::unique_ptr<ArrayInsert> insert_;
    std::vector<CsvRecord> batch_;
    std::vector<std::size_t> longest_;                         // longest value of the batch, a column
    std::vector<std::pair<std::size_t, std::string>> rejects_; // line and reason, not reported yet
    CopyResult result_;
};

} // namespace

CopyResult copy_in(const Session &session, const CopyOptions &options, const RejectHandler &on_reject)
{
    return CopyIn(session, options, on_reject).run();
}

} // namespace dkomsql
