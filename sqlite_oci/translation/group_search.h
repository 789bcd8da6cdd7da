// Whether an expression needs rows to be grouped.
#pragma once

#include "syntax/tree.h"

namespace sqlite_oci::sql
{

// A group function without OVER; subqueries are not searched.
bool has_group_call(const expression &tree);

} // namespace sqlite_oci::sql
