/*
 * External procedures, XML contexts, formatted output and user callbacks: calls that hand out handles or hide
 * them in structures, in a list of arguments without types, or behind a callback.
 */
#include <stdlib.h>

#include "written.h"

namespace
{

/* The manager's handle for one that a backend hands out: the same for the same. */
omx_handle *handed_out(ub4 type, omx_handle *env, ub1 backend, void *own)
{
    omx_handle *h = omx_find_wrapped(omx_family(type), env, backend, own);
    if (h)
        return h;
    if (type == OCI_HTYPE_SVCCTX)
        return omx_new_service(env, backend, own);
    if (type != OCI_HTYPE_ENV)
        return omx_wrap(type, env, backend, own, nullptr);
    h = omx_new(OCI_HTYPE_ENV, nullptr);
    if (!h)
        return nullptr;
    h->extra = calloc(1, sizeof(omx_environment));
    if (!h->extra) {
        omx_release(h);
        return nullptr;
    }
    omx_note_connected(h, backend);
    omx_set_own(h, backend, own);
    omx_publish(h);
    return h;
}

/* ---- user callbacks ---- */

/* One registration. They are few, and stay. */
struct registration {
    registration *next;
    omx_handle *handle;
    ub4 fcode;
    ub4 when;
    OCIUserCallback callback;
    void *context;
};
registration *registrations;

registration *find_registration(const omx_handle *h, ub4 fcode, ub4 when)
{
    for (registration *r = __atomic_load_n(&registrations, __ATOMIC_ACQUIRE); r; r = r->next)
        if (r->handle == h && r->fcode == fcode && r->when == when)
            return r;
    return nullptr;
}

registration *new_registration(omx_handle *h, ub4 fcode, ub4 when)
{
    registration *r = find_registration(h, fcode, when);
    if (r)
        return r;
    r = (registration *)calloc(1, sizeof(registration));
    if (!r)
        return nullptr;
    r->handle = h;
    r->fcode = fcode;
    r->when = when;
    r->next = __atomic_load_n(&registrations, __ATOMIC_RELAXED);
    while (
        !__atomic_compare_exchange_n(&registrations, &r->next, r, true, __ATOMIC_RELEASE, __ATOMIC_RELAXED))
        ;
    return r;
}

/* The arguments of the call behind it are the backend's: a list without types cannot be followed. */
sword on_user_call(void *context, void *own, ub4 type, ub4 fcode, ub4 when, sword returnCode, sb4 *errnop,
                   va_list arglist)
{
    const registration *r = (const registration *)context;
    if (!r->callback)
        return OCI_SUCCESS;
    void *hndlp = r->handle;
    if (type != r->handle->type || own != r->handle->backend[r->handle->run]) {
        for (unsigned int backend = 0; backend < omx_backend_count; backend++)
            if (omx_handle *h = omx_find_wrapped(omx_family(type), r->handle->env, backend, own))
                hndlp = h;
    }
    return r->callback(r->context, hndlp, type, fcode, when, returnCode, errnop, arglist);
}

} // namespace

