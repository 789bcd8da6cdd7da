#ifndef DKOM_CHECK_BACKEND_CHECK_H
#define DKOM_CHECK_BACKEND_CHECK_H

#include <array>

#include "edition.h"
#include "finding.h"

namespace dkom_check
{

/// The path that the edition opens for a backend.
std::string path_of(Backend backend);

/// The backends that a program can use.
struct Usable {
    std::array<bool, backend_count> backend{};
    bool starts = false; ///< whether the edition starts with these
};

/// Looks at both client libraries: found and loaded as the edition does it, the version, missing entry
/// points, and the environment that the edition makes first.
Usable check_backends(const Subject &subject, Report &report);

} // namespace dkom_check

#endif
