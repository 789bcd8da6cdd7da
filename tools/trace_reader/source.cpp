#include "source.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <zlib.h>

namespace trace_reader
{

namespace
{

constexpr std::size_t room = std::size_t{1} << 20;
static_assert(room > 2 * longest_record);

std::string name_of(const std::string &path)
{
    return path == "-" ? "the standard input" : "'" + path + "'";
}

/// The bytes of a file, unpacked.
class Bytes
{
public:
    explicit Bytes(const std::string &path) : name_(name_of(path))
    {
        descriptor_ = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor_ < 0)
            throw SourceError(fmt::format("cannot open {}: {}", name_, std::strerror(errno)));
        owns_ = path != "-";
        struct stat status {
        };
        if (fstat(descriptor_, &status) == 0) {
            if (S_ISDIR(status.st_mode)) {
                close_descriptor();
                throw SourceError(fmt::format("{} is a directory: name the om_*.log files in it", name_));
            }
            if (S_ISREG(status.st_mode))
                total_ = static_cast<std::uint64_t>(status.st_size);
        }
        posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    ~Bytes()
    {
        if (is_packed_)
            inflateEnd(&stream_);
        close_descriptor();
    }
    Bytes(const Bytes &) = delete;
    Bytes &operator=(const Bytes &) = delete;

    /// Fills memory; 0 at the end.
    std::size_t read_into(char *memory, std::size_t size)
    {
        if (read_ == 0 && !is_packed_) {
            std::size_t got = read_raw(memory, size);
            // A pipe may give a single byte at first.
            while (got == 1) {
                const std::size_t more = read_raw(memory + got, size - got);
                if (more == 0)
                    break;
                got += more;
            }
            if (got < 2 || memory[0] != '\x1f' || memory[1] != '\x8b')
                return got;
            start_unpacking(memory, got);
        } else if (!is_packed_) {
            return read_raw(memory, size);
        }
        return unpack(memory, size);
    }

    std::uint64_t read() const { return read_; }
    std::uint64_t total() const { return total_; }

private:
    void close_descriptor()
    {
        if (owns_)
            close(descriptor_);
        owns_ = false;
    }

    std::size_t read_raw(char *memory, std::size_t size)
    {
        for (;;) {
            const ssize_t got = ::read(descriptor_, memory, size);
            if (got >= 0) {
                read_ += static_cast<std::uint64_t>(got);
                return static_cast<std::size_t>(got);
            }
            if (errno != EINTR)
                throw SourceError(fmt::format("cannot read {}: {}", name_, std::strerror(errno)));
        }
    }

    void start_unpacking(const char *memory, std::size_t size)
    {
        packed_ = std::make_unique<char[]>(room);
        std::memcpy(packed_.get(), memory, size);
        stream_.next_in = reinterpret_cast<Bytef *>(packed_.get());
        stream_.avail_in = static_cast<uInt>(size);
        if (inflateInit2(&stream_, 15 + 16) != Z_OK)
            throw SourceError("no memory to unpack " + name_);
        is_packed_ = true;
    }

    std::size_t unpack(char *memory, std::size_t size)
    {
        stream_.next_out = reinterpret_cast<Bytef *>(memory);
        stream_.avail_out = static_cast<uInt>(size);
        while (stream_.avail_out > 0) {
            if (stream_.avail_in == 0) {
                stream_.next_in = reinterpret_cast<Bytef *>(packed_.get());
                stream_.avail_in = static_cast<uInt>(read_raw(packed_.get(), room));
                if (stream_.avail_in == 0)
                    break;
            }
            const int result = inflate(&stream_, Z_NO_FLUSH);
            if (result == Z_STREAM_END)
                inflateReset(&stream_); // files that were packed one by one may stand behind each other
            else if (result != Z_OK && result != Z_BUF_ERROR)
                throw SourceError(fmt::format("{} is damaged: {}", name_,
                                              stream_.msg ? stream_.msg : "it cannot be unpacked"));
        }
        return size - stream_.avail_out;
    }

    std::string name_;
    int descriptor_ = -1;
    bool owns_ = false;
    bool is_packed_ = false;
    std::uint64_t read_ = 0;
    std::uint64_t total_ = 0;
    std::unique_ptr<char[]> packed_;
    z_stream stream_{};
};

} // namespace

std::uint64_t read_trace(const std::string &path, bool skip_rows, Visitor &visitor, const Progress &progress)
{
    Bytes bytes(path);
    const auto memory = std::make_unique<char[]>(room);
    std::size_t filled = 0;
    std::uint64_t unpacked = 0;
    for (bool is_last = false; !is_last;) {
        const std::size_t got = bytes.read_into(memory.get() + filled, room - filled);
        is_last = got == 0;
        unpacked += got;
        filled += got;
        const std::size_t used = parse({memory.get(), filled}, is_last, skip_rows, visitor);
        filled -= used;
        std::memmove(memory.get(), memory.get() + used, filled);
        if (progress)
            progress(bytes.read(), bytes.total());
    }
    return unpacked;
}

} // namespace trace_reader
