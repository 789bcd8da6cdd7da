#include "names.h"

#include <algorithm>

namespace dkom_report
{

namespace
{

struct Known {
    std::string_view name;
    Kind kind;
};
constexpr Known known[] = {
    {"OCIEnvCreate", Kind::environment},
    {"OCIEnvNlsCreate", Kind::environment},
    {"OCIEnvInit", Kind::environment},
    {"OCIHandleAlloc", Kind::allocate},
    {"OCIHandleFree", Kind::release},
    {"OCIDescriptorAlloc", Kind::allocate_descriptor},
    {"OCIDescriptorFree", Kind::release_descriptor},
    {"OCIServerAttach", Kind::attach},
    {"OCIServerDetach", Kind::detach},
    {"OCILogon", Kind::logon},
    {"OCILogon2", Kind::logon},
    {"OCISessionGet", Kind::logon},
    {"OCILogoff", Kind::logoff},
    {"OCISessionRelease", Kind::logoff},
    {"OCIAttrSet", Kind::attribute_set},
    {"OCIStmtPrepare", Kind::prepare},
    {"OCIStmtPrepare2", Kind::prepare_in_one},
    {"OCIStmtRelease", Kind::release},
    {"OCIStmtExecute", Kind::execute},
    {"OCIStmtFetch", Kind::fetch},
    {"OCIStmtFetch2", Kind::fetch},
    {"OCIBindByPos", Kind::bind},
    {"OCIBindByName", Kind::bind},
    {"OCIDefineByPos", Kind::bind},
    {"OCIParamGet", Kind::parameter},
    {"OCIErrorGet", Kind::error_get},
};

/// Calls of the exact edition that trace no result. OCIBindByName does so when Dravik was called.
constexpr std::string_view silent[] = {
    "OCIEnvNlsCreate", "OCIClientVersion", "OCIDescriptorAlloc", "OCIDescriptorFree",
    "OCIStmtFetch",    "OCIStmtFetch2",    "OCIBindByName",      "OCIBindArrayOfStruct",
    "OCITransStart",   "OCITransCommit",   "OCITransRollback",   "OCIServerVersion",
    "OCIBreak",        "OCILobGetLength",  "OCILobGetLength2",   "OCILobRead",
    "OCILobRead2",     "OCILobWrite",      "OCILobWrite2",       "OCINlsGetInfo",
    "OCILobAssign",
};

} // namespace

Names::Entry Names::describe(std::string_view name)
{
    Entry entry;
    entry.name = name;
    const auto *found = std::ranges::find(known, name, &Known::name);
    if (found != std::end(known))
        entry.kind = found->kind;
    const bool is_value = name.starts_with("OCINumber") || name.starts_with("OCIDate");
    entry.is_bare = is_value || name == "OCIServerDetach" || name == "OCILobAssign";
    entry.ends_silent = is_value || name.starts_with("OCIDirPath") || std::ranges::count(silent, name) > 0;
    return entry;
}

} // namespace dkom_report
