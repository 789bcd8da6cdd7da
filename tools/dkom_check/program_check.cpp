#include "program_check.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <sstream>
#include <sys/stat.h>

#include <fmt/format.h>

#include "child.h"
#include "dkom_version.h"
#include "elf_file.h"
#include "loader.h"

namespace dkom_check
{

namespace
{

namespace fs = std::filesystem;

/// Calls that OCI libraries have, published or not: "OCIStmtExecute", but not "OCI_Connect".
bool is_oci_call(const std::string &name)
{
    constexpr std::size_t prefix = 3;
    return published_calls().contains(name) ||
           (name.starts_with("OCI") && name.size() > prefix && name[prefix] >= 'A' && name[prefix] <= 'Z');
}

/// Whether a name is that of an OCI client library or of one that stands in its place.
bool is_client_name(const std::string &name)
{
    for (const om_backend_file &backend : om_backend_files)
        if (name.starts_with(backend.file))
            return true;
    return name.starts_with("libdkom.so") || name.starts_with("libdkomx.so");
}

/// Which library of those that the loader finds serves the calls, and what the others ask for.
struct Users {
    const NeededLibrary *client = nullptr;
    std::optional<ManagerNote> note;
    std::map<std::string, std::vector<std::string>> calls_of; ///< by the file that makes them
};

Users find_users(const std::string &path, const ElfFile &program, const LoaderListing &listing)
{
    Users users;
    std::map<std::string, std::set<std::string>> wanted{{path, program.undefined}};
    std::set<std::string> own; // names that no client library has to serve
    for (const NeededLibrary &library : listing.libraries) {
        if (library.path.empty())
            continue;
        const ElfFile file = read_elf(library.path);
        if (file.defined.contains("OCIEnvCreate") || file.defined.contains("OCIHandleAlloc")) {
            if (users.client == nullptr) {
                users.client = &library;
                users.note = file.note;
            }
            continue;
        }
        wanted[library.path] = file.undefined;
        own.insert(file.defined.begin(), file.defined.end());
    }
    own.insert(program.defined.begin(), program.defined.end());
    for (const auto &[user, names] : wanted)
        for (const std::string &name : names)
            if (is_oci_call(name) && !own.contains(name))
                users.calls_of[user].push_back(name);
    return users;
}

void check_rights(const std::string &path, Report &report)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && (status.st_mode & (S_ISUID | S_ISGID)) != 0)
        report.add(
            {Verdict::warning,
             "program",
             fmt::format(
                 "{} runs with the rights of another user: the loader takes no LD_LIBRARY_PATH, and the "
                 "extended edition none of its variables",
                 path),
             "what follows holds for a program without them",
             {}});
}

void report_client(const std::string &path, const Users &users, const LoaderListing &listing, Report &report)
{
    if (users.client == nullptr) {
        const bool misses_client = [&] {
            for (const std::string &name : listing.missing())
                if (is_client_name(name))
                    return true;
            return false;
        }();
        if (!misses_client)
            report.add(
                {Verdict::warning,
                 "program",
                 users.calls_of.empty()
                     ? fmt::format("{} makes no OCI calls by itself, and is linked with no client library",
                                   path)
                     : fmt::format("{} makes OCI calls, but is linked with no client library", path),
                 "if it loads one of its modules or a client library later, check that file",
                 {}});
        return;
    }
    const auto edition = users.note
                             ? fmt::format("the {} edition, {}", users.note->edition, users.note->version)
                             : std::string("a client library of its own");
    const nlohmann::json details{{"name", users.client->name}, {"path", users.client->path}};
    if (users.note)
        report.add({Verdict::ok, "program",
                    fmt::format("{} needs {}, which is {}: {}", path, users.client->name, users.client->path,
                                edition),
                    "", details});
    else
        report.add(
            {Verdict::warning, "program",
             fmt::format("{} needs {}, which is {}: no OCI manager", path, users.client->name,
                         users.client->path),
             fmt::format("link it with libdkom or libdkomx, or put a link {} to one of them into a directory "
                         "that comes first in LD_LIBRARY_PATH",
                         users.client->name),
             details});
}

} // namespace

std::string find_program(const std::string &name)
{
    std::error_code error;
    if (name.find('/') != std::string::npos || fs::exists(name, error))
        return name;
    const char *path = std::getenv("PATH");
    std::istringstream directories(path != nullptr ? path : "");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const fs::path file = fs::path(directory) / name;
        if (fs::is_regular_file(file, error))
            return file.string();
    }
    return name;
}

