#include "backend_check.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

#include <fmt/format.h>
#include <oci.h>

#include "child.h"
#include "elf_file.h"
#include "loader.h"

namespace dkom_check
{

namespace
{

namespace fs = std::filesystem;

/// What a fault of a backend does to a program.
enum class Harm {
    none,
    refuses,      ///< connections to this backend are refused
    unusable,     ///< the backend cannot be used, without which the exact edition does not start
    ends_process, ///< whatever loads or asks the backend ends
};

/// The parts of a look at one backend.
class BackendCheck
{
public:
    BackendCheck(Backend backend, const Subject &subject)
        : file_(om_backend_files[backend]), backend_(backend), subject_(subject), path_(path_of(backend))
    {
    }

    void run();
    Harm harm() const { return harm_; }

    /// Adds what was found. `starts`: a program starts all the same.
    void report(bool starts, Report &report);

private:
    const char *maker() const { return file_.maker; }
    std::string where() const;
    std::string look_alike() const;
    void add(Verdict verdict, std::string text, std::string advice, nlohmann::json details);
    void fail(const std::string &kind, std::string text, std::string advice, Harm harm = Harm::unusable);
    void fail_for_file(const ElfFile &file);
    void fail_for_loader(const std::string &reason);
    void check_version();
    void check_entry_points(const nlohmann::json &missing);
    void check_environment();