namespace written
{

/* The agent that runs external procedures is the database's own, so there is one backend. */
sword ociepgoe(OCIExtProcContext *ctx, OCIEnv **envh, OCISvcCtx **svch, OCIError **errh)
{
    const ub1 backend = omx_process_backend();
    if (!envh || !svch || !errh)
        return OCI_INVALID_HANDLE;
    OMX_NEED(ociepgoe, backend, nullptr);
    OCIEnv *own_env = nullptr;
    OCISvcCtx *own_svc = nullptr;
    OCIError *own_err = nullptr;
    const sword rc = omx_calls.ociepgoe[backend](ctx, &own_env, &own_svc, &own_err);
    if (!omx_succeeded(rc))
        return rc;
    omx_handle *env = handed_out(OCI_HTYPE_ENV, nullptr, backend, own_env);
    omx_handle *svc = env ? handed_out(OCI_HTYPE_SVCCTX, env, backend, own_svc) : nullptr;
    omx_handle *err = env ? handed_out(OCI_HTYPE_ERROR, env, backend, own_err) : nullptr;
    if (!svc || !err)
        return OCI_ERROR;
    *envh = (OCIEnv *)(void *)env;
    *svch = (OCISvcCtx *)(void *)svc;
    *errh = (OCIError *)(void *)err;
    return rc;
}

/* One of its parameters may be an error handle. */
xmlctx *OCIXmlDbInitXmlCtx(OCIEnv *envhp, OCISvcCtx *svchp, OCIError *errhp, ocixmldbparam *params,
                           ub4 num_params)
{
    omx_handle *env = omx_find(envhp, OCI_HTYPE_ENV);
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    ocixmldbparam own[8];
    if (!env || !svch || !omx_optional_error(errhp, &errh) || num_params > sizeof own / sizeof *own)
        return nullptr;
    const ub1 backend = svch->run;
    if (!omx_calls.OCIXmlDbInitXmlCtx[backend]) {
        omx_no_entry_point(errh, backend, "OCIXmlDbInitXmlCtx");
        return nullptr;
    }
    for (ub4 i = 0; params && i < num_params; i++) {
        own[i] = params[i];
        if (const omx_handle *h = omx_find(own[i].value_ocixmldbparam, OCI_HTYPE_ERROR))
            own[i].value_ocixmldbparam = h->backend[backend];
    }
    xmlctx *result = omx_calls.OCIXmlDbInitXmlCtx[backend](
        omx_own<OCIEnv>(env, backend), omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend),
        params ? own : nullptr, num_params);
    if (!result)
        omx_reported(errh, backend);
    return result;
}

sword OCIUserCallbackRegister(void *hndlp, ub4 type, void *ehndlp, OCIUserCallback callback, void *ctxp,
                              ub4 fcode, ub4 when, OCIUcb *ucbDesc)
{
    omx_handle *h = omx_find_typed(hndlp, type);
    omx_handle *errh = ehndlp ? omx_find_any(ehndlp) : nullptr;
    omx_handle *ucb = nullptr;
    if (!h || (ehndlp && !errh) || !omx_optional(ucbDesc, OCI_DTYPE_UCB, &ucb))
        return OCI_INVALID_HANDLE;
    registration *r = new_registration(h, fcode, when);
    if (!r)
        return OCI_ERROR;
    r->callback = callback;
    r->context = ctxp;
    sword result = OCI_ERROR;
    bool done = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(h->targets & omx_bit(backend)) || !omx_calls.OCIUserCallbackRegister[backend])
            continue;
        const sword rc = omx_calls.OCIUserCallbackRegister[backend](
            h->backend[backend], type, omx_own<void>(errh, backend), callback ? on_user_call : nullptr, r,
            fcode, when, omx_own<OCIUcb>(ucb, backend));
        if (!done || (omx_succeeded(rc) && !omx_succeeded(result)))
            result = rc;
        if (errh && errh->type == OCI_HTYPE_ERROR)
            omx_done(errh, backend, rc);
        done = true;
    }
    return result;
}

sword OCIUserCallbackGet(void *hndlp, ub4 type, void *ehndlp, ub4 fcode, ub4 when, OCIUserCallback *callbackp,
                         void **ctxpp, OCIUcb *ucbDesc)
{
    omx_handle *h = omx_find_typed(hndlp, type);
    omx_handle *errh = ehndlp ? omx_find_any(ehndlp) : nullptr;
    omx_handle *ucb = nullptr;
    if (!h || (ehndlp && !errh) || !omx_optional(ucbDesc, OCI_DTYPE_UCB, &ucb))
        return OCI_INVALID_HANDLE;
    const ub1 backend = h->run;
    omx_handle *reported = errh && errh->type == OCI_HTYPE_ERROR ? errh : nullptr;
    OMX_NEED(OCIUserCallbackGet, backend, reported);
    const sword rc = omx_done(
        reported, backend,
        omx_calls.OCIUserCallbackGet[backend](h->backend[backend], type, omx_own<void>(errh, backend), fcode,
                                              when, callbackp, ctxpp, omx_own<OCIUcb>(ucb, backend)));
    const registration *r = find_registration(h, fcode, when);
    if (omx_succeeded(rc) && r) {
        if (callbackp)
            *callbackp = r->callback;
        if (ctxpp)
            *ctxpp = r->context;
    }
    return rc;
}

} // namespace written

