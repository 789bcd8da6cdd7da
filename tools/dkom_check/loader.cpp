#include "loader.h"

#include <link.h>
#include <sstream>

#include "child.h"

namespace dkom_check
{

namespace
{

int take_interpreter(dl_phdr_info *info, std::size_t /*size*/, void *data)
{
    for (int i = 0; i < info->dlpi_phnum; i++)
        if (info->dlpi_phdr[i].p_type == PT_INTERP)
            *static_cast<std::string *>(data) =
                reinterpret_cast<const char *>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
    return 1; // the first is this program
}

/// The loader of this program: that of the program which is looked at may be anything.
std::string loader_path()
{
    std::string path;
    dl_iterate_phdr(take_interpreter, &path);
    return path;
}

} // namespace

std::vector<std::string> LoaderListing::missing() const
{
    std::vector<std::string> names;
    for (const NeededLibrary &library : libraries)
        if (library.path.empty())
            names.push_back(library.name);
    return names;
}

LoaderListing list_needed(const std::string &file, std::chrono::milliseconds timeout)
{
    // A name without a slash would be searched for.
    const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
    // Its option --list ends at the first library that is missing; ldd does as here.
    const ChildOutcome outcome = run_program({loader_path(), path}, "LD_TRACE_LOADED_OBJECTS", "1", timeout);
    LoaderListing listing;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
        // "\tlibc.so.6 => /lib/libc.so.6 (0x...)", "\tlibx.so => not found"
        const std::size_t arrow = line.find(" => ");
        if (arrow == std::string::npos || !line.starts_with('\t'))
            continue;
        NeededLibrary library{line.substr(1, arrow - 1), ""};
        const std::size_t address = line.rfind(" (0x");
        if (address != std::string::npos && address > arrow)
            library.path = line.substr(arrow + 4, address - arrow - 4);
        listing.libraries.push_back(library);
    }
    listing.complaint = outcome.errors;
    while (listing.complaint.ends_with('\n'))
        listing.complaint.pop_back();
    if (outcome.signal != 0 || outcome.timed_out)
        listing.complaint += "the loader " + outcome.how_it_ended();
    return listing;
}

} // namespace dkom_check
