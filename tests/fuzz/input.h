/* What a fuzzer is given, taken apart. */
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

class input
{
public:
    input(const std::uint8_t *bytes, std::size_t size) : bytes_(bytes), size_(size) {}

    /* 0 when there is no more. */
    std::uint8_t byte()
    {
        if (size_ == 0)
            return 0;
        size_--;
        return *bytes_++;
    }

    std::size_t rest_size() const { return size_; }
    std::string rest() const { return {reinterpret_cast<const char *>(bytes_), size_}; }

    /* The rest in memory of just its size, so that reading beyond it is seen. */
    std::unique_ptr<unsigned char[]> rest_in_bounds() const
    {
        std::unique_ptr<unsigned char[]> copy(new unsigned char[size_]);
        if (size_ != 0)
            std::memcpy(copy.get(), bytes_, size_);
        return copy;
    }

private:
    const std::uint8_t *bytes_;
    std::size_t size_;
};

/* A directory of this process's own, removed at its end. */
class scratch_directory
{
public:
    scratch_directory()
    {
        std::string name = (std::filesystem::temp_directory_path() / "dkom_fuzz_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        path_ = name;
    }
    ~scratch_directory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    scratch_directory(const scratch_directory &) = delete;
    scratch_directory &operator=(const scratch_directory &) = delete;

    const std::filesystem::path &path() const { return path_; }

private:
    std::filesystem::path path_;
};

#endif
