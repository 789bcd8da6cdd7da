#include "recorded.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>

namespace extended_tests
{

namespace
{

recording::journal shared_journal;
recording::backend *backends[2];
std::string missing_side;

recording::backend *open_backend(const std::string &path)
{
    void *library = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void *function = library != nullptr ? dlsym(library, "recording_backend") : nullptr;
    if (function == nullptr) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), dlerror());
        std::abort();
    }
    recording::backend *result = reinterpret_cast<recording_backend_function *>(function)();
    result->log = &shared_journal;
    return result;
}

constexpr const char *side_names[] = {"oracle", "dravik"};

/* Calls that choose a backend: the side that the program is not connected to refuses them. */
constexpr const char *connecting[] = {
    "OCIServerAttach",         "OCILogon", "OCILogon2",           "OCISessionGet",
    "OCIConnectionPoolCreate", "olog",     "OCISessionPoolCreate"};

} // namespace

void use_backends(const std::string &missing)
{
    missing_side = missing;
    const std::string normal = RECORDING_DIRECTORY "/normal";
    const std::string none = RECORDING_DIRECTORY "/no_library";
    backends[oracle] = open_backend(normal + "/libclntsh.so");
    backends[dravik] = open_backend(normal + "/libdkoci.so");
    setenv("DKOM_ORA_LIB_PATH", (has(oracle) ? normal : none).c_str(), 1);
    setenv("DKOM_DRK_LIB_PATH", (has(dravik) ? normal : none).c_str(), 1);
}

bool has(side s)
{
    return missing_side != side_names[s];
}

side home()
{
    return has(oracle) ? oracle : dravik;
}

recording::backend &backend(side s)
{
    return *backends[s];
}

std::vector<recording::call> &calls()
{
    return shared_journal.calls;
}

void forget_calls()
{
    const std::lock_guard lock(shared_journal.mutex);
    shared_journal.calls.clear();
}

program::program(side connected_to) : bound(connected_to)
{
    for (const side s : {oracle, dravik})
        backend(s).reset();
    for (const char *function : connecting)
        backend(bound == oracle ? dravik : oracle).always(function, OCI_ERROR);
    for (const char *function : {"OCIHandleAlloc", "OCIDescriptorAlloc", "OCIBindByPos", "OCIDefineByPos"})
        watch(function, 1);
    for (const char *function : {"OCIEnvCreate", "OCIEnvNlsCreate", "OCIEnvInit", "OCIFEnvCreate"})
        watch(function, 0);

    OCIEnv *env = nullptr;
    EXPECT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    handles[OCI_HTYPE_ENV] = note(env);
    auto *srv = get<OCIServer>(OCI_HTYPE_SERVER);
    EXPECT_EQ(OCIServerAttach(srv, err(), nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
    for (const auto &[type, attribute] : {std::pair{OCI_HTYPE_SERVER, OCI_ATTR_SERVER},
                                          {OCI_HTYPE_SESSION, OCI_ATTR_SESSION},
                                          {OCI_HTYPE_TRANS, OCI_ATTR_TRANS}})
        EXPECT_EQ(OCIAttrSet(svc(), OCI_HTYPE_SVCCTX, handle(type), 0, static_cast<ub4>(attribute), err()),
                  OCI_SUCCESS);
    EXPECT_EQ(OCISessionBegin(svc(), err(), get<OCISession>(OCI_HTYPE_SESSION), OCI_CRED_RDBMS, OCI_DEFAULT),
              OCI_SUCCESS);
    const OraText text[] = "select 1 from dual";
    EXPECT_EQ(OCIStmtPrepare(stmt(), err(), text, sizeof text - 1, OCI_NTV_SYNTAX, OCI_DEFAULT), OCI_SUCCESS);
    handle(OCI_HTYPE_BIND);
    handle(OCI_HTYPE_DEFINE);
    EXPECT_EQ(OCIStmtExecute(svc(), stmt(), err(), 1, 0, nullptr, nullptr, OCI_DEFAULT), OCI_SUCCESS);
}

program::~program()
{
    for (const side s : {oracle, dravik})
        backend(s).reset();
    OCIHandleFree(handles[OCI_HTYPE_ENV], OCI_HTYPE_ENV);
    calls().clear();
}

void program::watch(const std::string &function, std::size_t position)
{
    for (const side s : {oracle, dravik})
        backend(s).always(function, OCI_SUCCESS, [this, s, position](const words &a) {
            void *&variable = target<void *>(a[position]);
            if (!backend(s).alive(variable))
                variable = backend(s).create();
            made[s] = variable;
        });
}

void *program::note(void *handle)
{
    known[handle] = made;
    made = {};
    return handle;
}

void *program::make(int type)
{
    void *made_handle = nullptr;
    sword rc = OCI_SUCCESS;
    if (type == OCI_HTYPE_BIND)
        rc = OCIBindByPos(stmt(), reinterpret_cast<OCIBind **>(&made_handle), err(), 1, nullptr, 0, SQLT_INT,
                          nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
    else if (type == OCI_HTYPE_DEFINE)
        rc = OCIDefineByPos(stmt(), reinterpret_cast<OCIDefine **>(&made_handle), err(), 1, nullptr, 0,
                            SQLT_INT, nullptr, nullptr, nullptr, OCI_DEFAULT);
    else if (type < OCI_DTYPE_FIRST)
        rc = OCIHandleAlloc(env(), &made_handle, static_cast<ub4>(type), 0, nullptr);
    else
        rc = OCIDescriptorAlloc(env(), &made_handle, static_cast<ub4>(type), 0, nullptr);
    EXPECT_EQ(rc, OCI_SUCCESS) << "handle type " << type;
    return note(made_handle);
}

void *program::handle(int type)
{
    void *&known_handle = handles[type];
    if (known_handle == nullptr)
        known_handle = make(type);
    return known_handle;
}

void *program::another(int type)
{
    return make(type);
}

void *program::own(const void *handle, side s) const
{
    const auto found = known.find(handle);
    return found == known.end() ? nullptr : found->second[s];
}

} // namespace extended_tests