Program check_program(const std::string &path, std::chrono::milliseconds timeout, Report &report)
{
    Program program{path, {}, std::nullopt, ""};
    const ElfFile file = read_elf(path);
    if (file.fault != FileFault::none) {
        report.add({Verdict::fault,
                    "program",
                    fmt::format("{}: {}", path, file.reason),
                    file.fault == FileFault::not_elf
                        ? "of a script, check the program that runs it, and the module that makes the calls"
                        : "name a program or a shared library of this machine",
                    {{"kind", name_of(file.fault)}}});
        return program;
    }
    check_rights(path, report);
    const LoaderListing listing = list_needed(path, timeout);
    const Users users = find_users(path, file, listing);
    report_client(path, users, listing, report);
    if (const auto missing = listing.missing(); !missing.empty())
        report.add({Verdict::fault,
                    "program",
                    fmt::format("{} needs {}, which the loader does not find", path, some_of(missing)),
                    "add the directory of what is missing to LD_LIBRARY_PATH, or install it",
                    {{"kind", "missing dependency"}, {"missing", missing}}});
    else if (!listing.complaint.empty())
        report.add({Verdict::fault,
                    "program",
                    fmt::format("{}: {}", path, listing.complaint),
                    "the loader's own words",
                    {{"kind", "loader"}}});
    if (users.note) {
        program.edition = users.note->edition == name_of(Edition::exact) ? Edition::exact : Edition::extended;
        program.path_of_library = users.client->path;
    }
    for (const auto &[user, names] : users.calls_of) {
        program.calls.insert(names.begin(), names.end());
        if (user != path)
            report.add({Verdict::ok,
                        "program",
                        fmt::format("{} makes {} OCI calls too", user, names.size()),
                        "",
                        {{"calls", names}}});
    }
    return program;
}

void check_calls(const Program &program, Edition edition, Report &report)
{
    if (program.calls.empty())
        return;
    std::vector<std::string> unserved;
    std::vector<std::string> by_none;
    for (const std::string &call : program.calls) {
        if (!serves(Edition::extended, call))
            by_none.push_back(call);
        else if (!serves(edition, call))
            unserved.push_back(call);
    }
    nlohmann::json details{{"calls", program.calls}, {"unserved", unserved}, {"served_by_none", by_none}};
    const std::size_t count = program.calls.size();
    if (!by_none.empty())
        report.add({Verdict::fault, "calls",
                    fmt::format("of {} OCI calls neither edition serves {}: {}", count, by_none.size(),
                                some_of(by_none)),
                    "the program ends with \"undefined symbol\", at its start or when it gets there",
                    details});
    if (!unserved.empty())
        report.add({Verdict::fault, "calls",
                    fmt::format("of {} OCI calls the exact edition does not serve {}: {}", count,
                                unserved.size(), some_of(unserved)),
                    "use the extended edition, libdkomx.so, which does", details});
    if (by_none.empty() && unserved.empty()) {
        const bool by_both = [&] {
            for (const std::string &call : program.calls)
                if (!serves(Edition::exact, call))
                    return false;
            return true;
        }();
        report.add({Verdict::ok, "calls",
                    fmt::format("{} OCI calls, all served by {}", count,
                                by_both ? "both editions" : "the extended edition"),
                    "", details});
    }
}

std::string check_library(Edition edition, const std::string &of_program, std::chrono::milliseconds timeout,
                          Report &report)
{
    const std::string name = library_of(edition) + "." DKOM_ABI;
    std::string path = of_program;
    std::string reason;
    if (path.empty()) {
        const ChildOutcome child = run_child(
            [&name](const Teller &teller) {
                void *library = dlopen(name.c_str(), RTLD_LAZY);
                link_map *map = nullptr;
                if (library == nullptr)
                    teller.tell({{"reason", dlerror()}});
                else if (dlinfo(library, RTLD_DI_LINKMAP, &map) == 0)
                    teller.tell({{"path", map->l_name}});
            },
            timeout);
        const nlohmann::json told = child.told();
        path = told.value("path", "");
        reason = told.value("reason", child.how_it_ended());
    }
    if (path.empty()) {
        report.add(
            {Verdict::fault,
             "edition",
             fmt::format("{}: {}", name, reason),
             fmt::format("install the OCI manager, or add the directory of {} to LD_LIBRARY_PATH", name),
             {}});
        return "";
    }
    std::error_code error;
    const fs::path resolved = fs::weakly_canonical(path, error);
    if (!error)
        path = resolved.string();
    const ElfFile file = read_elf(path);
    const std::string version = file.note ? file.note->version : "without a version";
    const bool same = version == DKOM_VERSION;
    report.add(
        {same ? Verdict::ok : Verdict::warning,
         "edition",
         fmt::format("{} edition {}, {}", name_of(edition), version, path),
         same ? "" : fmt::format("this is dkom-check {}: take both from one installation", DKOM_VERSION),
         {{"edition", name_of(edition)}, {"version", version}, {"path", path}}});
    return path;
}

} // namespace dkom_check
