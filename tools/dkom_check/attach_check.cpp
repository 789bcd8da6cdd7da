#include "attach_check.h"

#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fmt/format.h>
#include <oci.h>

#include "child.h"
#include "extended/route_table.h"
#include "oci_manager/trace_settings.h"

namespace dkom_check
{

namespace
{

namespace fs = std::filesystem;

/// The calls of a library that is loaded late.
struct Calls {
#define CALLS(X)                                                                                             \
    X(OCIEnvCreate)                                                                                          \
    X(OCIHandleAlloc)                                                                                        \
    X(OCIErrorGet) X(OCIServerAttach) X(OCIServerDetach) X(OCIAttrSet) X(OCISessionBegin) X(OCISessionEnd)
#define MEMBER(name) decltype(&::name) name;
    CALLS(MEMBER)
#undef MEMBER

    explicit Calls(void *library)
    {
#define FIND(name) this->name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name));
        CALLS(FIND)
#undef FIND
    }
};

/// A connection in the child process, which ends before anything is freed.
class Connection
{
public:
    Connection(const Calls &calls, const Teller &teller) : calls_(calls), teller_(teller) {}

    void attach(const Attach &attach)
    {
        if (!told("OCIEnvCreate", calls_.OCIEnvCreate(&environment_, OCI_DEFAULT, nullptr, nullptr, nullptr,
                                                      nullptr, 0, nullptr)))
            return;
        error_ = allocate<OCIError>(OCI_HTYPE_ERROR);
        server_ = allocate<OCIServer>(OCI_HTYPE_SERVER);
        if (!told("OCIServerAttach",
                  calls_.OCIServerAttach(server_, error_, oratext(attach.link),
                                         static_cast<sb4>(attach.link.size()), OCI_DEFAULT)))
            return;
        if (attach.user)
            begin(*attach.user, attach.password);
        told("OCIServerDetach", calls_.OCIServerDetach(server_, error_, OCI_DEFAULT));
    }

private:
    static const OraText *oratext(const std::string &text)
    {
        return reinterpret_cast<const OraText *>(text.c_str());
    }

    template <class Handle> Handle *allocate(ub4 type)
    {
        void *handle = nullptr;
        calls_.OCIHandleAlloc(environment_, &handle, type, 0, nullptr);
        return static_cast<Handle *>(handle);
    }

    void set(void *target, ub4 type, void *value, std::size_t size, ub4 attribute)
    {
        calls_.OCIAttrSet(target, type, value, static_cast<ub4>(size), attribute, error_);
    }

    void begin(std::string user, std::string password)
    {
        auto *service = allocate<OCISvcCtx>(OCI_HTYPE_SVCCTX);
        auto *session = allocate<OCISession>(OCI_HTYPE_SESSION);
        const bool external = user == "/";
        set(service, OCI_HTYPE_SVCCTX, server_, 0, OCI_ATTR_SERVER);
        set(service, OCI_HTYPE_SVCCTX, session, 0, OCI_ATTR_SESSION);
        if (!external) {
            set(session, OCI_HTYPE_SESSION, user.data(), user.size(), OCI_ATTR_USERNAME);
            set(session, OCI_HTYPE_SESSION, password.data(), password.size(), OCI_ATTR_PASSWORD);
        }
        if (told("OCISessionBegin",
                 calls_.OCISessionBegin(service, error_, session, external ? OCI_CRED_EXT : OCI_CRED_RDBMS,
                                        OCI_DEFAULT)))
            calls_.OCISessionEnd(service, error_, session, OCI_DEFAULT);
    }

    /// Tells how a call ended, and its error records.
    bool told(const char *call, sword rc)
    {
        const bool succeeded = rc == OCI_SUCCESS || rc == OCI_SUCCESS_WITH_INFO;
        nlohmann::json errors = nlohmann::json::array();
        constexpr ub4 most_records = 8;
        for (ub4 record = 1; rc == OCI_ERROR && error_ != nullptr && record <= most_records; record++) {
            std::array<OraText, 2048> text{};
            sb4 code = 0;
            if (calls_.OCIErrorGet(error_, record, nullptr, &code, text.data(), text.size(),
                                   OCI_HTYPE_ERROR) != OCI_SUCCESS)
                break;
            std::string words = reinterpret_cast<const char *>(text.data());
            while (words.ends_with('\n'))
                words.pop_back();
            errors.push_back(words);
        }
        teller_.tell({{call, {{"rc", rc}, {"errors", errors}}}});
        return succeeded;
    }

