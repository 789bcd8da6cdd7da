#ifndef DKOMSQL_STATUS_H
#define DKOMSQL_STATUS_H

#include <string>

#include "session.h"

namespace dkomsql
{

/// Several lines on the connection and on the libraries that serve it.
std::string status_text(const Session &session);

} // namespace dkomsql

#endif
