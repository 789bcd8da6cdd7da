#ifndef DKOMSQL_SESSION_H
#define DKOMSQL_SESSION_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <oci.h>

#include "credentials.h"

namespace dkomsql
{

/// A failed OCI call; what() is the text of the error records.
class OciError : public std::runtime_error
{
public:
    OciError(int code, const std::string &message) : std::runtime_error(message), code_(code) {}

    /// The number of the first error record (the 942 of ORA-00942); 0 when there is no record.
    int code() const { return code_; }

    /// Byte offset in the statement's text at which the database stopped parsing, where it named one.
    std::optional<std::size_t> offset;

private:
    int code_;
};

/// Which of the two client libraries serves a connection.
enum class Backend { unknown, oracle, dravik };

std::string_view name_of(Backend backend);

/// Owns one OCI handle.
template <typename T, ub4 Type> class Handle
{
public:
    Handle() = default;

    /// Allocates the handle in `environment`; throws OciError.
    explicit Handle(OCIEnv *environment)
    {
        void *handle = nullptr;
        const sword rc = OCIHandleAlloc(environment, &handle, Type, 0, nullptr);
        // No error handle takes part in an allocation, so there is no record to read.
        if (rc != OCI_SUCCESS)
            throw OciError(0, "OCIHandleAlloc failed with return code " + std::to_string(rc));
        handle_ = static_cast<T *>(handle);
    }

    Handle(Handle &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle()
    {
        if (handle_ != nullptr)
            OCIHandleFree(handle_, Type);
    }

    T *get() const { return handle_; }

    /// Takes over a handle made elsewhere.
    static Handle adopt(T *handle)
    {
        Handle result;
        result.handle_ = handle;
        return result;
    }

private:
    T *handle_ = nullptr;
};

/// Owns one OCI descriptor.
template <typename T, ub4 Type> class Descriptor
{
public:
    /// Allocates the descriptor in `environment`; throws OciError.
    explicit Descriptor(OCIEnv *environment)
    {
        void *descriptor = nullptr; // one in it would be taken as one to allocate again
        const sword rc = OCIDescriptorAlloc(environment, &descriptor, Type, 0, nullptr);
        if (rc != OCI_SUCCESS)
            throw OciError(0, "OCIDescriptorAlloc failed with return code " + std::to_string(rc));
        descriptor_ = static_cast<T *>(descriptor);
    }

    /// Takes over a descriptor made elsewhere.
    explicit Descriptor(T *descriptor) : descriptor_(descriptor) {}

    Descriptor(Descriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, nullptr)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor()
    {
        if (descriptor_ != nullptr)
            OCIDescriptorFree(descriptor_, Type);
    }

    T *get() const { return descriptor_; }

private:
    T *descriptor_ = nullptr;
};

/// A connection: environment, server, service context and session, ended when the object goes.
class Session
{
public:
    /// Attaches to `link` and begins a session for the user. Throws OciError.
    Session(const std::string &link, const Credentials &credentials);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    OCIEnv *environment() const { return environment_.get(); }
    OCIError *error() const { return error_.get(); }
    OCISvcCtx *service() const { return service_.get(); }

    /// For OCIBreak, which must not use the handle of the call that it breaks.
    OCIError *break_error() const { return break_error_.get(); }

    const std::string &link() const { return link_; }
    const std::string &user() const { return user_name_; }

    /// What the database remarked when the session began, such as that a password expires soon.
    const std::optional<OciError> &greeting() const { return greeting_; }

    Backend backend() const { return backend_; }

    /// Ends the transaction. Throws OciError.
    void commit() const;
    void rollback() const;

    /// Throws OciError with the error records when `rc`, the result of a call that was given error(), says
    /// that the call failed. OCI_SUCCESS_WITH_INFO is a success.
    void check(sword rc, std::string_view call) const;

    /// The error that check() throws, for a call that failed with `rc`.
    OciError failure(sword rc, std::string_view call) const;

    /// The error records that the last failed call, or call with information, left on error(). To be called
    /// only after such a call: an error handle that never saw one has nothing to answer from.
    OciError last_error() const;

private:
    static Handle<OCIEnv, OCI_HTYPE_ENV> create_environment();
    void set_text(ub4 attribute, const std::string &text) const;
    Backend find_backend() const;

    std::string link_;
    std::string user_name_;
    Handle<OCIEnv, OCI_HTYPE_ENV> environment_;
    Handle<OCIError, OCI_HTYPE_ERROR> error_;
    Handle<OCIError, OCI_HTYPE_ERROR> break_error_;
    Handle<OCIServer, OCI_HTYPE_SERVER> server_;
    Handle<OCISvcCtx, OCI_HTYPE_SVCCTX> service_;
    Handle<OCISession, OCI_HTYPE_SESSION> user_;
    Backend backend_ = Backend::unknown;
    std::optional<OciError> greeting_;
};

/// What the server says it is; nothing when it has no answer. The exact edition asks Oracle's library even
/// when Dravik's serves the connection.
std::optional<std::string> server_version(const Session &session);

/// The version of the client library, such as "11.2.0.4.0". An environment must exist.
std::string client_version();

} // namespace dkomsql

#endif
