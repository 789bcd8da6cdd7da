#ifndef DKOM_SCRUB_OUTPUT_H
#define DKOM_SCRUB_OUTPUT_H

#include <stdexcept>
#include <string>
#include <string_view>

namespace dkom_scrub
{

/// A file that cannot be written; what() names it and says why.
class OutputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A file that is written from beginning to end, plain or packed by gzip. A new file is the owner's alone.
class Output
{
public:
    /// @param path  empty: the standard output
    Output(const std::string &path, bool packed);
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    void write(std::string_view bytes);

    /// Tells whether all could be written, by an OutputError if not.
    void close();

private:
    [[noreturn]] void fail(const char *what) const;

    std::string name_;
    int descriptor_ = -1;
    void *stream_ = nullptr; ///< of zlib, if packed
};

} // namespace dkom_scrub

#endif
