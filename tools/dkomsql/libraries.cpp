#include "libraries.h"

#include <cstdlib>
#include <dlfcn.h>
#include <link.h>

#include <fmt/format.h>
#include <oci.h>

// A call that is published and not among those of the exact edition.
#pragma weak OCIStmtGetPieceInfo

namespace dkomsql
{

namespace
{

struct Search {
    std::string_view name;
    std::optional<std::string> path;
};

int visit_library(dl_phdr_info *info, std::size_t /*size*/, void *data)
{
    auto *search = static_cast<Search *>(data);
    const std::string_view path = info->dlpi_name;
    const std::size_t slash = path.rfind('/');
    const std::string_view file = slash == std::string_view::npos ? path : path.substr(slash + 1);
    if (!file.starts_with(search->name))
        return 0;
    search->path = path;
    return 1;
}

} // namespace

bool is_extended()
{
    return &OCIStmtGetPieceInfo != nullptr;
}

std::string_view edition_name()
{
    return is_extended() ? "extended" : "exact";
}

std::optional<std::string> loaded_library(std::string_view name)
{
    Search search{name, std::nullopt};
    dl_iterate_phdr(visit_library, &search);
    return search.path;
}

std::string oci_library()
{
    Dl_info info = {};
    void *const call = dlsym(RTLD_DEFAULT, "OCIEnvCreate");
    return call != nullptr && dladdr(call, &info) != 0 ? info.dli_fname : "not loaded";
}

const std::vector<ClientLibrary> &client_libraries()
{
    static const std::vector<ClientLibrary> libraries{
        {"Oracle", "DKOM_ORA_LIB_PATH", "libclntsh.so"},
        {"Dravik", "DKOM_DRK_LIB_PATH", "libdkoci.so"},
    };
    return libraries;
}

std::string missing_client_library()
{
    if (is_extended())
        return "";
    for (const ClientLibrary &library : client_libraries()) {
        const char *directory = std::getenv(std::string(library.variable).c_str());
        const std::string path = fmt::format("{}/{}", directory != nullptr ? directory : ".", library.file);
        void *handle = dlopen(path.c_str(), RTLD_LAZY);
        if (handle == nullptr)
            return fmt::format("cannot load {}'s client library: {}\n"
                               "set {} to the directory that holds {} (now: {})",
                               library.database, dlerror(), library.variable, library.file,
                               directory != nullptr ? directory : "not set, so the current directory");
        dlclose(handle);
    }
    return "";
}

} // namespace dkomsql
