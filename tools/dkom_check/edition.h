#ifndef DKOM_CHECK_EDITION_H
#define DKOM_CHECK_EDITION_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>

#include "oci_manager/backend_files.h"

namespace dkom_check
{

enum class Edition { exact, extended };

constexpr const char *name_of(Edition edition)
{
    return edition == Edition::exact ? "exact" : "extended";
}

/// "libdkom.so" or "libdkomx.so".
std::string library_of(Edition edition);

/// What is checked.
struct Subject {
    Edition edition = Edition::exact;
    std::string path_of_library;               ///< path of the edition's library; empty if it is not found
    std::optional<std::set<std::string>> uses; ///< the calls of the program that is checked, if one is
    std::chrono::milliseconds timeout{};       ///< for each piece of dangerous work
};

/// Index into om_backend_files.
using Backend = std::size_t;
constexpr Backend oracle = 0;
constexpr Backend dravik = 1;
constexpr Backend backend_count = std::size(om_backend_files);

/// All calls that a backend is asked for, 653.
const std::set<std::string> &published_calls();

/// Whether the edition exports a call.
bool serves(Edition edition, const std::string &call);

/// Whether the edition may hand a call on to a backend: some run on Oracle's library whatever the connection,
/// and some are refused.
bool hands_on(Edition edition, const std::string &call, Backend backend);

} // namespace dkom_check

#endif