    const om_backend_file &file_;
    Backend backend_;
    const Subject &subject_;
    std::string path_;
    std::vector<Finding> findings_;
    std::string version_;
    Harm harm_ = Harm::none;
};

std::string BackendCheck::where() const
{
    const char *directory = std::getenv(file_.variable);
    std::error_code ignored;
    return directory != nullptr
               ? fmt::format("it is set to {}", directory)
               : fmt::format("it is unset: the working directory, {}", fs::current_path(ignored).string());
}

/// A library of the same name with a version behind it, which programs are linked with.
std::string BackendCheck::look_alike() const
{
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(fs::path(path_).parent_path(), error))
        if (entry.path().filename().string().starts_with(std::string(file_.file) + '.'))
            return entry.path().filename().string();
    return "";
}

void BackendCheck::add(Verdict verdict, std::string text, std::string advice, nlohmann::json details)
{
    details["path"] = path_;
    findings_.push_back({verdict, maker(), std::move(text), std::move(advice), std::move(details)});
}

void BackendCheck::fail(const std::string &kind, std::string text, std::string advice, Harm harm)
{
    add(Verdict::fault, fmt::format("{}: {}", path_, text), std::move(advice), {{"kind", kind}});
    harm_ = harm;
}

void BackendCheck::fail_for_file(const ElfFile &file)
{
    std::string advice;
    switch (file.fault) {
    case FileFault::missing:
        if (const std::string other = look_alike(); !other.empty())
            advice = fmt::format("{} is there; make a link to it: ln -s {} {}", other, other, path_);
        else
            advice = fmt::format("let {} name the directory that holds {} ({})", file_.variable, file_.file,
                                 where());
        break;
    case FileFault::no_permission:
        advice = "let the user of the program read the file and search its directories";
        break;
    case FileFault::wrong_class:
    case FileFault::wrong_machine:
        advice = fmt::format("let {} name the directory of a client library for this machine and for "
                             "programs of {} bits",
                             file_.variable, sizeof(void *) * 8);
        break;
    default:
        advice = fmt::format("install {}'s client library again, or let {} name another directory", maker(),
                             file_.variable);
    }
    fail(name_of(file.fault), file.reason, advice);
}

/// The loader's text says what of several things keeps a sound file from being loaded.
void BackendCheck::fail_for_loader(const std::string &reason)
{
    const LoaderListing listing = list_needed(path_, subject_.timeout);
    if (const auto missing = listing.missing(); !missing.empty())
        return fail(
            "missing dependency",
            fmt::format("it needs {}, which the loader does not find", some_of(missing)),
            "add the directory of what is missing to LD_LIBRARY_PATH, or install the package that has it");
    if (reason.find("version `") != std::string::npos)
        return fail("system too old", reason,
                    "take a client library that was made for this system's release");
    if (reason.find("undefined symbol") != std::string::npos)
        return fail("undefined symbol", reason,
                    "its parts are of different versions: see that all of them come from one directory");
    return fail("loader", reason, "the loader's own words; LD_DEBUG=libs shows what it looks at");
}

void BackendCheck::run()
{
    const ElfFile file = read_elf(path_);
    if (file.fault != FileFault::none)
        return fail_for_file(file);

    const ChildOutcome child = run_child(
        [this](const Teller &teller) {
            void *library = dlopen(path_.c_str(), RTLD_LAZY);
            const char *reason = library != nullptr ? nullptr : dlerror();
            if (library == nullptr) {
                teller.tell({{"reason", reason != nullptr ? reason : "the loader gives no reason"}});
                return;
            }
            nlohmann::json missing = nlohmann::json::array();
            for (const std::string &name : published_calls())
                if (dlsym(library, name.c_str()) == nullptr)
                    missing.push_back(name);
            teller.tell(
                {{"missing", missing}, {"is_manager", dlsym(library, OM_MARK_OF_EXACT_EDITION) != nullptr}});
        },
        subject_.timeout);
    const nlohmann::json told = child.told();
    if (file.note || told.value("is_manager", false))
        return fail("itself",
                    fmt::format("it is the OCI manager itself{}",
                                file.note ? fmt::format(", the {} edition", file.note->edition) : ""),
                    fmt::format("let {} name {}'s own directory, not that of a link to the OCI manager ({})",
                                file_.variable, maker(), where()));
    if (told.contains("reason"))
        return fail_for_loader(told["reason"]);
    if (!told.contains("missing"))
        return fail("crash", fmt::format("loading it {}", child.how_it_ended()),
                    "install the client library again; a program that loads it ends in the same way",
                    Harm::ends_process);
    check_version();
    std::error_code error;
    const std::string resolved = fs::canonical(path_, error).string();
    add(Verdict::ok,
        fmt::format("{} is loaded{}{}", path_, resolved != path_ && !error ? " from " + resolved : "",
                    version_.empty() ? "" : ", version " + version_),
        "", {{"resolved", resolved}, {"version", version_}});
    check_environment();
    if (harm_ <= Harm::refuses) // else it is no client library, or of no use
        check_entry_points(told["missing"]);
}

void BackendCheck::check_version()
{
    const ChildOutcome child = run_child(
        [this](const Teller &teller) {
            void *library = dlopen(path_.c_str(), RTLD_LAZY);
            auto *call = reinterpret_cast<decltype(&::OCIClientVersion)>(dlsym(library, "OCIClientVersion"));
            if (call == nullptr)
                return;
            std::array<sword, 5> parts{};
            call(&parts[0], &parts[1], &parts[2], &parts[3], &parts[4]);
            teller.tell({{"version", parts}});
        },
        subject_.timeout);
    const nlohmann::json told = child.told();
    if (told.contains("version")) {
        const auto parts = told["version"].get<std::vector<int>>();
        version_ = fmt::format("{}", fmt::join(parts, "."));
    } else if (!child.exited_well()) {
        add(Verdict::warning, fmt::format("{}: OCIClientVersion {}", path_, child.how_it_ended()),
            "a program that asks for the version ends in the same way", {{"kind", "crash"}});
    }
}

void BackendCheck::check_entry_points(const nlohmann::json &missing)
{
    const std::size_t all = published_calls().size();
    std::vector<std::string> matter;
    for (const auto &entry : missing) {
        const std::string name = entry;
        if (hands_on(subject_.edition, name, backend_) && (!subject_.uses || subject_.uses->contains(name)))
            matter.push_back(name);
    }
    const bool exact = subject_.edition == Edition::exact;
    const nlohmann::json details{{"missing", missing}, {"matter", matter}};
    if (matter.empty()) {
        add(Verdict::ok,
            missing.empty()
                ? fmt::format("has all {} entry points", all)
                : fmt::format("lacks {} of {} entry points, none that {} hands on to it", missing.size(), all,
                              subject_.uses ? "the program calls and the library"
                                            : "the " + std::string(name_of(subject_.edition)) + " edition"),
            "", details);
        return;
    }
    add(subject_.uses && exact ? Verdict::fault : Verdict::warning,
        fmt::format("lacks {} of {} entry points; {} {}: {}", missing.size(), all,
                    subject_.uses ? "the program calls" : "programs may call", matter.size(),
                    some_of(matter)),
        exact
            ? "take a version of the library that has them; a program that calls one on this backend is stopped"
            : "take a version of the library that has them; a program that calls one on this backend gets error 90002",
        details);
}

/// The exact edition cannot do without an environment and an error handle of Oracle's.
void BackendCheck::check_environment()
{
    const ChildOutcome child = run_child(
        [this](const Teller &teller) {
            void *library = dlopen(path_.c_str(), RTLD_LAZY);
            auto *create = reinterpret_cast<decltype(&::OCIEnvCreate)>(dlsym(library, "OCIEnvCreate"));
            auto *allocate = reinterpret_cast<decltype(&::OCIHandleAlloc)>(dlsym(library, "OCIHandleAlloc"));
            if (create == nullptr || allocate == nullptr) {
                teller.tell({{"lacks", create == nullptr ? "OCIEnvCreate" : "OCIHandleAlloc"}});
                return;
            }
            OCIEnv *environment = nullptr;
            void *error = nullptr;
            const sword made =
                create(&environment, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
            teller.tell({{"OCIEnvCreate", made}});
            if (made == OCI_SUCCESS)
                teller.tell({{"OCIHandleAlloc", allocate(environment, &error, OCI_HTYPE_ERROR, 0, nullptr)}});
        },
        subject_.timeout);
    const nlohmann::json told = child.told();
    if (told.value("OCIHandleAlloc", -1) == OCI_SUCCESS)
        return;
    std::string text;
    // The exact edition goes on without an environment of Dravik's.
    Harm harm = subject_.edition == Edition::exact && backend_ == dravik ? Harm::refuses : Harm::unusable;
    if (told.contains("lacks")) {
        text = fmt::format("it has no {}: it is no OCI client library", std::string(told["lacks"]));
        harm = Harm::unusable;
    } else if (!child.exited_well()) {
        text = fmt::format("making an environment {}", child.how_it_ended());
        harm = Harm::ends_process;
    } else {
        const char *call = told.contains("OCIHandleAlloc") ? "OCIHandleAlloc" : "OCIEnvCreate";
        text = fmt::format("it makes no environment: {} returns {}", call, told.value(call, -1));
    }
    if (!child.errors.empty())
        text += fmt::format("; it says: {}", child.errors);
    fail(
        "no environment", text,
        "look at the library's own set-up: ORACLE_HOME, TNS_ADMIN, language and zone files; a program that is "
        "linked with it directly fails likewise",
        harm);
}

void BackendCheck::report(bool starts, Report &report)
{
    for (Finding &finding : findings_) {
        if (starts && finding.details.contains("kind"))
            finding.verdict = Verdict::warning;
        report.add(std::move(finding));
    }
}

} // namespace

std::string path_of(Backend backend)
{
    om_backend_path path;
    om_name_backend(om_backend_files[backend], std::getenv(om_backend_files[backend].variable), path);
    return path;
}

Usable check_backends(const Subject &subject, Report &report)
{
    std::array<BackendCheck, backend_count> checks{BackendCheck{oracle, subject},
                                                   BackendCheck{dravik, subject}};
    Usable usable;
    for (Backend b = 0; b < backend_count; b++) {
        checks.at(b).run();
        usable.backend.at(b) = checks.at(b).harm() <= Harm::refuses;
    }
    const Harm worst = std::max(checks[oracle].harm(), checks[dravik].harm());
    // The extended edition gets along with one backend.
    usable.starts =
        worst <= Harm::refuses || (worst == Harm::unusable && subject.edition == Edition::extended &&
                                   (usable.backend[oracle] || usable.backend[dravik]));
    for (BackendCheck &check : checks)
        check.report(usable.starts, report);
    return usable;
}

} // namespace dkom_check
