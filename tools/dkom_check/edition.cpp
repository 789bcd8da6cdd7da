#include "edition.h"

#include <map>
#include <string_view>

#include "oci_manager/entry_points.h"
#include "oci_manager/exported_calls.h"

namespace dkom_check
{

namespace
{

/// The exact edition's calls, each with its routing.
const std::map<std::string, std::string_view> &exact_calls()
{
    static const std::map<std::string, std::string_view> calls{
#define ROW(name, family, routing) {#name, #routing},
        OM_EXPORTED_CALLS(ROW)
#undef ROW
    };
    return calls;
}

} // namespace

std::string library_of(Edition edition)
{
    return edition == Edition::exact ? "libdkom.so" : "libdkomx.so";
}

const std::set<std::string> &published_calls()
{
    static const std::set<std::string> calls{
#define NAME(name, type) #name,
        OCI_ENTRY_POINTS(NAME)
#undef NAME
    };
    return calls;
}

bool serves(Edition edition, const std::string &call)
{
    return edition == Edition::exact ? exact_calls().contains(call) : published_calls().contains(call);
}

bool hands_on(Edition edition, const std::string &call, Backend backend)
{
    if (edition == Edition::extended)
        return published_calls().contains(call);
    const auto row = exact_calls().find(call);
    if (row == exact_calls().end() || row->second == "refused")
        return false;
    return backend == oracle || (row->second != "oracle" && row->second != "oracle_routed");
}

} // namespace dkom_check
