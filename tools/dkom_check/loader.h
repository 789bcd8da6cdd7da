#ifndef DKOM_CHECK_LOADER_H
#define DKOM_CHECK_LOADER_H

#include <chrono>
#include <string>
#include <vector>

namespace dkom_check
{

/// A library that a program or library needs, directly or through others, and where the loader finds it.
struct NeededLibrary {
    std::string name; ///< as it is asked for
    std::string path; ///< empty: not found
};

/// What the loader says of a program or library, with the same variables as for a program that is started, in
/// the order in which libraries are searched for names. Nothing of the file runs.
struct LoaderListing {
    std::vector<NeededLibrary> libraries;
    std::string complaint; ///< what else it finds wrong, such as a version that is too old

    std::vector<std::string> missing() const;
};

LoaderListing list_needed(const std::string &file, std::chrono::milliseconds timeout);

} // namespace dkom_check

#endif
