// The reading of LOBs, in both widths.
#include "calls/lob_buffers.h"

using namespace sqlite_oci;

namespace
{

struct read_request {
    oraub8 offset;
    std::size_t characters, bytes; // most that is wanted
    buffer into;
    charset set;
    take_piece callback;
    bool goes_on;      // with the transfer that is in progress
    bool is_one_piece; // what fits the buffer, and no more
};

sword end_of_lob(lob_call &call)
{
    call.errors.set(make_record(1403, "there is no more data in the LOB"));
    return OCI_NO_DATA;
}

sword read_by_callback(lob_call &call, read_request &request, lob_amounts &total)
{
    lob_read reading = *call.locator.reading;
    call.locator.reading.reset();
    bool is_last = false;
    for (bool is_first = true; !is_last; is_first = false) {
        call.check_break();
        const lob_content &content = call.content(); // callbacks take time, in which it may change
        if (!is_first && reading.is_done(content))
            fail(ora_bad_lob_argument, "the LOB became shorter while it was read");
        const lob_amounts taken = reading.take(content, request.into.bytes, request.into.size);
        total.bytes += taken.bytes;
        total.characters += taken.characters;
        is_last = reading.is_done(content);
        // The only piece is the last one, which callbacks wait for.
        const int piece = is_last ? OCI_LAST_PIECE : is_first ? OCI_FIRST_PIECE : OCI_NEXT_PIECE;
        const sb4 answer = call.outside(
            [&] { return request.callback(request.into, taken.bytes, static_cast<ub1>(piece)); });
        if (answer != OCI_CONTINUE)
            fail_in_callback(answer);
    }
    return OCI_SUCCESS;
}

sword read(lob_call &call, read_request request, lob_amounts &taken)
{
    request.into.check();
    const lob_content &content = call.content();
    std::optional<lob_read> &reading = call.locator.reading;
    taken = {};
    if (!request.goes_on) {
        call.locator.writing.reset();
        reading.emplace(content, request.set, from_first(request.offset), request.characters, request.bytes);
    } else if (!reading) {
        refuse("no piecewise read is in progress: begin with the first piece");
    }
    if (reading->is_done(content)) {
        reading.reset();
        // An empty LOB has been read as a whole; behind the end of another there is nothing to read.
        return content.size() == 0 && request.offset == 1 ? OCI_SUCCESS : end_of_lob(call);
    }
    if (request.callback)
        return read_by_callback(call, request, taken);
    try {
        taken = reading->take(content, request.into.bytes, request.into.size);
    } catch (...) {
        reading.reset();
        throw;
    }
    const bool is_last = request.is_one_piece || reading->is_done(content);
    if (!is_last) {
        call.errors.set(make_record(3130, "the buffer for the next piece of the LOB is required"));
        return OCI_NEED_DATA;
    }
    reading.reset();
    return OCI_SUCCESS;
}

std::size_t limit(oraub8 amount)
{
    return amount ? amount : lob_read::no_limit;
}

} // namespace

extern "C" {

// *amtp: characters of text, or bytes; 0 reads to the end. Told back: bytes in the buffer, or characters in
// the sets where all have one length. While OCI_NEED_DATA is returned, the next call gets the next piece.
SQLITE_OCI_EXPORT sword OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp,
                                   ub4 offset, void *bufp, ub4 bufl, void *ctxp, OCICallbackLobRead cbfp,
                                   ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        if (!amtp)
            refuse("there is no amount");
        const charset set = transfer_set(*call.locator.env, csid, csfrm);
        lob_amounts taken;
        const sword status = read(call,
                                  {.offset = offset,
                                   .characters = limit(*amtp),
                                   .bytes = lob_read::no_limit,
                                   .into = {bufp, bufl},
                                   .set = set,
                                   .callback = taker(ctxp, cbfp),
                                   .goes_on = call.locator.reading.has_value(),
                                   .is_one_piece = false},
                                  taken);
        const bool in_characters = call.value().is_text && is_fixed_width(set);
        *amtp = static_cast<ub4>(in_characters ? taken.characters : taken.bytes);
        return status;
    });
}

// The number of characters counts for text where it is not 0, else the number of bytes; when both are 0, all
// up to the end is read. Both are told back.
SQLITE_OCI_EXPORT sword OCILobRead2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp,
                                    oraub8 *char_amtp, oraub8 offset, void *bufp, oraub8 bufl, ub1 piece,
                                    void *ctxp, OCICallbackLobRead2 cbfp, ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        const bool is_text = call.value().is_text;
        const oraub8 characters = is_text && char_amtp ? *char_amtp : 0;
        const oraub8 bytes = characters == 0 && byte_amtp ? *byte_amtp : 0;
        lob_amounts taken;
        const sword status = read(call,
                                  {.offset = offset,
                                   .characters = limit(characters),
                                   .bytes = limit(bytes),
                                   .into = {bufp, bufl},
                                   .set = transfer_set(*call.locator.env, csid, csfrm),
                                   .callback = taker(ctxp, cbfp),
                                   .goes_on = piece == OCI_NEXT_PIECE || piece == OCI_LAST_PIECE,
                                   .is_one_piece = piece == OCI_ONE_PIECE},
                                  taken);
        if (byte_amtp)
            *byte_amtp = taken.bytes;
        if (char_amtp)
            *char_amtp = taken.characters;
        return status;
    });
}

} // extern "C"
