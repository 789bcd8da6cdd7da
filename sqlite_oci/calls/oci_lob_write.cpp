// The writing of LOBs, in both widths.
#include "calls/lob_buffers.h"

using namespace sqlite_oci;

namespace
{

struct write_request {
    std::optional<oraub8> offset;  // none: at the end
    std::size_t bytes, characters; // in the buffer; characters are used where they are given
    buffer from;
    ub1 piece;
    charset set;
    give_piece callback;
};

// The part of the buffer that a write in one piece takes.
std::string_view whole_data(const write_request &request, bool is_text)
{
    const auto all = request.from.view(request.from.size);
    if (is_text && request.characters > all.size())
        refuse("the amount to write is more than the buffer holds");
    std::size_t size = request.bytes ? request.bytes : all.size();
    if (is_text && request.characters)
        size = request.set == charset::utf16  ? request.characters * 2
               : request.set == charset::utf8 ? utf8_offset_of_utf16(all, request.characters)
                                              : request.characters;
    if (size > all.size())
        refuse("the amount to write is more than the buffer holds");
    return all.substr(0, size);
}

sword finish_writing(lob_call &call, lob_write writing, lob_amounts &written)
{
    call.check_writable(); // the transaction may be over since the first piece
    call.locator.writing.reset();
    written = writing.finish(call.change());
    return OCI_SUCCESS;
}

sword write_by_callback(lob_call &call, write_request &request, lob_amounts &written)
{
    ub1 piece = OCI_FIRST_PIECE;
    // Kept here meanwhile: the callback may begin another transfer with the locator.
    lob_write writing = std::move(*call.locator.writing);
    call.locator.writing.reset();
    while (piece != OCI_LAST_PIECE) {
        call.check_break();
        std::size_t size = 0;
        piece = OCI_NEXT_PIECE;
        const sb4 answer = call.outside([&] { return request.callback(request.from, size, piece); });
        if (answer != OCI_CONTINUE)
            fail_in_callback(answer);
        if (size > request.from.size)
            refuse("the program's callback tells more bytes than its buffer holds");
        writing.add(request.from.view(size));
    }
    return finish_writing(call, std::move(writing), written);
}

void start_writing(lob_call &call, const write_request &request)
{
    call.check_writable();
    const lob_content &content = call.content();
    const std::size_t offset = request.offset ? from_first(*request.offset) : content.length();
    call.locator.reading.reset();
    call.locator.writing.emplace(content.is_text(), request.set, offset);
}

sword write(lob_call &call, write_request request, lob_amounts &written)
{
    std::optional<lob_write> &writing = call.locator.writing;
    const bool is_start = request.piece == OCI_ONE_PIECE || request.piece == OCI_FIRST_PIECE;
    if (is_start)
        start_writing(call, request);
    else if (!writing)
        refuse("no piecewise write is in progress: begin with the first piece");
    else if (request.piece != OCI_NEXT_PIECE && request.piece != OCI_LAST_PIECE)
        refuse("the piece is none of OCI_ONE_PIECE, OCI_FIRST_PIECE, OCI_NEXT_PIECE, OCI_LAST_PIECE");
    try {
        if (request.from.size || is_start)
            request.from.check();
        const bool is_text = call.value().is_text;
        writing->add(request.piece == OCI_ONE_PIECE ? whole_data(request, is_text)
                                                    : request.from.view(request.from.size));
        if (request.piece == OCI_ONE_PIECE || request.piece == OCI_LAST_PIECE)
            return finish_writing(call, std::move(*writing), written);
        if (request.callback)
            return write_by_callback(call, request, written);
    } catch (...) {
        writing.reset();
        throw;
    }
    call.errors.set(make_record(3129, "the next piece of the LOB is required"));
    return OCI_NEED_DATA;
}

// What amounts of the two forms mean; they are told back when the write is complete.
sword write_classic(lob_call &call, ub4 *amount, write_request request)
{
    if (!amount)
        refuse("there is no amount");
    const bool is_text = call.value().is_text;
    (is_text && is_fixed_width(request.set) ? request.characters : request.bytes) = *amount;
    lob_amounts written;
    const sword status = write(call, std::move(request), written);
    if (status == OCI_SUCCESS)
        *amount = static_cast<ub4>(is_text ? written.characters : written.bytes);
    return status;
}

sword write_wide(lob_call &call, oraub8 *bytes, oraub8 *characters, write_request request)
{
    request.bytes = bytes ? *bytes : 0;
    request.characters = characters ? *characters : 0;
    lob_amounts written;
    const sword status = write(call, std::move(request), written);
    if (status == OCI_SUCCESS) {
        if (bytes)
            *bytes = written.bytes;
        if (characters)
            *characters = written.characters;
    }
    return status;
}

} // namespace

extern "C" {

// *amtp: bytes in the buffer, or characters for text in the sets where all have one length. Told back when
// the write is complete: characters of text, or bytes, in the LOB.
SQLITE_OCI_EXPORT sword OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp,
                                    ub4 offset, void *bufp, ub4 buflen, ub1 piece, void *ctxp,
                                    OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        return write_classic(call, amtp,
                             {offset,
                              0,
                              0,
                              {bufp, buflen},
                              piece,
                              transfer_set(*call.locator.env, csid, csfrm),
                              giver(ctxp, cbfp)});
    });
}

SQLITE_OCI_EXPORT sword OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp,
                                     oraub8 *byte_amtp, oraub8 *char_amtp, oraub8 offset, void *bufp,
                                     oraub8 buflen, ub1 piece, void *ctxp, OCICallbackLobWrite2 cbfp,
                                     ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        return write_wide(call, byte_amtp, char_amtp,
                          {offset,
                           0,
                           0,
                           {bufp, buflen},
                           piece,
                           transfer_set(*call.locator.env, csid, csfrm),
                           giver(ctxp, cbfp)});
    });
}

SQLITE_OCI_EXPORT sword OCILobWriteAppend(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp, ub4 *amtp,
                                          void *bufp, ub4 bufl, ub1 piece, void *ctxp,
                                          OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, lobp, [&](lob_call &call) {
        return write_classic(call, amtp,
                             {std::nullopt,
                              0,
                              0,
                              {bufp, bufl},
                              piece,
                              transfer_set(*call.locator.env, csid, csfrm),
                              giver(ctxp, cbfp)});
    });
}

SQLITE_OCI_EXPORT sword OCILobWriteAppend2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp,
                                           oraub8 *byte_amtp, oraub8 *char_amtp, void *bufp, oraub8 bufl,
                                           ub1 piece, void *ctxp, OCICallbackLobWrite2 cbfp, ub2 csid,
                                           ub1 csfrm)
{
    return on_lob(svchp, errhp, lobp, [&](lob_call &call) {
        return write_wide(call, byte_amtp, char_amtp,
                          {std::nullopt,
                           0,
                           0,
                           {bufp, bufl},
                           piece,
                           transfer_set(*call.locator.env, csid, csfrm),
                           giver(ctxp, cbfp)});
    });
}

} // extern "C"
