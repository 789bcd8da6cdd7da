/*
 * Environments. Each is made in every library that is there; where one fails, the other serves alone.
 */
#include <stdlib.h>
#include <string.h>

#include "written.h"

namespace
{

/* Stands at the start of every Dravik environment; Dravik's library looks for it. */
constexpr char environment_marker[] = {'Q', 'R', '.', 'S', 'T', '.', 'U', 'V'};

constexpr ub2 utf8_charset = 873; // AL32UTF8

/* The mode of OCIInitialize, which goes for environments made by OCIEnvInit. */
ub4 process_mode;

/* An environment without backends, so that the program can ask why. */
sword fail_environment(omx_handle *env, OCIEnv **envp)
{
    const sword rc =
        omx_fail(env, omx_error_no_library,
                 "Neither client library could be loaded. Set DKOM_ORA_LIB_PATH to the directory of "
                 "libclntsh.so, or DKOM_DRK_LIB_PATH to that of libdkoci.so. Oracle: %s. Dravik: %s.",
                 omx_libraries[omx_oracle].reason, omx_libraries[omx_dravik].reason);
    omx_publish(env);
    *envp = (OCIEnv *)(void *)env;
    return rc;
}

/* What an environment manages its memory with, and the memory that it makes for the program. */
struct memory {
    void *(*malocfp)(void *, size_t);
    void *(*ralocfp)(void *, void *, size_t);
    void (*mfreefp)(void *, void *);
    size_t xtramem_sz;
    void **usrmempp;
};

/*
 * Makes an environment in every backend. `make` is called once a backend with what that backend is given: the
 * program's memory is for the first that takes it, since two would manage the same memory otherwise.
 */
template <class Make> sword create(OCIEnv **envp, ub4 mode, bool is_utf16, memory program, Make make)
{
    if (!envp)
        return OCI_INVALID_HANDLE;
    *envp = nullptr;
    const ub1 loaded = omx_load();
    omx_handle *env = omx_new(OCI_HTYPE_ENV, nullptr);
    if (!env)
        return OCI_ERROR;
    omx_environment *extra = (omx_environment *)calloc(1, sizeof(omx_environment));
    env->extra = extra;
    if (!extra) {
        omx_release(env);
        return OCI_ERROR;
    }
    extra->mode = mode;
    extra->is_utf16 = is_utf16;
    if (!loaded)
        return fail_environment(env, envp);

    sword result = OCI_ERROR;
    bool made = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(loaded & omx_bit(backend)))
            continue;
        OCIEnv *own = nullptr;
        const sword rc = make(backend, &own, program);
        if (!made && (omx_succeeded(rc) || result == OCI_ERROR))
            result = rc;
        if (!omx_succeeded(rc) || !own)
            continue;
        made = true;
        omx_set_own(env, backend, own);
        if (backend == omx_dravik)
            memcpy((void *)own, environment_marker, sizeof environment_marker);
        program = {nullptr, nullptr, nullptr, 0, nullptr};
    }
    if (!made) {
        omx_release(env);
        return result;
    }
    omx_publish(env);
    extra->connected = env->run;
    *envp = (OCIEnv *)(void *)env;
    return result;
}

/* Dravik's side of an environment with UTF-16 texts: its own texts are UTF-8. */
sword create_narrow(OCIEnv **own, ub4 mode, void *ctxp, const memory &m, ub2 ncharset)
{
    if (!omx_calls.OCIEnvNlsCreate[omx_dravik])
        return OCI_ERROR;
    return omx_calls.OCIEnvNlsCreate[omx_dravik](own, mode & ~(ub4)OCI_UTF16, ctxp, m.malocfp, m.ralocfp,
                                                 m.mfreefp, m.xtramem_sz, m.usrmempp, utf8_charset, ncharset);
}

} // namespace

namespace written
{

sword OCIInitialize(ub4 mode, void *ctxp, void *(*malocfp)(void *, size_t),
                    void *(*ralocfp)(void *, void *, size_t), void (*mfreefp)(void *, void *))
{
    const ub1 loaded = omx_load();
    __atomic_store_n(&process_mode, mode, __ATOMIC_RELAXED);
    sword result = OCI_ERROR;
    bool done = false;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(loaded & omx_bit(backend)) || !omx_calls.OCIInitialize[backend])
            continue;
        const sword rc = omx_calls.OCIInitialize[backend](mode, ctxp, malocfp, ralocfp, mfreefp);
        if (!done || (omx_succeeded(rc) && !omx_succeeded(result)))
            result = rc;
        done = true;
    }
    return result;
}

