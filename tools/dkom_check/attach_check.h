#ifndef DKOM_CHECK_ATTACH_CHECK_H
#define DKOM_CHECK_ATTACH_CHECK_H

#include "backend_check.h"
#include "finding.h"

namespace dkom_check
{

/// A connection to try.
struct Attach {
    std::string link;
    std::optional<std::string> user; ///< "/": external credentials; none: no session is begun
    std::string password;
    std::optional<Backend> expected;
};

/// Asks each backend for the link, then attaches through the edition as a program does: which backend serves
/// the link, why, and what each said.
void check_attach(const Subject &subject, const Usable &usable, const Attach &attach, Report &report);

} // namespace dkom_check

#endif
