#include "connector.h"

#include <fmt/format.h>

#include "libraries.h"
#include "user_error.h"

namespace dkomsql
{

std::unique_ptr<Session> Connector::connect(const ConnectTarget &target)
{
    Credentials credentials = credentials_;
    if (target.user && *target.user != credentials.user) {
        if (!target.user->empty() && !is_extended())
            throw UserError(
                "the exact edition begins sessions with external credentials only; dkomsql, which is built "
                "on the extended one, takes users and passwords");
        credentials.user = *target.user;
        credentials.password = Secret();
        if (!credentials.user.empty())
            credentials.password = passwords_.password_of(credentials.user, target.link);
    }
    try {
        auto session = std::make_unique<Session>(target.link, credentials);
        credentials_ = std::move(credentials);
        return session;
    } catch (const OciError &error) {
        const std::string reason = error.what();
        const bool has_more = reason.find('\n') != std::string::npos; // of each library that was asked
        throw UserError(
            fmt::format("cannot connect to '{}':{}{}", target.link, has_more ? "\n" : " ", reason));
    }
}

} // namespace dkomsql