sword OCITerminate(ub4 mode)
{
    const ub1 loaded = omx_load();
    sword result = OCI_SUCCESS;
    for (ub1 backend = 0; backend < omx_backend_count; backend++) {
        if (!(loaded & omx_bit(backend)) || !omx_calls.OCITerminate[backend])
            continue;
        const sword rc = omx_calls.OCITerminate[backend](mode);
        if (result == OCI_SUCCESS)
            result = rc;
    }
    return result;
}

sword OCIEnvCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *, size_t),
                   void *(*ralocfp)(void *, void *, size_t), void (*mfreefp)(void *, void *),
                   size_t xtramem_sz, void **usrmempp)
{
    const bool is_utf16 = mode & OCI_UTF16;
    return create(envp, mode, is_utf16, {malocfp, ralocfp, mfreefp, xtramem_sz, usrmempp},
                  [=](ub1 backend, OCIEnv **own, const memory &m) {
                      if (is_utf16 && backend == omx_dravik)
                          return create_narrow(own, mode, ctxp, m, OCI_UTF16ID);
                      if (!omx_calls.OCIEnvCreate[backend])
                          return (sword)OCI_ERROR;
                      return omx_calls.OCIEnvCreate[backend](own, mode, ctxp, m.malocfp, m.ralocfp, m.mfreefp,
                                                             m.xtramem_sz, m.usrmempp);
                  });
}

sword OCIEnvNlsCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *, size_t),
                      void *(*ralocfp)(void *, void *, size_t), void (*mfreefp)(void *, void *),
                      size_t xtramem_sz, void **usrmempp, ub2 charset, ub2 ncharset)
{
    const bool is_utf16 = charset == OCI_UTF16ID || (charset == 0 && (mode & OCI_UTF16));
    return create(envp, mode, is_utf16, {malocfp, ralocfp, mfreefp, xtramem_sz, usrmempp},
                  [=](ub1 backend, OCIEnv **own, const memory &m) {
                      if (is_utf16 && backend == omx_dravik)
                          return create_narrow(own, mode, ctxp, m, ncharset);
                      if (!omx_calls.OCIEnvNlsCreate[backend])
                          return (sword)OCI_ERROR;
                      return omx_calls.OCIEnvNlsCreate[backend](own, mode, ctxp, m.malocfp, m.ralocfp,
                                                                m.mfreefp, m.xtramem_sz, m.usrmempp, charset,
                                                                ncharset);
                  });
}

sword OCIFEnvCreate(OCIEnv **envp, ub4 mode, void *ctxp, void *(*malocfp)(void *, size_t),
                    void *(*ralocfp)(void *, void *, size_t), void (*mfreefp)(void *, void *),
                    size_t xtramem_sz, void **usrmempp, void *fupg)
{
    return create(envp, mode, false, {malocfp, ralocfp, mfreefp, xtramem_sz, usrmempp},
                  [=](ub1 backend, OCIEnv **own, const memory &m) {
                      if (!omx_calls.OCIFEnvCreate[backend])
                          return (sword)OCI_ERROR;
                      return omx_calls.OCIFEnvCreate[backend](own, mode, ctxp, m.malocfp, m.ralocfp,
                                                              m.mfreefp, m.xtramem_sz, m.usrmempp, fupg);
                  });
}

sword OCIEnvInit(OCIEnv **envp, ub4 mode, size_t xtramem_sz, void **usrmempp)
{
    const bool is_utf16 = (mode | __atomic_load_n(&process_mode, __ATOMIC_RELAXED)) & OCI_UTF16;
    return create(envp, mode, is_utf16, {nullptr, nullptr, nullptr, xtramem_sz, usrmempp},
                  [=](ub1 backend, OCIEnv **own, const memory &m) {
                      if (is_utf16 && backend == omx_dravik)
                          return create_narrow(own, mode, nullptr, m, OCI_UTF16ID);
                      if (!omx_calls.OCIEnvInit[backend])
                          return (sword)OCI_ERROR;
                      return omx_calls.OCIEnvInit[backend](own, mode, m.xtramem_sz, m.usrmempp);
                  });
}

} // namespace written
