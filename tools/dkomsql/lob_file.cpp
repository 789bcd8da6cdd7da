#include "lob_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include <fmt/format.h>

#include "cursor.h"
#include "interrupt.h"
#include "progress.h"

namespace dkomsql
{

namespace
{

/// A file that takes its name when commit() is called. One that is no regular file, such as a terminal or a
/// pipe, and the standard output (`-`) are written at once.
class NewFile
{
public:
    explicit NewFile(std::string path) : path_(std::move(path)), written_(path_)
    {
        if (path_ == "-")
            return;
        std::error_code unknown;
        const std::filesystem::file_status status = std::filesystem::status(path_, unknown);
        if (std::filesystem::is_directory(status))
            throw std::runtime_error(fmt::format("{} is a directory", path_));
        if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status))
            written_ += ".part";
        out_.open(written_, std::ios::binary | std::ios::trunc);
        if (!out_)
            throw std::runtime_error(fmt::format("cannot write {}: {}", path_, std::strerror(errno)));
    }

    ~NewFile()
    {
        std::error_code ignored;
        if (written_ != path_)
            std::filesystem::remove(written_, ignored);
    }

    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    void write(std::string_view bytes)
    {
        std::ostream &out = path_ == "-" ? std::cout : static_cast<std::ostream &>(out_);
        if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            throw std::runtime_error(fmt::format("cannot write {}: {}", path_, std::strerror(errno)));
    }

    void commit()
    {
        if (path_ == "-") {
            std::cout.flush();
            return;
        }
        out_.close();
        if (!out_)
            throw std::runtime_error(fmt::format("cannot write {}: {}", path_, std::strerror(errno)));
        if (written_ != path_)
            std::filesystem::rename(written_, path_);
    }

private:
    std::string path_;
    std::string written_;
    std::ofstream out_;
};

} // namespace

std::string write_lob_file(const Session &session, Statement &query, const std::string &path)
{
    if (!can_describe(session))
        throw std::runtime_error(
            "\\lob needs LOB locators, which the exact edition has no Dravik connection for; "
            "dkomsql, which is built on the extended one, has them");
    Cursor cursor(query, {longest_array_value, 0});
    if (!cursor.is_lob(0))
        throw std::runtime_error(
            fmt::format("\\lob: the first column, {}, is no CLOB or BLOB", cursor.columns().front()));
    const std::size_t rows = cursor.fetch();
    if (rows != 1)
        throw std::runtime_error(fmt::format("\\lob: the query has {}; it has to have one row",
                                             rows == 0 ? "no row" : "more than one row"));
    const std::optional<Lob> lob = cursor.lob(0, 0);
    if (!lob)
        throw std::runtime_error(
            fmt::format("\\lob: {} is NULL, {} is not written", cursor.columns().front(), path));

    NewFile file(path);
    std::size_t done = 0;
    {
        // The characters of a text are more bytes than its length tells, but mostly not many more.
        ProgressBar progress(lob->length(), "kB");
        const bool is_whole = lob->stream([&](std::string_view piece) {
            file.write(piece);
            done += piece.size();
            progress.update(done, done >> 10);
            return !interrupted();
        });
        if (!is_whole)
            throw std::runtime_error(fmt::format("interrupted: {} is not written", path));
    }
    file.commit();
    return lob->length_text();
}

} // namespace dkomsql
