#include "session.h"

#include <array>

#include <dkom.h>
#include <fmt/format.h>

#include "libraries.h"

namespace dkomsql
{

namespace
{

/// Detaches a server unless the session took it over.
class AttachGuard
{
public:
    AttachGuard(OCIServer *server, OCIError *error) : server_(server), error_(error) {}
    ~AttachGuard()
    {
        if (server_ != nullptr)
            OCIServerDetach(server_, error_, OCI_DEFAULT);
    }
    AttachGuard(const AttachGuard &) = delete;
    AttachGuard &operator=(const AttachGuard &) = delete;
    void release() { server_ = nullptr; }

private:
    OCIServer *server_;
    OCIError *error_;
};

/// The records of an error or environment handle.
OciError records_of(void *handle, ub4 type)
{
    constexpr ub4 most_records = 10;
    int first_code = 0;
    std::string message;
    for (ub4 record = 1; record <= most_records; record++) {
        std::array<OraText, 3072> text{};
        sb4 code = 0;
        const sword rc =
            OCIErrorGet(handle, record, nullptr, &code, text.data(), static_cast<ub4>(text.size() - 1), type);
        if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
            break;
        if (record == 1)
            first_code = code;
        else
            message += '\n';
        message += reinterpret_cast<const char *>(text.data());
        message.erase(message.find_last_not_of(" \r\n") + 1);
    }
    return {first_code, message};
}

const OraText *oratext(const std::string &text)
{
    return reinterpret_cast<const OraText *>(text.c_str());
}

} // namespace

std::string_view name_of(Backend backend)
{
    switch (backend) {
    case Backend::oracle:
        return "oracle";
    case Backend::dravik:
        return "dravik";
    case Backend::unknown:
        break;
    }
    return "unknown";
}

Session::Session(const std::string &link, const Credentials &credentials)
    : link_(link), user_name_(credentials.user), environment_(create_environment()), error_(environment()),
      break_error_(environment()), server_(environment()), service_(environment()), user_(environment())
{
    check(
        OCIServerAttach(server_.get(), error(), oratext(link_), static_cast<sb4>(link_.size()), OCI_DEFAULT),
        "OCIServerAttach");
    AttachGuard attached(server_.get(), error());
    check(OCIAttrSet(service(), OCI_HTYPE_SVCCTX, server_.get(), 0, OCI_ATTR_SERVER, error()), "OCIAttrSet");
    check(OCIAttrSet(service(), OCI_HTYPE_SVCCTX, user_.get(), 0, OCI_ATTR_SESSION, error()), "OCIAttrSet");
    const bool is_named = !user_name_.empty();
    if (is_named) {
        set_text(OCI_ATTR_USERNAME, user_name_);
        set_text(OCI_ATTR_PASSWORD, credentials.password.text());
    }
    const sword rc = OCISessionBegin(service(), error(), user_.get(),
                                     is_named ? OCI_CRED_RDBMS : OCI_CRED_EXT, OCI_DEFAULT);
    check(rc, "OCISessionBegin");
    if (rc == OCI_SUCCESS_WITH_INFO)
        greeting_ = last_error();
    attached.release();
    backend_ = find_backend();
}

void Session::set_text(ub4 attribute, const std::string &text) const
{
    check(OCIAttrSet(user_.get(), OCI_HTYPE_SESSION, const_cast<char *>(text.data()),
                     static_cast<ub4>(text.size()), attribute, error()),
          "OCIAttrSet");
}

Session::~Session()
{
    OCISessionEnd(service(), error(), user_.get(), OCI_DEFAULT);
    OCIServerDetach(server_.get(), error(), OCI_DEFAULT);
}

Handle<OCIEnv, OCI_HTYPE_ENV> Session::create_environment()
{
    OCIEnv *environment = nullptr;
    const sword rc = OCIEnvCreate(&environment, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
    if (rc != OCI_SUCCESS) {
        // The extended edition hands out an environment that tells why it is of no use.
        const auto failed = Handle<OCIEnv, OCI_HTYPE_ENV>::adopt(environment);
        const OciError reason =
            failed.get() != nullptr ? records_of(failed.get(), OCI_HTYPE_ENV) : OciError(0, "");
        throw reason.code() != 0 ? reason
                                 : OciError(0, fmt::format("OCIEnvCreate failed with return code {}", rc));
    }
    return Handle<OCIEnv, OCI_HTYPE_ENV>::adopt(environment);
}

Backend Session::find_backend() const
{
    if (is_extended()) {
        ub1 backend = DKOM_BACKEND_NONE;
        OCIAttrGet(service(), OCI_HTYPE_SVCCTX, &backend, nullptr, DKOM_ATTR_BACKEND, error());
        return backend == DKOM_BACKEND_ORACLE   ? Backend::oracle
               : backend == DKOM_BACKEND_DRAVIK ? Backend::dravik
                                                : Backend::unknown;
    }
    // The exact edition fills in the caller's variable when the Oracle library answers, and leaves it alone
    // when Dravik's does. The variable has to start empty, for a handle in it would be taken as one to look
    // up.
    OCIServer *server = nullptr;
    const sword rc = OCIAttrGet(service(), OCI_HTYPE_SVCCTX, &server, nullptr, OCI_ATTR_SERVER, error());
    if (rc != OCI_SUCCESS)
        return Backend::unknown;
    return server != nullptr ? Backend::oracle : Backend::dravik;
}

void Session::commit() const
{
    check(OCITransCommit(service(), error(), OCI_DEFAULT), "OCITransCommit");
}

void Session::rollback() const
{
    check(OCITransRollback(service(), error(), OCI_DEFAULT), "OCITransRollback");
}

void Session::check(sword rc, std::string_view call) const
{
    if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
        throw failure(rc, call);
}

OciError Session::failure(sword rc, std::string_view call) const
{
    // With a handle refused there may be no record, or that of an earlier error.
    if (rc == OCI_INVALID_HANDLE)
        return {0, fmt::format("{} was given an invalid handle", call)};
    OciError error = last_error();
    if (error.code() == 0)
        return {0, fmt::format("{} failed with return code {}", call, rc)};
    return error;
}

OciError Session::last_error() const
{
    return records_of(error(), OCI_HTYPE_ERROR);
}

std::optional<std::string> server_version(const Session &session)
{
    std::array<OraText, 512> text{};
    const sword rc = OCIServerVersion(session.service(), session.error(), text.data(),
                                      static_cast<ub4>(text.size() - 1), static_cast<ub1>(OCI_HTYPE_SVCCTX));
    if (rc != OCI_SUCCESS && rc != OCI_SUCCESS_WITH_INFO)
        return std::nullopt;
    const std::string_view version = reinterpret_cast<const char *>(text.data());
    return std::string(version.substr(0, version.find('\n')));
}

std::string client_version()
{
    std::array<sword, 5> parts{};
    OCIClientVersion(&parts[0], &parts[1], &parts[2], &parts[3], &parts[4]);
    return fmt::format("{}", fmt::join(parts, "."));
}

} // namespace dkomsql
