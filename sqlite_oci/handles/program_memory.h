// What a program asks the library to keep for it, with an environment or a session: blocks of memory, and
// pointers under keys of its own.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace sqlite_oci
{

struct program_memory {
    std::mutex mutex;
    std::map<void *, std::unique_ptr<std::byte[]>> blocks;
    std::map<void *, std::size_t> sizes;
    std::map<std::string, void *> values;
    unsigned last_key = 0;
};

} // namespace sqlite_oci
