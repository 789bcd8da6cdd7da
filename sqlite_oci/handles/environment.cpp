#include "handles/environment.h"

#include "handles/call.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{
namespace
{

struct live_environments {
    std::mutex mutex;
    std::unordered_map<environment *, owned<environment>> all;
};

// Never destroyed: other threads may still be in calls while the process ends.
live_environments &environments()
{
    static auto &instance = *new live_environments;
    return instance;
}

} // namespace

error_record make_record(int code, std::string_view text)
{
    char prefix[24];
    std::snprintf(prefix, sizeof prefix, "ORA-%05d: ", code);
    return {code, prefix + std::string(text)};
}

environment::environment(ub4 creation_mode, charset text_set, charset national_set)
    : object(this), mode(creation_mode), set(text_set), national(national_set)
{
}

environment::~environment()
{
    // Children may look at each other while they end, so the map must stay usable until the last is gone.
    while (!children_.empty())
        release(children_.begin()->first);
}

bool environment::release(object *child)
{
    owned<object> last;
    const std::scoped_lock lock(children_mutex_);
    const auto found = children_.find(child);
    if (found == children_.end())
        return false;
    last = std::move(found->second);
    children_.erase(found);
    return true;
}

std::string environment::text_in(const void *bytes, std::size_t length) const
{
    if (!bytes || length == 0)
        return {};
    const std::string_view view(static_cast<const char *>(bytes), length);
    const bool is_narrow = set == charset::utf16 && !std::memchr(bytes, 0, length);
    return to_utf8(is_narrow ? charset::utf8 : set, view);
}

std::string environment::terminated_text_in(const void *text) const
{
    const auto *bytes = static_cast<const char *>(text);
    if (!bytes)
        return {};
    std::size_t length = 0;
    if (set == charset::utf16 && bytes[0] && !bytes[1])
        while (bytes[length] || bytes[length + 1])
            length += 2;
    else
        length = std::strlen(bytes);
    return text_in(bytes, length);
}

void environment::copy_out(std::string_view text, void *target, std::size_t room) const
{
    std::string bytes = text_out(text);
    bytes.append(set == charset::utf16 ? 2 : 1, '\0');
    if (!target || bytes.size() > room)
        fail(1877, "the buffer is too small: the text takes %zu bytes", bytes.size());
    std::memcpy(target, bytes.data(), bytes.size());
}

charset environment::set_from_id(ub2 id) const
{
    const auto known = charset_from_id(id, set);
    if (!known)
        fail(12715, "character set %u is not supported", id);
    return *known;
}

void error_handle::set(error_record record)
{
    noted_ = 0;
    records.clear();
    records.push_back(std::move(record));
}

void keep_environment(std::unique_ptr<environment> env)
{
    live_environments &live = environments();
    const std::scoped_lock lock(live.mutex);
    environment *key = env.get();
    live.all.emplace(key, owned<environment>(env.release()));
}

bool free_environment(environment *env)
{
    owned<environment> last;
    live_environments &live = environments();
    const std::scoped_lock lock(live.mutex);
    const auto found = live.all.find(env);
    if (found == live.all.end())
        return false;
    last = std::move(found->second);
    live.all.erase(found);
    return true;
}

} // namespace sqlite_oci
