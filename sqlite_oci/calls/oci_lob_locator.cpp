// Locators: what they stand for, and what is done with whole LOBs.
#include "calls/lob_call.h"

#include <algorithm>

using namespace sqlite_oci;

namespace
{

// A value is transferred in any pieces; this is what a program may use as their size.
constexpr ub4 chunk_size = 64 << 10;
constexpr oraub8 longest_lob = 1'000'000'000; // bytes, as SQLite stores them

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

// The copy of a locator stands for the same LOB; a temporary LOB is copied with it.
void assign(const lob_locator &from, lob_locator &to)
{
    if (&from == &to)
        return;
    auto target = from.target;
    if (target && target->is_temporary)
        target = std::make_shared<lob>(*target);
    to.point_to(std::move(target));
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
    return content.bytes().substr(from, to - from);
}

// Writes a part of one LOB into another of the same kind; no `at` is its end.
void copy(const lob_call &call, OCILobLocator *source, oraub8 amount, std::optional<oraub8> at, oraub8 offset)
{
    const lob_content &from = required<lob_locator>(source).value().current();
    call.locator.check_writable(*call.on);
    const lob_content &to = call.locator.value().current();
    if (offset == 0 || (at && *at == 0))
        fail(ora_bad_lob_argument, "offsets in a LOB count from 1");
    if (from.is_text() != to.is_text())
        fail(932, "text cannot be copied into a LOB of bytes, nor bytes into one of text");
    const std::string part = part_of(from, offset - 1, amount);
    call.change().write(at ? *at - 1 : to.length(), part);
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
                  [](const lob_locator &locator) { return locator.target != nullptr; });
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
    *is_equal = one->target && one->target == other->target;
    return OCI_SUCCESS;
}

// A LOB of bytes has no character set: 0.
SQLITE_OCI_EXPORT sword OCILobCharSetForm(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp,
                                          ub1 *csfrm)
{
    return answer(envhp, errhp, locp, csfrm, [](const lob_locator &locator) {
        return static_cast<ub1>(locator.value().content.is_text() ? SQLCS_IMPLICIT : 0);
    });
}

SQLITE_OCI_EXPORT sword OCILobCharSetId(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, ub2 *csid)
{
    return answer(envhp, errhp, locp, csid, [](const lob_locator &locator) {
        return locator.value().content.is_text() ? charset_id(charset::utf8) : ub2{0};
    });
}

SQLITE_OCI_EXPORT sword OCILobIsTemporary(OCIEnv *envhp, OCIError *errhp, OCILobLocator *locp,
                                          int *is_temporary)
{
    return answer(envhp, errhp, locp, is_temporary,
                  [](const lob_locator &locator) { return locator.target && locator.target->is_temporary; });
}

SQLITE_OCI_EXPORT sword OCILobGetChunkSize(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp,
                                           ub4 *chunksizep)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        call.locator.value();
        if (!chunksizep)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *chunksizep = chunk_size;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobGetStorageLimit(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp,
                                              oraub8 *limitp)
{
    return on_lob(svchp, errhp, lobp, [&](const lob_call &call) {
        call.locator.value();
        if (!limitp)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *limitp = longest_lob;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub1 mode)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        call.locator.value();
        if (mode != OCI_LOB_READONLY && mode != OCI_LOB_READWRITE)
            fail(ora_bad_lob_argument, "a LOB is opened with OCI_LOB_READONLY or OCI_LOB_READWRITE");
        if (call.locator.open_mode)
            fail(ora_lob_already_open, "the LOB is already open");
        if (mode == OCI_LOB_READWRITE)
            call.locator.check_writable(*call.on);
        call.locator.open_mode = mode;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobClose(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        call.locator.value();
        if (!call.locator.open_mode)
            fail(ora_lob_not_open, "the LOB is not open");
        call.locator.open_mode = 0;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobIsOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, int *flag)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        call.locator.value();
        if (!flag)
            fail(ora_bad_lob_argument, "there is no place for the answer");
        *flag = call.locator.open_mode != 0;
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobCreateTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub2,
                                              ub1, ub1 lobtype, int, OCIDuration)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        if (lobtype != OCI_TEMP_BLOB && lobtype != OCI_TEMP_CLOB && lobtype != OCI_TEMP_NCLOB)
            fail(ora_bad_lob_argument,
                 "a temporary LOB is an OCI_TEMP_BLOB, OCI_TEMP_CLOB or OCI_TEMP_NCLOB");
        auto made = std::make_shared<lob>(lobtype != OCI_TEMP_BLOB, "");
        made->is_temporary = true;
        call.locator.point_to(std::move(made));
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobFreeTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp)
{
    return on_lob(svchp, errhp, locp, [&](const lob_call &call) {
        if (!call.locator.value().is_temporary)
            fail(ora_invalid_locator, "the LOB is not a temporary one");
        call.locator.point_to(nullptr);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCILobAppend(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp,
                                     OCILobLocator *src_locp)
{
    return on_lob(svchp, errhp, dst_locp, [&](const lob_call &call) {
        copy(call, src_locp, longest_lob, std::nullopt, 1);
        return OCI_SUCCESS;
    });
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
    return on_lob(svchp, errhp, dst_locp, [&](const lob_call &call) {
        copy(call, src_locp, amount, dst_offset, src_offset);
        return OCI_SUCCESS;
    });
}

} // extern "C"
