// While a callback of the program's runs: what the call that made it still needs is not freed, and not
// changed.
#pragma once

#include "handles/registry.h"

namespace sqlite_oci
{

class callback_scope
{
public:
    explicit callback_scope(const object &needed);
    ~callback_scope();
    callback_scope(const callback_scope &) = delete;
    callback_scope &operator=(const callback_scope &) = delete;

    // Whether this thread runs a callback.
    static bool is_open();

    // Whether a callback of this thread must leave the object alone.
    static bool needs(const object &one);

    // Throws ORA-03127 for such an object.
    static void check(const object &one);

    // Throws ORA-03127 in any callback: the call that made it still needs its connection.
    static void check_none();

private:
    const object &needed_;
    const callback_scope *outer_;
};

} // namespace sqlite_oci
