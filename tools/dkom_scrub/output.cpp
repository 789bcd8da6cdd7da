#include "output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>
#include <zlib.h>

namespace dkom_scrub
{

Output::Output(const std::string &path, bool packed)
    : name_(path.empty() ? "the standard output" : "'" + path + "'")
{
    constexpr mode_t owner_only = 0600;
    descriptor_ = path.empty() ? dup(STDOUT_FILENO)
                               : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, owner_only);
    if (descriptor_ < 0)
        fail("cannot open");
    if (!packed)
        return;
    stream_ = gzdopen(descriptor_, "wb6");
    if (!stream_)
        fail("no memory to pack");
}

Output::~Output()
{
    if (stream_)
        gzclose(static_cast<gzFile>(stream_));
    else if (descriptor_ >= 0)
        ::close(descriptor_);
}

void Output::fail(const char *what) const
{
    throw OutputError(fmt::format("{} {}: {}", what, name_, std::strerror(errno)));
}

void Output::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        constexpr std::size_t most = 1 << 24;
        const std::size_t size = std::min(bytes.size(), most);
        const auto written =
            stream_ ? gzwrite(static_cast<gzFile>(stream_), bytes.data(), static_cast<unsigned int>(size))
                    : ::write(descriptor_, bytes.data(), size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            fail("cannot write");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void Output::close()
{
    const bool failed = stream_ ? gzclose(static_cast<gzFile>(stream_)) != Z_OK : ::close(descriptor_) != 0;
    stream_ = nullptr;
    descriptor_ = -1;
    if (failed)
        fail("cannot write");
}

} // namespace dkom_scrub