    const Calls &calls_;
    const Teller &teller_;
    OCIEnv *environment_ = nullptr;
    OCIError *error_ = nullptr;
    OCIServer *server_ = nullptr;
};

/// How an attempt went, in a child process.
struct Attempt {
    nlohmann::json told;
    std::string end; ///< how the child ended, if not well

    bool succeeded(const char *call) const
    {
        const int rc = told.contains(call) ? told[call].value("rc", -1) : -1;
        return rc == OCI_SUCCESS || rc == OCI_SUCCESS_WITH_INFO;
    }

    /// Why a call failed.
    std::string reason(const char *call) const
    {
        if (!told.contains(call))
            return end.empty() ? "it got not that far" : end;
        std::string text;
        for (const auto &error : told[call]["errors"])
            text += (text.empty() ? "" : "; ") + error.get<std::string>();
        return text.empty() ? fmt::format("return code {}", told[call].value("rc", -1)) : text;
    }
};

/// `trace`: directory for a trace, empty: none.
Attempt try_attach(const std::string &path_of_library, const Attach &attach, const std::string &trace,
                   std::chrono::milliseconds timeout)
{
    const ChildOutcome child = run_child(
        [&](const Teller &teller) {
            if (!trace.empty()) {
                setenv(OM_LOG_PATH_VARIABLE, trace.c_str(), 1);
                setenv(OM_LOG_LEVEL_VARIABLE, std::to_string(OM_LOG_INFO).c_str(), 1);
            }
            void *library = dlopen(path_of_library.c_str(), RTLD_LAZY);
            if (library == nullptr)
                throw std::runtime_error(dlerror());
            const Calls calls(library);
            Connection(calls, teller).attach(attach);
        },
        timeout);
    return {child.told(), child.exited_well() ? ""
                                              : fmt::format("it {}{}{}", child.how_it_ended(),
                                                            child.errors.empty() ? "" : ": ", child.errors)};
}

class TemporaryDirectory
{
public:
    TemporaryDirectory()
    {
        std::string name = (fs::temp_directory_path() / "dkom-check-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error(fmt::format("cannot make a directory like {}", name));
        path_ = name;
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

/// The backend that took the link, by what the library itself wrote.
std::optional<Backend> backend_in_trace(const fs::path &directory)
{
    std::string text;
    for (const auto &entry : fs::directory_iterator(directory)) {
        std::ifstream file(entry.path(), std::ios::binary);
        text.append(std::istreambuf_iterator<char>(file), {});
    }
    const std::size_t begin = text.find("- OCIServerAttach(");
    const std::size_t end = text.find("END FUNC - OCIServerAttach()", begin);
    if (begin == std::string::npos || end == std::string::npos)
        return std::nullopt;
    // The extended edition names the backend in the end record, the exact one each before it is asked.
    const std::string at_end = text.substr(end, text.find("\treturn rc=", end) - end);
    const std::string before = text.substr(begin, end - begin);
    for (const Backend b : {oracle, dravik})
        if (at_end.find(std::string("backend=") + om_backend_files[b].maker) != std::string::npos)
            return b;
    const std::size_t last_oracle = before.rfind("[ORACLE] OCI API will be executed");
    const std::size_t last_dravik = before.rfind("[DRAVIK] OCI API will be executed");
    if (last_dravik != std::string::npos)
        return dravik;
    return last_oracle != std::string::npos ? std::optional(oracle) : std::nullopt;
}

/// The backends in the order in which the edition asks them.
std::vector<Backend> order_of(Edition edition, const std::string &link)
{
    omx_route route = omx_usual_route;
    const char *routes = std::getenv(OMX_ROUTES_VARIABLE);
    if (edition == Edition::extended && routes != nullptr) {
        omx_span wrong;
        if (!omx_find_route(routes, {link.c_str(), link.c_str() + link.size()}, &route, &wrong))
            return {};
    }
    return {route.backend, route.backend + route.count};
}

std::string names(const std::vector<Backend> &backends, const char *separator)
{
    std::string text;
    for (const Backend b : backends)
        text += (text.empty() ? "" : separator) + std::string(om_backend_files[b].maker);
    return text;
}

/// What to do for another backend to serve the link.
std::string how_to_have(Backend other, bool other_accepts, const Subject &subject, const std::string &link)
{
    if (!other_accepts)
        return fmt::format("what {} says stands above", om_backend_files[other].maker);
    if (subject.edition == Edition::extended)
        return fmt::format("to have {}, set {}={}={}", om_backend_files[other].maker, OMX_ROUTES_VARIABLE,
                           link, other == dravik ? "dravik" : "oracle");
    return "Oracle is asked first: take a link that Oracle's tnsnames.ora does not know, or the extended edition "
           "and " OMX_ROUTES_VARIABLE;
}

void report_served(const Subject &subject, const Attach &attach, Backend served, bool other_accepts,
                   Report &report)
{
    const std::vector<Backend> order = order_of(subject.edition, attach.link);
    const Backend other = served == oracle ? dravik : oracle;
    const char *other_maker = om_backend_files[other].maker;
    Finding finding{Verdict::ok,
                    "link",
                    fmt::format("{} is served by {}; asked in this order: {}", attach.link,
                                om_backend_files[served].maker, names(order, ", ")),
                    "",
                    {{"served_by", om_backend_files[served].maker}, {"order", names(order, ",")}}};
    const bool is_wrong = attach.expected && *attach.expected != served;
    const bool is_doubtful = other_accepts && !attach.expected && order.size() > 1;
    if (is_wrong || is_doubtful) {
        finding.verdict = is_wrong ? Verdict::refused : Verdict::warning;
        finding.text += fmt::format("; {} {}", other_maker, is_wrong ? "is expected" : "would accept it too");
        finding.advice = how_to_have(other, other_accepts, subject, attach.link);
    }
    report.add(std::move(finding));
}

/// Asks a backend by itself.
bool ask_backend(Backend backend, const Subject &subject, const std::string &link, Report &report)
{
    const Attempt attempt =
        try_attach(path_of(backend), {link, std::nullopt, "", std::nullopt}, "", subject.timeout);
    const bool accepts = attempt.succeeded("OCIServerAttach");
    report.add({attempt.end.empty() ? Verdict::ok : Verdict::warning,
                om_backend_files[backend].maker,
                accepts ? fmt::format("accepts the link {}", link)
                        : fmt::format("refuses the link {}: {}", link, attempt.reason("OCIServerAttach")),
                "",
                {{"link", link}, {"accepts", accepts}}});
    return accepts;
}

} // namespace

void check_attach(const Subject &subject, const Usable &usable, const Attach &attach, Report &report)
{
    std::array<bool, backend_count> accepts{};
    for (Backend b = 0; b < backend_count; b++)
        accepts.at(b) = usable.backend.at(b) && ask_backend(b, subject, attach.link, report);

    const TemporaryDirectory trace;
    const Attempt attempt = try_attach(subject.path_of_library, attach, trace.path(), subject.timeout);
    if (!attempt.succeeded("OCIServerAttach")) {
        report.add({Verdict::refused,
                    "link",
                    fmt::format("{} is served by neither backend: {}", attach.link,
                                attempt.reason("OCIServerAttach")),
                    "the reasons of both stand above",
                    {{"told", attempt.told}}});
        return;
    }
    if (const auto served = backend_in_trace(trace.path()))
        report_served(subject, attach, *served, accepts.at(*served == oracle ? dravik : oracle), report);
    else
        report.add({Verdict::warning,
                    "link",
                    fmt::format("{} is served, but the trace does not tell by which backend", attach.link),
                    "",
                    {}});
    if (!attach.user)
        return;
    const std::string who = *attach.user == "/" ? "external credentials" : "user " + *attach.user;
    if (attempt.succeeded("OCISessionBegin"))
        report.add({Verdict::ok, "session", fmt::format("begins with {}", who), "", {}});
    else
        report.add({Verdict::refused,
                    "session",
                    fmt::format("does not begin with {}: {}", who, attempt.reason("OCISessionBegin")),
                    "the server's own words",
                    {{"told", attempt.told}}});
    // The end of the connection may fail too.
    if (!attempt.end.empty())
        report.add(
            {Verdict::warning, "link", fmt::format("the process that attached {}", attempt.end), "", {}});
}

} // namespace dkom_check
