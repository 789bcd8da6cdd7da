#ifndef DKOMSQL_CREDENTIALS_H
#define DKOMSQL_CREDENTIALS_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace dkomsql
{

/// A text whose memory is overwritten when it goes.
class Secret
{
public:
    Secret() = default;
    explicit Secret(std::string text) : text_(std::move(text)) {}
    Secret(const Secret &) = default;
    Secret(Secret &&other) noexcept { *this = std::move(other); }
    Secret &operator=(const Secret &) = default;
    Secret &operator=(Secret &&other) noexcept;
    ~Secret() { wipe(); }

    const std::string &text() const { return text_; }

private:
    void wipe();

    std::string text_;
};

/// Who the session is for; without a user it begins with external credentials.
struct Credentials {
    std::string user;
    Secret password;
};

/// What the first argument names.
struct ConnectTarget {
    std::optional<std::string> user; ///< empty: external credentials, as `/@link` asks for
    std::string link;
};

/// Splits `link`, `user@link` or `/@link`; an `@` between double quotes or parentheses splits nothing. Throws
/// UserError for `user/password@link`: other users of the machine see what stands on a command line.
ConnectTarget parse_target(std::string_view text);

/// Finds the password of a user: in `file` if that is not empty, in DKOMSQL_PASSWORD, or asked for at the
/// terminal without being shown. Throws UserError when none of them has one.
class PasswordSource
{
public:
    PasswordSource() = default;

    /// Reads DKOMSQL_PASSWORD and takes it out of the environment, where programs that are started would find
    /// it.
    explicit PasswordSource(std::string file);

    Secret password_of(const std::string &user, const std::string &link) const;

private:
    std::string file_;
    std::optional<Secret> from_environment_;
};

/// Why a file that others could write or, with `secret`, read is not to be trusted; empty if it can be.
std::string why_unsafe(const std::string &path, bool secret);

} // namespace dkomsql

#endif
