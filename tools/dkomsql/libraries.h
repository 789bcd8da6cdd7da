#ifndef DKOMSQL_LIBRARIES_H
#define DKOMSQL_LIBRARIES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

/// True when the program was linked with a library that exports all published calls: the extended edition of
/// the OCI manager, or a client library itself. False for the exact edition.
bool is_extended();

/// "extended" or "exact".
std::string_view edition_name();

/// Path of the loaded shared library whose file name begins with `name` (for instance "libclntsh.so").
std::optional<std::string> loaded_library(std::string_view name);

/// Path of the library that the program's OCI calls go to.
std::string oci_library();

/// A client library that the OCI manager loads on the first OCI call.
struct ClientLibrary {
    std::string_view database; ///< "Oracle" or "Dravik"
    std::string_view variable; ///< environment variable with its directory
    std::string_view file;     ///< file name
};

const std::vector<ClientLibrary> &client_libraries();

/// What keeps the exact edition from starting, for the user; empty when nothing does. It ends the process
/// when it cannot load a client library, so a program that wants to say more has to look before. The extended
/// edition makes do with one library, and gives both reasons when there is none.
std::string missing_client_library();

} // namespace dkomsql

#endif
