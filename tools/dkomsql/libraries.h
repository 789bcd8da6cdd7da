#ifndef DKOMSQL_LIBRARIES_H
#define DKOMSQL_LIBRARIES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

/// Path of the loaded shared library whose file name begins with `name` (for instance "libdkom.so").
std::optional<std::string> loaded_library(std::string_view name);

/// A client library that libdkom.so loads on the first OCI call.
struct ClientLibrary {
    std::string_view database; ///< "Oracle" or "Dravik"
    std::string_view variable; ///< environment variable with its directory
    std::string_view file;     ///< file name
};

const std::vector<ClientLibrary> &client_libraries();

/// What keeps libdkom.so from starting, for the user; empty when nothing does. libdkom.so ends the process
/// when it cannot load a client library, so a program that wants to say more has to look before.
std::string missing_client_library();

} // namespace dkomsql

#endif
