#include "status.h"

#include <cstdlib>

#include <fmt/format.h>

#include "libraries.h"

namespace dkomsql
{

namespace
{

std::string environment_value(std::string_view variable, std::string_view otherwise)
{
    const char *value = std::getenv(std::string(variable).c_str());
    return std::string(value != nullptr ? std::string_view(value) : otherwise);
}

std::string line(std::string_view name, std::string_view value)
{
    return fmt::format("{:<16} {}\n", name, value);
}

} // namespace

std::string status_text(const Session &session)
{
    std::string text = line("Link", session.link());
    if (!session.user().empty())
        text += line("User", session.user());
    text += line("Served by", name_of(session.backend())) + line("Client version", client_version()) +
            line("OCI library", fmt::format("{}  ({} edition)", oci_library(), edition_name()));
    for (const ClientLibrary &library : client_libraries()) {
        text += line(fmt::format("{} library", library.database),
                     fmt::format("{}  ({}={})", loaded_library(library.file).value_or("not loaded"),
                                 library.variable, environment_value(library.variable, "")));
    }
    text += line("Server version", server_version(session).value_or("no answer") +
                                       (is_extended() ? "" : "  (always asked of the Oracle library)"));
    text += line("Trace", fmt::format("level {} in {}", environment_value("DKOM_LOG_LEVEL", "10"),
                                      environment_value("DKOM_LOG_PATH", ".")));
    text += line("dkomsql", DKOMSQL_VERSION);
    return text;
}

} // namespace dkomsql
