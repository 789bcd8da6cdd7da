#ifndef DKOM_CHECK_ELF_FILE_H
#define DKOM_CHECK_ELF_FILE_H

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace dkom_check
{

/// What keeps a file from being loaded, as far as it can be seen without loading it.
enum class FileFault {
    none,
    missing,       ///< there is no such file
    no_permission, ///< it may not be read, or a directory on the way not be searched
    not_regular,   ///< a directory, a device, ...
    empty,
    not_elf,
    truncated,   ///< it ends before what its headers announce
    wrong_class, ///< 32 bits for 64, or the reverse
    wrong_machine,
    not_loadable, ///< ELF, but neither a program nor a shared library; or a program that is linked statically
};

/// Name of a fault for programs that read the report: "missing", "wrong machine", ...
const char *name_of(FileFault fault);

/// The note by which an OCI manager tells its edition and version.
struct ManagerNote {
    std::string edition; ///< "exact" or "extended"
    std::string version;
};

/// What a program or library says of itself.
struct ElfFile {
    FileFault fault = FileFault::none;
    std::string reason;              ///< the fault in words
    std::vector<std::string> needed; ///< names of the libraries that it is linked with
    std::set<std::string> defined;   ///< names that it exports
    std::set<std::string> undefined; ///< names that it takes from others
    std::optional<ManagerNote> note;
};

/// Reads a file without loading it. What is wrong with it is told in the result; nothing is thrown.
ElfFile read_elf(const std::string &path);

} // namespace dkom_check

#endif
