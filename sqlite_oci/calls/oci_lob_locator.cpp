// Locators: what they stand for, and what is done with whole LOBs.
#include "calls/lob_call.h"

#include <algorithm>

using namespace sqlite_oci;

namespace
{

// A value is transferred in any pieces; this is what a program may use as their size.
constexpr ub4 chunk_size = 64 << 10;

// Answers a question about a locator without a connection.
template <class Answer, class Find>
sword answer(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, Answer *place, Find find_answer)
{
    return served(errhp, [&](call_errors) {
        required<environment>(envhp);
        const auto &locator = required<lob_locator>(locp);
        if (!place)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *place = find_answer(locator);
        return OCI_SUCCESS;
    });
}

std::shared_ptr<lob> copy_of(lob &temporary)
{
    const std::scoped_lock lock(temporary.mutex);
    auto copy = std::make_shared<lob>(temporary.is_text, temporary.content.bytes());
    copy->is_temporary = true;
    return copy;
}

// The copy of a locator stands for the same LOB; a temporary LOB is copied with it.
void assign(const lob_locator &from, lob_locator &to)
{
    if (&from == &to)
        return;
    callback_scope::check(to);
    const auto source = from.value_or_null();
    to.point_to(source && source->is_temporary ? copy_of(*source) : source);
}

sword assign_locator(OCIError *errhp, const OCILobLocator *from, OCILobLocator **to)
{
    return served(errhp, [&](call_errors) {
        const auto &source = required<lob_locator>(from);
        if (!to)
            throw invalid_handle{};
        assign(source, required<lob_locator>(*to));
        return OCI_SUCCESS;
    });
}

// Text of `amount` characters, or bytes, from `offset`.
std::string part_of(const lob_content &content, std::size_t offset, std::size_t amount)
{
    const std::size_t from = content.place_of(offset);
    const std::size_t to = content.place_of(offset + std::min(amount, content.length()));
    return std::string(content.part(from, to));
}

// Writes a part of one LOB, which may be the other itself, into another of the same kind; no `at` is its end.
sword copy(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *target, OCILobLocator *source, oraub8 amount,
           std::optional<oraub8> at, oraub8 offset)
{
    return served(errhp, [&](call_errors errors) {
        const auto open = required<service_context>(svchp).shared_connection();
        auto &from = required<lob_locator>(source), &to = required<lob_locator>(target);
        if (offset == 0 || (at && *at == 0))
            fail(ora_bad_lob_argument, "offsets in a LOB count from 1");
        std::string part;
        bool is_text = false;
        {
            const lob_call read(open, from, errors);
            read.check_unbuffered();
            is_text = read.value().is_text;
            part = part_of(read.content(), offset - 1, amount);
        }
        const lob_call write(open, to, errors);
        write.check_unbuffered();
        write.check_writable();
        if (is_text != write.value().is_text)
            fail(932, "text cannot be copied into a LOB of bytes, nor bytes into one of text");
        lob_content &changed = write.change();
        changed.write(at ? *at - 1 : changed.length(), part);
        return OCI_SUCCESS;
    });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCILobAssign(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *src_locp,
                                     OCILobLocator **dst_locpp)
{
    if (!find<environment>(envhp))
        return OCI_INVALID_HANDLE;
    return assign_locator(errhp, src_locp, dst_locpp);
}

SQLITE_OCI_EXPORT sword OCILobLocatorAssign(OCISvcCtx *svchp, OCIError *errhp, const OCILobLocator *src_locp,
                                            OCILobLocator **dst_locpp)
{
    if (!find<service_context>(svchp))
        return OCI_INVALID_HANDLE;
    return assign_locator(errhp, src_locp, dst_locpp);
}

SQLITE_OCI_EXPORT sword OCILobLocatorIsInit(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp,
                                            int *is_initialized)
{
    return answer(envhp, errhp, locp, is_initialized,
                  [](const lob_locator &locator) { return locator.value_or_null() != nullptr; });
}

// Locators that were not initialized are equal to none.
SQLITE_OCI_EXPORT sword OCILobIsEqual(OCIEnv *envhp, const OCILobLocator *x, const OCILobLocator *y,
                                      int *is_equal)
{
    const auto *one = find<lob_locator>(x), *other = find<lob_locator>(y);
    if (!find<environment>(envhp) || !one || !other)
        return OCI_INVALID_HANDLE;
    if (!is_equal)
        return OCI_ERROR;
    const auto value = one->value_or_null();
    *is_equal = value && value == other->value_or_null();
    return OCI_SUCCESS;
}

// A LOB of bytes has no character set: 0.
SQLITE_OCI_EXPORT sword OCILobCharSetForm(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp,
                                          ub1 *csfrm)
{
    return answer(envhp, errhp, locp, csfrm, [](const lob_locator &locator) {
        return static_cast<ub1>(locator.value()->is_text ? SQLCS_IMPLICIT : 0);
    });
}

SQLITE_OCI_EXPORT sword OCILobCharSetId(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, ub2 *csid)
{
    return answer(envhp, errhp, locp, csid, [](const lob_locator &locator) {
        return locator.value()->is_text ? charset_id(charset::utf8) : ub2{0};
    });
}

SQLITE_OCI_EXPORT sword OCILobIsTemporary(OCIEnv *envhp, OCIError *errhp, OCILobLocator *locp,
                                          int *is_temporary)
{
    return answer(envhp, errhp, locp, is_temporary, [](const lob_locator &locator) {
        const auto value = locator.value_or_null();
        return value && value->is_temporary;
    });
}

SQLITE_OCI_EXPORT sword OCILobGetChunkSize(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp,
                                           ub4 *chunksizep)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        if (!chunksizep)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *chunksizep = chunk_size;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobGetStorageLimit(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp,
                                              oraub8 *limitp)
{
    return on_lob(svchp, errhp, lobp, [&](lob_call &call) {
        call.value();
        if (!limitp)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *limitp = longest_lob;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub1 mode)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        if (mode != OCI_LOB_READONLY && mode != OCI_LOB_READWRITE)
            fail(ora_bad_lob_argument, "a LOB is opened with OCI_LOB_READONLY or OCI_LOB_READWRITE");
        if (call.locator.open_mode)
            fail(ora_lob_already_open, "the LOB is already open");
        call.locator.open_mode = mode;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobClose(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        if (!call.locator.open_mode)
            fail(ora_lob_not_open, "the LOB is not open");
        call.locator.open_mode = 0;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobIsOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, int *flag)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        call.value();
        if (!flag)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *flag = call.locator.open_mode != 0;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobCreateTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub2,
                                              ub1, ub1 lobtype, int, OCIDuration)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        if (lobtype != OCI_TEMP_BLOB && lobtype != OCI_TEMP_CLOB && lobtype != OCI_TEMP_NCLOB)
            fail(ora_bad_lob_argument,
                 "a temporary LOB is an OCI_TEMP_BLOB, OCI_TEMP_CLOB or OCI_TEMP_NCLOB");
        auto made = std::make_shared<lob>(lobtype != OCI_TEMP_BLOB, "");
        made->is_temporary = true;
        call.locator.set_target(std::move(made));
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobFreeTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return on_lob(svchp, errhp, locp, [&](lob_call &call) {
        if (!call.value().is_temporary)
            fail(ora_invalid_locator, "the LOB is not a temporary one");
        call.locator.set_target(nullptr);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobAppend(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp,
                                     OCILobLocator *src_locp)
{
    return copy(svchp, errhp, dst_locp, src_locp, longest_lob, std::nullopt, 1);
}

SQLITE_OCI_EXPORT sword OCILobCopy(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp,
                                   OCILobLocator *src_locp, ub4 amount, ub4 dst_offset, ub4 src_offset)
{
    return OCILobCopy2(svchp, errhp, dst_locp, src_locp, amount, dst_offset, src_offset);
}

SQLITE_OCI_EXPORT sword OCILobCopy2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp,
                                    OCILobLocator *src_locp, oraub8 amount, oraub8 dst_offset,
                                    oraub8 src_offset)
{
    return copy(svchp, errhp, dst_locp, src_locp, amount, dst_offset, src_offset);
}

} // extern "C"
