#include "lobs/lob.h"

#include <cstring>

namespace sqlite_oci
{

lob_content &lob::current()
{
    if (const auto open = is_locked ? on.lock() : nullptr; open && open->mutex().is_own())
        lobs_of(*open).refresh(*this);
    if (is_lost)
        fail(ora_no_such_lob, "the row of the LOB is no longer there");
    return content;
}

void lob_locator::set_target(std::shared_ptr<lob> other)
{
    target = std::move(other);
    reading.reset();
    writing.reset();
    open_mode = 0;
}

void lob_locator::point_to(std::shared_ptr<lob> other)
{
    const std::scoped_lock lock(mutex);
    set_target(std::move(other));
}

std::shared_ptr<lob> lob_locator::value_or_null() const
{
    const std::scoped_lock lock(mutex);
    return target;
}

std::shared_ptr<lob> lob_locator::value() const
{
    auto found = value_or_null();
    if (!found)
        fail(ora_invalid_locator, "the LOB locator is not initialized: nothing was fetched into it");
    return found;
}

lob_locator *locator_in(const void *element)
{
    const void *handle = nullptr;
    std::memcpy(&handle, element, sizeof handle);
    return find<lob_locator>(handle);
}

} // namespace sqlite_oci
