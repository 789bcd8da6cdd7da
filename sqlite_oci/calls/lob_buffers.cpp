#include "calls/lob_buffers.h"

namespace sqlite_oci
{

charset transfer_set(const environment &env, ub2 set_id, ub1 form)
{
    if (set_id)
        return env.set_from_id(set_id);
    return form == SQLCS_NCHAR ? env.national : env.set;
}

take_piece taker(void *context, OCICallbackLobRead callback)
{
    if (!callback)
        return {};
    return [=](const buffer &from, std::size_t size, ub1 piece) {
        return callback(context, from.bytes, static_cast<ub4>(size), piece);
    };
}

take_piece taker(void *context, OCICallbackLobRead2 callback)
{
    if (!callback)
        return {};
    return [=](buffer &from, std::size_t size, ub1 piece) {
        void *changed = nullptr;
        oraub8 changed_size = 0;
        const sb4 answer = callback(context, from.bytes, size, piece, &changed, &changed_size);
        if (changed && changed_size)
            from = {changed, changed_size};
        return answer;
    };
}

give_piece giver(void *context, OCICallbackLobWrite callback)
{
    if (!callback)
        return {};
    return [=](const buffer &into, std::size_t &size, ub1 &piece) {
        auto length = static_cast<ub4>(into.size);
        const sb4 answer = callback(context, into.bytes, &length, &piece);
        size = length;
        return answer;
    };
}

// The buffer that the callback changes to is the one that holds the piece.
give_piece giver(void *context, OCICallbackLobWrite2 callback)
{
    if (!callback)
        return {};
    return [=](buffer &into, std::size_t &size, ub1 &piece) {
        void *changed = nullptr;
        oraub8 changed_size = 0, length = into.size;
        const sb4 answer = callback(context, into.bytes, &length, &piece, &changed, &changed_size);
        if (changed && changed_size)
            into = {changed, changed_size};
        size = length;
        return answer;
    };
}

} // namespace sqlite_oci
