#include "handles/callback_scope.h"

#include "handles/call.h"

namespace sqlite_oci
{
namespace
{

thread_local const callback_scope *innermost = nullptr;

} // namespace

callback_scope::callback_scope(const object &needed) : needed_(needed), outer_(innermost)
{
    innermost = this;
}

callback_scope::~callback_scope()
{
    innermost = outer_;
}

bool callback_scope::is_open()
{
    return innermost != nullptr;
}

bool callback_scope::needs(const object &one)
{
    for (const callback_scope *scope = innermost; scope; scope = scope->outer_)
        if (&scope->needed_ == &one)
            return true;
    return false;
}

void callback_scope::check(const object &one)
{
    if (needs(one))
        fail(3127, "a call on this handle is in progress, and this is its callback");
}

void callback_scope::check_none()
{
    if (is_open())
        fail(3127, "a connection cannot be ended in a callback of a call");
}

} // namespace sqlite_oci
