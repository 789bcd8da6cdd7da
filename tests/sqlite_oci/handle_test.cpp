// Handles: each one that is given is checked, whatever it points at.
#include "client.h"

#include <cstring>
#include <functional>
#include <set>

namespace sqlite_oci_test
{
namespace
{

class handle : public sqlite_oci_test
{
};

// A pointer that is passed for whatever handle a call takes.
struct any_handle {
    void *pointer;
    template <class T> operator T *() const { return static_cast<T *>(pointer); }
};

// A call that cannot do without a handle of this kind.
struct checked_call {
    const char *name;
    ub4 kind;
    std::function<sword(any_handle)> call;
};

std::vector<checked_call> checked_calls(const connected_client &db)
{
    static OCIBind *bind;
    static OCIDefine *define;
    static void *made;
    static ub4 number;
    OCIError *const err = db.errors;
    OCISvcCtx *const svc = db.service;
    OCIServer *const server = db.server;
    return {
        {"OCIServerAttach", OCI_HTYPE_SERVER,
         [=](any_handle h) { return OCIServerAttach(h, err, text("main"), 4, OCI_DEFAULT); }},
        {"OCIServerDetach", OCI_HTYPE_SERVER,
         [=](any_handle h) { return OCIServerDetach(h, err, OCI_DEFAULT); }},
        {"OCISessionBegin", OCI_HTYPE_SVCCTX,
         [=](any_handle h) { return OCISessionBegin(h, err, nullptr, OCI_CRED_EXT, OCI_DEFAULT); }},
        {"OCISessionBegin, session", OCI_HTYPE_SESSION,
         [=](any_handle h) { return OCISessionBegin(svc, err, h, OCI_CRED_EXT, OCI_DEFAULT); }},
        {"OCISessionEnd", OCI_HTYPE_SVCCTX,
         [=](any_handle h) { return OCISessionEnd(h, err, nullptr, OCI_DEFAULT); }},
        {"OCITransCommit", OCI_HTYPE_SVCCTX,
         [=](any_handle h) { return OCITransCommit(h, err, OCI_DEFAULT); }},
        {"OCITransRollback", OCI_HTYPE_SVCCTX,
         [=](any_handle h) { return OCITransRollback(h, err, OCI_DEFAULT); }},
        {"OCIBreak", OCI_HTYPE_SVCCTX, [=](any_handle h) { return OCIBreak(h, err); }},
        {"OCIErrorGet", OCI_HTYPE_ERROR,
         [=](any_handle h) { return OCIErrorGet(h, 1, nullptr, nullptr, nullptr, 0, OCI_HTYPE_ERROR); }},
        {"OCIAttrGet", OCI_HTYPE_STMT,
         [=](any_handle h) {
             return OCIAttrGet(h, OCI_HTYPE_STMT, &number, nullptr, OCI_ATTR_ROW_COUNT, err);
         }},
        {"OCIAttrSet", OCI_HTYPE_SVCCTX,
         [=](any_handle h) { return OCIAttrSet(h, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, err); }},
        {"OCIStmtPrepare", OCI_HTYPE_STMT,
         [=](any_handle h) {
             return OCIStmtPrepare(h, err, text("SELECT 1"), 8, OCI_NTV_SYNTAX, OCI_DEFAULT);
         }},
        {"OCIStmtExecute", OCI_HTYPE_STMT,
         [=](any_handle h) { return OCIStmtExecute(svc, h, err, 0, 0, nullptr, nullptr, OCI_DEFAULT); }},
        {"OCIStmtFetch2", OCI_HTYPE_STMT,
         [=](any_handle h) { return OCIStmtFetch2(h, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT); }},
        {"OCIBindByPos", OCI_HTYPE_STMT,
         [=](any_handle h) {
             return OCIBindByPos(h, &bind, err, 1, nullptr, 4, SQLT_INT, nullptr, nullptr, nullptr, 0,
                                 nullptr, OCI_DEFAULT);
         }},
        {"OCIDefineByPos", OCI_HTYPE_STMT,
         [=](any_handle h) {
             return OCIDefineByPos(h, &define, err, 1, nullptr, 4, SQLT_INT, nullptr, nullptr, nullptr,
                                   OCI_DEFAULT);
         }},
        {"OCIHandleAlloc", OCI_HTYPE_ENV,
         [=](any_handle h) { return OCIHandleAlloc(h, &made, OCI_HTYPE_ERROR, 0, nullptr); }},
        {"OCIHandleFree", OCI_HTYPE_STMT, [=](any_handle h) { return OCIHandleFree(h, OCI_HTYPE_STMT); }},
        {"OCIBindArrayOfStruct", OCI_HTYPE_BIND,
         [=](any_handle h) { return OCIBindArrayOfStruct(h, err, 1, 1, 1, 1); }},
        {"OCIDefineArrayOfStruct", OCI_HTYPE_DEFINE,
         [=](any_handle h) { return OCIDefineArrayOfStruct(h, err, 1, 1, 1, 1); }},
        {"OCIBindDynamic", OCI_HTYPE_BIND,
         [=](any_handle h) { return OCIBindDynamic(h, err, nullptr, nullptr, nullptr, nullptr); }},
        {"OCIDefineDynamic", OCI_HTYPE_DEFINE,
         [=](any_handle h) { return OCIDefineDynamic(h, err, nullptr, nullptr); }},
        {"OCILobTrim", OCI_DTYPE_LOB, [=](any_handle h) { return OCILobTrim(svc, err, h, 0); }},
    };
}

// Whether a call takes any live handle: each has an environment that can be the parent of another, and a
// break may be asked of a server, too.
bool takes(const checked_call &tested, ub4 kind)
{
    const std::string name = tested.name;
    return kind != 0 && (kind == tested.kind || name == "OCIHandleAlloc" ||
                         (name == "OCIBreak" && kind == OCI_HTYPE_SERVER));
}

TEST_F(handle, unknown_foreign_freed_and_wrong_ones_are_refused)
{
    void *freed_statement = allocate<void>(db.env, OCI_HTYPE_STMT);
    OCIHandleFree(freed_statement, OCI_HTYPE_STMT);
    void *freed_service = allocate<void>(db.env, OCI_HTYPE_SVCCTX);
    OCIHandleFree(freed_service, OCI_HTYPE_SVCCTX);
    void *descriptor = nullptr;
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &descriptor, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    char zeros[256] = {};
    const struct {
        const char *what;
        void *handle;
        ub4 kind = 0;
    } wrong_ones[] = {
        {"null", nullptr},
        {"unmapped memory", reinterpret_cast<void *>(0x10)},
        {"end of the address space", reinterpret_cast<void *>(~std::uintptr_t{0})},
        {"memory of the program", zeros},
        {"inside a handle", reinterpret_cast<char *>(db.env) + 8},
        {"a misaligned handle", reinterpret_cast<char *>(db.env) + 1},
        {"a freed statement", freed_statement},
        {"a freed service context", freed_service},
        {"a descriptor", descriptor, OCI_DTYPE_LOB},
        {"an environment", db.env, OCI_HTYPE_ENV},
        {"an error handle", db.errors, OCI_HTYPE_ERROR},
        {"a service context", db.service, OCI_HTYPE_SVCCTX},
        {"a server", db.server, OCI_HTYPE_SERVER},
        {"a session", db.session, OCI_HTYPE_SESSION},
    };
    for (const checked_call &tested : checked_calls(db)) {
        for (const auto &wrong : wrong_ones) {
            if (takes(tested, wrong.kind))
                continue;
            EXPECT_EQ(tested.call({wrong.handle}), OCI_INVALID_HANDLE)
                << tested.name << " with " << wrong.what;
        }
    }
    for (const auto &wrong : wrong_ones) {
        if (!wrong.handle || wrong.kind == OCI_HTYPE_ERROR)
            continue;
        EXPECT_EQ(OCITransCommit(db.service, any_handle{wrong.handle}, OCI_DEFAULT), OCI_INVALID_HANDLE)
            << "error handle: " << wrong.what;
    }
}

TEST_F(handle, handles_given_as_values_are_checked)
{
    const prepared statement(db, "SELECT :a FROM dual");
    const prepared other(db, "SELECT :a FROM dual");
    EXPECT_EQ(OCIAttrSet(db.service, OCI_HTYPE_SVCCTX, db.session, 0, OCI_ATTR_SERVER, db.errors),
              OCI_INVALID_HANDLE);
    OCIBind *bind = any_handle{db.errors};
    const auto bind_to = [&](const prepared &target) {
        return OCIBindByPos(target.handle, &bind, db.errors, 1, nullptr, 4, SQLT_INT, nullptr, nullptr,
                            nullptr, 0, nullptr, OCI_DEFAULT);
    };
    EXPECT_EQ(bind_to(statement), OCI_INVALID_HANDLE);
    bind = nullptr;
    ASSERT_EQ(bind_to(other), OCI_SUCCESS);
    EXPECT_EQ(bind_to(statement), OCI_INVALID_HANDLE) << "a bind belongs to one statement";
    EXPECT_EQ(bind_to(other), OCI_SUCCESS);
}

TEST_F(handle, a_null_error_handle_loses_only_the_record)
{
    OCIStmt *const statement = allocate<OCIStmt>(db.env, OCI_HTYPE_STMT);
    EXPECT_EQ(
        OCIStmtPrepare(statement, nullptr, text("SELECT 1 FROM missing"), 21, OCI_NTV_SYNTAX, OCI_DEFAULT),
        OCI_SUCCESS);
    EXPECT_EQ(OCIStmtExecute(db.service, statement, nullptr, 0, 0, nullptr, nullptr, OCI_DEFAULT), OCI_ERROR);
    EXPECT_EQ(db.code(), 0);
}

TEST_F(handle, a_freed_address_is_not_soon_another_handle)
{
    std::set<void *> seen;
    for (int i = 0; i < 1000; ++i) {
        void *fresh = allocate<void>(db.env, OCI_HTYPE_STMT);
        EXPECT_TRUE(seen.insert(fresh).second);
        OCIHandleFree(fresh, OCI_HTYPE_STMT);
    }
}

TEST_F(handle, addresses_come_back_in_the_end)
{
    std::set<void *> seen;
    constexpr int rounds = 30000;
    for (int i = 0; i < rounds; ++i) {
        void *fresh = allocate<void>(db.env, OCI_HTYPE_ERROR);
        seen.insert(fresh);
        OCIHandleFree(fresh, OCI_HTYPE_ERROR);
    }
    EXPECT_LT(seen.size(), std::size_t{rounds} / 2);
}

TEST_F(handle, an_environment_may_be_marked_with_eight_bytes)
{
    std::memcpy(static_cast<void *>(db.env), "\xff\xfe\xfd\xfc\xfb\xfa\xf9\xf8", 8);
    EXPECT_EQ(db.ask("SELECT 1 FROM dual"), "1");
    EXPECT_EQ(std::memcmp(static_cast<void *>(db.env), "\xff\xfe\xfd\xfc\xfb\xfa\xf9\xf8", 8), 0);
}

TEST_F(handle, memory_for_the_program_comes_with_a_handle)
{
    void *made = nullptr, *memory = nullptr;
    ASSERT_EQ(OCIHandleAlloc(db.env, &made, OCI_HTYPE_STMT, 100, &memory), OCI_SUCCESS);
    ASSERT_NE(memory, nullptr);
    std::memset(memory, 1, 100);
    EXPECT_EQ(OCIHandleFree(made, OCI_HTYPE_STMT), OCI_SUCCESS);
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_LOB, 8, &memory), OCI_SUCCESS);
    std::memset(memory, 1, 8);
    OCIEnv *env = nullptr;
    ASSERT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 64, &memory), OCI_SUCCESS);
    std::memset(memory, 1, 64);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
}

