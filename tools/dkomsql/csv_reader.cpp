#include "csv_reader.h"

#include <new>
#include <utility>

#include <csv.h>

namespace dkomsql
{

namespace
{

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// Blanks belong to the values: libcsv would otherwise strip them, and a tab could not be a delimiter.
int nothing_is_blank(unsigned char)
{
    return 0;
}

} // namespace

CsvReader::CsvReader(std::istream &in, char delimiter, std::string end_marker)
    : in_(in), delimiter_(delimiter), end_marker_(std::move(end_marker)),
      parser_(std::make_unique<csv_parser>())
{
    restart();
}

CsvReader::~CsvReader()
{
    csv_free(parser_.get());
}

std::optional<CsvRecord> CsvReader::next()
{
    while (ready_.empty() && !ended_)
        read_line();
    if (ready_.empty())
        return std::nullopt;
    CsvRecord record = std::move(ready_.front());
    ready_.pop_front();
    return record;
}

void CsvReader::read_line()
{
    std::string line;
    const bool is_read = static_cast<bool>(std::getline(in_, line));
    if (!is_read || (!inside_record_ && !end_marker_.empty() && line == end_marker_)) {
        end_of_input();
        return;
    }
    line_++;
    bytes_read_ += line.size() + (in_.eof() ? 0 : 1);
    if (line_ == 1 && line.starts_with(byte_order_mark))
        line.erase(0, byte_order_mark.size());
    if (!inside_record_) {
        current_ = CsvRecord{};
        current_.line = line_;
        if (line.empty() || line == "\r") {
            current_.blank = true;
            current_.fields.emplace_back();
            ready_.push_back(std::exchange(current_, {}));
            return;
        }
    }
    parse(line + '\n');
}

void CsvReader::parse(const std::string &line)
{
    constexpr int between_records = 0;
    const std::size_t parsed = csv_parse(parser_.get(), line.data(), line.size(), on_field, on_record, this);
    inside_record_ = parser_->pstate != between_records;
    if (parsed == line.size())
        return;
    if (csv_error(parser_.get()) != CSV_EPARSE)
        throw std::bad_alloc();
    malformed("a quotation mark stands where none may be");
}

void CsvReader::end_of_input()
{
    ended_ = true;
    if (inside_record_)
        malformed("the quotation mark that opens a field is never closed");
}

void CsvReader::malformed(const std::string &reason)
{
    current_.error = reason;
    ready_.push_back(std::exchange(current_, {}));
    inside_record_ = false;
    csv_free(parser_.get());
    restart();
}

void CsvReader::restart()
{
    if (csv_init(parser_.get(), CSV_STRICT | CSV_EMPTY_IS_NULL) != 0)
        throw std::bad_alloc();
    csv_set_delim(parser_.get(), static_cast<unsigned char>(delimiter_));
    csv_set_space_func(parser_.get(), nothing_is_blank);
}

void CsvReader::on_field(void *data, std::size_t length, void *reader)
{
    auto &fields = static_cast<CsvReader *>(reader)->current_.fields;
    if (data == nullptr)
        fields.emplace_back();
    else
        fields.emplace_back(std::string(static_cast<const char *>(data), length));
}

void CsvReader::on_record(int /*terminator*/, void *reader)
{
    auto *self = static_cast<CsvReader *>(reader);
    self->ready_.push_back(std::exchange(self->current_, {}));
    self->current_.line = self->line_;
}

} // namespace dkomsql
