// Transfers of LOBs: length, read, write, trim, erase, in both widths.
#include "calls/lob_call.h"

#include <algorithm>
#include <functional>

using namespace sqlite_oci;

namespace
{

[[noreturn]] void refuse(const char *what)
{
    fail(ora_bad_lob_argument, "%s", what);
}

std::size_t from_first(oraub8 offset)
{
    if (offset == 0)
        refuse("offsets in a LOB count from 1");
    return offset - 1;
}

charset transfer_set(const environment &env, ub2 set_id, ub1 form)
{
    if (set_id)
        return env.set_from_id(set_id);
    return form == SQLCS_NCHAR ? env.national : env.set;
}

// Sets of one length for all characters have their amounts counted in characters, the others in bytes.
bool is_fixed_width(charset set)
{
    return set != charset::utf8;
}

[[noreturn]] void fail_in_callback(sb4 answer)
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

// --- Reading

struct read_request {
    oraub8 offset;
    std::size_t characters, bytes; // most that is wanted
    buffer into;
    charset set;
    take_piece callback;
    bool goes_on;      // with the transfer that is in progress
    bool is_one_piece; // what fits the buffer, and no more
};

sword end_of_lob(const lob_call &call)
{
    call.errors.set(make_record(1403, "there is no more data in the LOB"));
    return OCI_NO_DATA;
}

sword read_by_callback(const lob_call &call, const lob_content &content, read_request &request,
                       lob_amounts &total)
{
    lob_read reading = *call.locator.reading;
    call.locator.reading.reset();
    bool is_last = false;
    for (bool is_first = true; !is_last; is_first = false) {
        call.check_break();
        const lob_amounts taken = reading.take(content, request.into.bytes, request.into.size);
        total.bytes += taken.bytes;
        total.characters += taken.characters;
        is_last = reading.is_done(content);
        const int piece = is_first  ? is_last ? OCI_ONE_PIECE : OCI_FIRST_PIECE
                          : is_last ? OCI_LAST_PIECE
                                    : OCI_NEXT_PIECE;
        const sb4 answer = request.callback(request.into, taken.bytes, static_cast<ub1>(piece));
        if (answer != OCI_CONTINUE)
            fail_in_callback(answer);
    }
    return OCI_SUCCESS;
}

sword read(const lob_call &call, read_request request, lob_amounts &taken)
{
    request.into.check();
    const lob_content &content = call.locator.value().current();
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
        return end_of_lob(call);
    }
    if (request.callback)
        return read_by_callback(call, content, request, taken);
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

// --- Writing

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

sword finish_writing(const lob_call &call, lob_amounts &written)
{
    call.locator.check_writable(*call.on); // the transaction may be over since the first piece
    lob_write writing = std::move(*call.locator.writing);
    call.locator.writing.reset();
    written = writing.finish(call.change());
    return OCI_SUCCESS;
}

sword write_by_callback(const lob_call &call, write_request &request, lob_amounts &written)
{
    ub1 piece = OCI_FIRST_PIECE;
    while (piece != OCI_LAST_PIECE) {
        call.check_break();
        std::size_t size = 0;
        piece = OCI_NEXT_PIECE;
        const sb4 answer = request.callback(request.from, size, piece);
        if (answer != OCI_CONTINUE)
            fail_in_callback(answer);
        if (size > request.from.size)
            refuse("the program's callback tells more bytes than its buffer holds");
        call.locator.writing->add(request.from.view(size));
    }
    return finish_writing(call, written);
}

void start_writing(const lob_call &call, const write_request &request)
{
    call.locator.check_writable(*call.on);
    const lob_content &content = call.locator.value().current();
    const std::size_t offset = request.offset ? from_first(*request.offset) : content.length();
    call.locator.reading.reset();
    call.locator.writing.emplace(content.is_text(), request.set, offset);
}

sword write(const lob_call &call, write_request request, lob_amounts &written)
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
        const bool is_text = call.locator.value().content.is_text();
        writing->add(request.piece == OCI_ONE_PIECE ? whole_data(request, is_text)
                                                    : request.from.view(request.from.size));
        if (request.piece == OCI_ONE_PIECE || request.piece == OCI_LAST_PIECE)
            return finish_writing(call, written);
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
sword write_classic(const lob_call &call, ub4 *amount, write_request request)
{
    if (!amount)
        refuse("there is no amount");
    const bool is_text = call.locator.value().content.is_text();
    (is_text && is_fixed_width(request.set) ? request.characters : request.bytes) = *amount;
    lob_amounts written;
    const sword status = write(call, std::move(request), written);
    if (status == OCI_SUCCESS)
        *amount = static_cast<ub4>(is_text ? written.characters : written.bytes);
    return status;
}

sword write_wide(const lob_call &call, oraub8 *bytes, oraub8 *characters, write_request request)
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

template <class Length> sword get_length(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Length *lenp)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        if (!lenp)
            refuse("there is no place for the length");
        *lenp = static_cast<Length>(call.locator.value().current().length());
        return OCI_SUCCESS;
    });
}