TEST_F(handle, what_belongs_to_a_freed_handle_is_freed_with_it)
{
    const prepared statement(db, "SELECT :a FROM dual");
    OCIBind *bind = nullptr;
    OCIDefine *define = nullptr;
    sb4 number = 0;
    ASSERT_EQ(OCIBindByPos(statement.handle, &bind, db.errors, 1, &number, 4, SQLT_INT, nullptr, nullptr,
                           nullptr, 0, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIDefineByPos(statement.handle, &define, db.errors, 1, &number, 4, SQLT_INT, nullptr, nullptr,
                             nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(statement.handle, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(bind, OCI_HTYPE_BIND), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIHandleFree(define, OCI_HTYPE_DEFINE), OCI_INVALID_HANDLE);

    OCIEnv *env = nullptr;
    ASSERT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    void *const child = allocate<void>(env, OCI_HTYPE_STMT);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(child, OCI_HTYPE_STMT), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_INVALID_HANDLE);
}

TEST_F(handle, a_freed_server_is_no_longer_the_service_contexts)
{
    EXPECT_EQ(OCIHandleFree(db.server, OCI_HTYPE_SERVER), OCI_SUCCESS);
    void *server = &server;
    EXPECT_EQ(OCIAttrGet(db.service, OCI_HTYPE_SVCCTX, &server, nullptr, OCI_ATTR_SERVER, db.errors),
              OCI_SUCCESS);
    EXPECT_EQ(server, nullptr);
    EXPECT_EQ(db.run("SELECT 1 FROM dual"), 24324);
}

TEST_F(handle, a_descriptor_of_another_library_may_be_freed_here)
{
    char foreign[64] = {};
    EXPECT_EQ(OCIDescriptorFree(foreign, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_EQ(OCIDescriptorFree(nullptr, OCI_DTYPE_LOB), OCI_SUCCESS);
    void *own = nullptr;
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &own, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    EXPECT_EQ(OCIDescriptorFree(own, OCI_DTYPE_ROWID), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIDescriptorFree(own, OCI_DTYPE_LOB), OCI_SUCCESS);
}

TEST_F(handle, kinds_that_could_not_be_used_are_not_handed_out)
{
    for (const ub4 kind : {0u, 1u, 5u, 6u, 11u, 13u, 14u, 26u, 30u, 9999u}) {
        void *made = nullptr;
        EXPECT_EQ(OCIHandleAlloc(db.env, &made, kind, 0, nullptr), OCI_ERROR) << kind;
        EXPECT_EQ(made, nullptr);
        sb4 code = 0;
        EXPECT_EQ(OCIErrorGet(db.env, 1, nullptr, &code, nullptr, 0, OCI_HTYPE_ENV), OCI_SUCCESS);
        EXPECT_EQ(code, 3001);
    }
}

TEST_F(handle, attributes_name_the_handles_that_belong_together)
{
    const struct {
        ub4 attribute;
        void *expected;
    } cases[] = {{OCI_ATTR_ENV, db.env},
                 {OCI_ATTR_SERVER, db.server},
                 {OCI_ATTR_SESSION, db.session},
                 {OCI_ATTR_TRANS, nullptr}};
    for (const auto &tested : cases) {
        void *found = &found;
        ub4 size = 0;
        EXPECT_EQ(OCIAttrGet(db.service, OCI_HTYPE_SVCCTX, &found, &size, tested.attribute, db.errors),
                  OCI_SUCCESS);
        EXPECT_EQ(found, tested.expected);
        EXPECT_EQ(size, sizeof found);
    }
    EXPECT_EQ(OCIAttrGet(db.service, OCI_HTYPE_SVCCTX, &db.server, nullptr, 4711, db.errors), OCI_ERROR);
    EXPECT_EQ(db.code(), 24315);
}

} // namespace
} // namespace sqlite_oci_test
