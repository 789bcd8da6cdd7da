#ifndef DKOM_CHECK_TRACE_CHECK_H
#define DKOM_CHECK_TRACE_CHECK_H

#include "edition.h"
#include "finding.h"

namespace dkom_check
{

/// Tells what a program will write to its trace and where, and whether it can.
void check_trace(Edition edition, Report &report);

/// Reads DKOM_ROUTES as the extended edition does. Nothing is said if it is unset.
void check_routes(Report &report);

} // namespace dkom_check

#endif
