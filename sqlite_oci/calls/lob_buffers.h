// What LOB transfers share: offsets, amounts, buffers and the program's callbacks.
#pragma once

#include "calls/lob_call.h"

#include <functional>

namespace sqlite_oci
{

[[noreturn]] inline void refuse(const char *what)
{
    fail(ora_bad_lob_argument, "%s", what);
}

// The offset from 0 of an offset from 1.
inline std::size_t from_first(oraub8 offset)
{
    if (offset == 0)
        refuse("offsets in a LOB count from 1");
    return offset - 1;
}

// The character set of a transfer with these arguments.
charset transfer_set(const environment &env, ub2 set_id, ub1 form);

// Sets of one length for all characters have their amounts counted in characters, the others in bytes.
inline bool is_fixed_width(charset set)
{
    return set != charset::utf8;
}

[[noreturn]] inline void fail_in_callback(sb4 answer)
{
    fail(24343, "the program's callback answered %d and not OCI_CONTINUE", static_cast<int>(answer));
}

// A buffer of the program's, which its callback may replace for the next piece.
struct buffer {
    void *bytes;
    std::size_t size;

    void check() const
    {
        if (!bytes || size == 0)
            refuse("there is no buffer for the LOB's data");
    }
    std::string_view view(std::size_t length) const { return {static_cast<const char *>(bytes), length}; }
};

// Takes a piece of so many bytes from the buffer.
using take_piece = std::function<sb4(buffer &, std::size_t size, ub1 piece)>;
// Puts a piece into the buffer, and tells its size and which piece it is.
using give_piece = std::function<sb4(buffer &, std::size_t &size, ub1 &piece)>;

// Null where there is no callback.
take_piece taker(void *context, OCICallbackLobRead callback);
take_piece taker(void *context, OCICallbackLobRead2 callback);
give_piece giver(void *context, OCICallbackLobWrite callback);
give_piece giver(void *context, OCICallbackLobWrite2 callback);

} // namespace sqlite_oci
