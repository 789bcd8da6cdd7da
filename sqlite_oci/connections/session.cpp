#include "connections/session.h"

#include "handles/call.h"

#include <cstdlib>
#include <filesystem>

namespace sqlite_oci
{
namespace
{

constexpr const char *directory_variable = SQLITE_OCI_DIRECTORY_VARIABLE;

std::filesystem::path database_file(const std::string &link)
{
    const char *directory = std::getenv(directory_variable);
    return std::filesystem::path(directory && *directory ? directory : ".") / (link + ".db");
}

void cut_off(connection &open)
{
    const cleaning_lock lock(open.mutex());
    open.cut_off();
}

// Whom external credentials stand for. A session's user is never without a name: it would be null in SQL.
std::string system_user()
{
    const char *login = std::getenv("USER");
    return login && *login ? login : "PUBLIC";
}

} // namespace

void server::attach(const std::string &link_text)
{
    if (is_attached())
        fail(24309, "the server handle is already attached");
    if (link_text.find_first_of(std::string_view("/\0", 2)) != link_text.npos)
        fail(12154,
             "the link \"%s\" cannot be a name of a database: it has a path separator or a zero byte; %s "
             "tells the directory",
             link_text.c_str(), directory_variable);
    const auto file = database_file(link_text);
    std::error_code ignored;
    if (link_text.empty() || !std::filesystem::is_regular_file(file, ignored))
        fail(12154,
             "the link \"%s\" names no database: there is no file %s; set %s to the directory that holds it",
             link_text.c_str(), file.c_str(), directory_variable);
    const connection probe(file, "");
    link = link_text;
    path = file;
}

void server::detach()
{
    std::vector<std::weak_ptr<connection>> ending;
    {
        const std::scoped_lock lock(connections_mutex_);
        ending.swap(connections_);
    }
    for (const auto &watched : ending)
        if (const auto open = watched.lock())
            cut_off(*open);
    path.clear();
}

void server::add(const std::shared_ptr<connection> &open)
{
    const std::scoped_lock lock(connections_mutex_);
    std::erase_if(connections_, [](const auto &watched) { return watched.expired(); });
    connections_.push_back(open);
    open->breaks().attachment = this;
}

session::~session()
{
    breaks = nullptr;
    if (open)
        cut_off(*open);
}

void session::begin(server &on, ub4 credentials)
{
    if (open)
        fail(24313, "the session has already begun");
    if (credentials != OCI_CRED_RDBMS && credentials != OCI_CRED_EXT)
        fail(24315, "credentials must be OCI_CRED_RDBMS or OCI_CRED_EXT");
    if (credentials == OCI_CRED_RDBMS && user_name.empty())
        fail(1017, "no user name is set on the session handle");
    if (credentials == OCI_CRED_RDBMS && password.empty())
        fail(1005, "no password is set on the session handle");
    open = std::make_shared<connection>(on.path, user_name.empty() ? system_user() : user_name);
    on.add(open);
    breaks = &open->breaks();
}

void session::end()
{
    const auto ending = open;
    const std::scoped_lock lock(ending->mutex());
    breaks = nullptr;
    open = nullptr;
    ending->start_call();
    try {
        if (!ending->is_cut_off())
            ending->commit();
    } catch (...) {
        ending->cut_off();
        throw;
    }
    ending->cut_off();
}

int service_context::interrupt() const noexcept
{
    if (!on_server.get())
        return 24324;
    const session *begun = in_session.get();
    interrupt_point *const breaks = begun ? begun->breaks.load() : nullptr;
    if (!breaks)
        return 1012;
    if (!breaks->attachment)
        return 3114;
    breaks->interrupt();
    return 0;
}

std::shared_ptr<connection> service_context::shared_connection() const
{
    const server *attached = on_server.get();
    if (!attached)
        fail(24324, "no server handle is set on the service context");
    const session *begun = in_session.get();
    if (!begun || !begun->open)
        fail(1012, "not logged on: no session that has begun is set on the service context");
    if (!attached->is_attached() || begun->open->is_cut_off())
        fail(3114, "not connected: the server handle is not attached");
    return begun->open;
}

} // namespace sqlite_oci