sword trim(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 length)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        call.locator.check_writable(*call.on);
        if (length > call.locator.value().current().length())
            fail(22926, "the LOB is shorter than the length to trim it to");
        call.change().trim(length);
        return OCI_SUCCESS;
    });
}

// Erased text becomes blanks, erased bytes zero; the length stays.
template <class Amount>
sword erase(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, Amount *amount, oraub8 offset)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        if (!amount)
            refuse("there is no amount");
        call.locator.check_writable(*call.on);
        const std::size_t start = from_first(offset);
        const lob_content &content = call.locator.value().current();
        const std::size_t length = content.length();
        const std::size_t erased = start < length ? std::min<std::size_t>(*amount, length - start) : 0;
        if (erased)
            call.change().write(start, std::string(erased, content.is_text() ? ' ' : '\0'));
        *amount = static_cast<Amount>(erased);
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp)
{
    return get_length(svchp, errhp, locp, lenp);
}

SQLITE_OCI_EXPORT sword OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp)
{
    return get_length(svchp, errhp, locp, lenp);
}

// *amtp: characters of text, or bytes; 0 reads to the end. Told back: bytes in the buffer, or characters in
// the sets where all have one length. While OCI_NEED_DATA is returned, the next call gets the next piece.
SQLITE_OCI_EXPORT sword OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp,
                                   ub4 offset, void *bufp, ub4 bufl, void *ctxp, OCICallbackLobRead cbfp,
                                   ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
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
        const bool in_characters = call.locator.value().content.is_text() && is_fixed_width(set);
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
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        const bool is_text = call.locator.value().content.is_text();
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

// *amtp: bytes in the buffer, or characters for text in the sets where all have one length. Told back when
// the write is complete: characters of text, or bytes, in the LOB.
SQLITE_OCI_EXPORT sword OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp,
                                    ub4 offset, void *bufp, ub4 buflen, ub1 piece, void *ctxp,
                                    OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
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
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
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
    return on_lob(svchp, errhp, lobp, [&](const lob_call &call) {
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
    return on_lob(svchp, errhp, lobp, [&](const lob_call &call) {
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

SQLITE_OCI_EXPORT sword OCILobTrim(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 newlen)
{
    return trim(svchp, errhp, locp, newlen);
}

SQLITE_OCI_EXPORT sword OCILobTrim2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 newlen)
{
    return trim(svchp, errhp, locp, newlen);
}

SQLITE_OCI_EXPORT sword OCILobErase(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amount,
                                    ub4 offset)
{
    return erase(svchp, errhp, locp, amount, offset);
}

SQLITE_OCI_EXPORT sword OCILobErase2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *amount,
                                     oraub8 offset)
{
    return erase(svchp, errhp, locp, amount, offset);
}

} // extern "C"