/* ---- OCIFormatString ---- */

/*
 * Finds out where the call goes and changes its two handles in place. All other arguments, of which nobody
 * knows how many there are, stay where the program put them.
 */
extern "C" void *omx_format_target(void **hndl, void **err) __attribute__((visibility("hidden")));

namespace
{

sword refuse_format(void)
{
    return OCI_INVALID_HANDLE;
}

sword lack_format(void)
{
    return OCI_ERROR;
}

} // namespace

extern "C" void *omx_format_target(void **hndl, void **err)
{
    omx_handle *h = omx_find_any(*hndl);
    omx_handle *errh = nullptr;
    if (!h || !omx_optional_error(*err, &errh))
        return (void *)refuse_format;
    const ub1 backend = h->run;
    if (!omx_calls.OCIFormatString[backend]) {
        omx_no_entry_point(errh, backend, "OCIFormatString");
        return (void *)lack_format;
    }
    // Its result is not seen here, so that the backend counts as having reported.
    omx_reported(errh, backend);
    *hndl = h->backend[backend];
    *err = omx_own<void>(errh, backend);
    return (void *)omx_calls.OCIFormatString[backend];
}

asm(".pushsection .text\n"
    ".p2align 4\n"
    ".globl OCIFormatString\n"
    ".type OCIFormatString, @function\n"
    "OCIFormatString:\n"
    ".cfi_startproc\n"
    "endbr64\n"
    "push %rbp\n"
    ".cfi_def_cfa_offset 16\n"
    ".cfi_offset %rbp, -16\n"
    "mov %rsp, %rbp\n"
    ".cfi_def_cfa_register %rbp\n"
    "sub $192, %rsp\n"
    "mov %rdi, 0(%rsp)\n"
    "mov %rsi, 8(%rsp)\n"
    "mov %rdx, 16(%rsp)\n"
    "mov %rcx, 24(%rsp)\n"
    "mov %r8, 32(%rsp)\n"
    "mov %r9, 40(%rsp)\n"
    "mov %rax, 48(%rsp)\n" // the number of vector registers with arguments
    "movaps %xmm0, 64(%rsp)\n"
    "movaps %xmm1, 80(%rsp)\n"
    "movaps %xmm2, 96(%rsp)\n"
    "movaps %xmm3, 112(%rsp)\n"
    "movaps %xmm4, 128(%rsp)\n"
    "movaps %xmm5, 144(%rsp)\n"
    "movaps %xmm6, 160(%rsp)\n"
    "movaps %xmm7, 176(%rsp)\n"
    "lea 0(%rsp), %rdi\n"
    "lea 8(%rsp), %rsi\n"
    "call omx_format_target\n"
    "mov %rax, %r11\n"
    "mov 0(%rsp), %rdi\n"
    "mov 8(%rsp), %rsi\n"
    "mov 16(%rsp), %rdx\n"
    "mov 24(%rsp), %rcx\n"
    "mov 32(%rsp), %r8\n"
    "mov 40(%rsp), %r9\n"
    "mov 48(%rsp), %rax\n"
    "movaps 64(%rsp), %xmm0\n"
    "movaps 80(%rsp), %xmm1\n"
    "movaps 96(%rsp), %xmm2\n"
    "movaps 112(%rsp), %xmm3\n"
    "movaps 128(%rsp), %xmm4\n"
    "movaps 144(%rsp), %xmm5\n"
    "movaps 160(%rsp), %xmm6\n"
    "movaps 176(%rsp), %xmm7\n"
    "leave\n"
    ".cfi_def_cfa %rsp, 8\n"
    ".cfi_restore %rbp\n"
    "jmp *%r11\n"
    ".cfi_endproc\n"
    ".size OCIFormatString, .-OCIFormatString\n"
    ".popsection\n");
