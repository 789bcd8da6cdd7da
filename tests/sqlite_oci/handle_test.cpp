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
    std::string_view text;
    ub4 kind;
    std::function<sword(any_handle)> call;
};

// A call with `h` for the handle.
#define CALL(kind, expression)                                                                               \
    {                                                                                                        \
#        expression, kind, [=](any_handle h) -> sword { return expression; }                                 \
    }

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
        CALL(OCI_HTYPE_SERVER, OCIServerAttach(h, err, text("main"), 4, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SERVER, OCIServerDetach(h, err, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SVCCTX, OCISessionBegin(h, err, nullptr, OCI_CRED_EXT, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SESSION, OCISessionBegin(svc, err, h, OCI_CRED_EXT, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SVCCTX, OCISessionEnd(h, err, nullptr, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SVCCTX, OCITransCommit(h, err, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SVCCTX, OCITransRollback(h, err, OCI_DEFAULT)),
        CALL(OCI_HTYPE_SVCCTX, OCIBreak(h, err)),
        CALL(OCI_HTYPE_ERROR, OCIErrorGet(h, 1, nullptr, nullptr, nullptr, 0, OCI_HTYPE_ERROR)),
        CALL(OCI_HTYPE_STMT, OCIAttrGet(h, OCI_HTYPE_STMT, &number, nullptr, OCI_ATTR_ROW_COUNT, err)),
        CALL(OCI_HTYPE_SVCCTX, OCIAttrSet(h, OCI_HTYPE_SVCCTX, server, 0, OCI_ATTR_SERVER, err)),
        CALL(OCI_HTYPE_STMT, OCIStmtPrepare(h, err, text("SELECT 1"), 8, OCI_NTV_SYNTAX, OCI_DEFAULT)),
        CALL(OCI_HTYPE_STMT, OCIStmtExecute(svc, h, err, 0, 0, nullptr, nullptr, OCI_DEFAULT)),
        CALL(OCI_HTYPE_STMT, OCIStmtFetch2(h, err, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT)),
        CALL(OCI_HTYPE_STMT, OCIBindByPos(h, &bind, err, 1, nullptr, 4, SQLT_INT, nullptr, nullptr, nullptr,
                                          0, nullptr, OCI_DEFAULT)),
        CALL(OCI_HTYPE_STMT, OCIDefineByPos(h, &define, err, 1, nullptr, 4, SQLT_INT, nullptr, nullptr,
                                            nullptr, OCI_DEFAULT)),
        CALL(OCI_HTYPE_ENV, OCIHandleAlloc(h, &made, OCI_HTYPE_ERROR, 0, nullptr)),
        CALL(OCI_HTYPE_STMT, OCIHandleFree(h, OCI_HTYPE_STMT)),
        CALL(OCI_HTYPE_BIND, OCIBindArrayOfStruct(h, err, 1, 1, 1, 1)),
        CALL(OCI_HTYPE_DEFINE, OCIDefineArrayOfStruct(h, err, 1, 1, 1, 1)),
        CALL(OCI_HTYPE_BIND, OCIBindDynamic(h, err, nullptr, nullptr, nullptr, nullptr)),
        CALL(OCI_HTYPE_DEFINE, OCIDefineDynamic(h, err, nullptr, nullptr)),
        CALL(OCI_DTYPE_LOB, OCILobTrim(svc, err, h, 0)),
    };
}

// Whether a call takes any live handle: each has an environment that can be the parent of another, and a
// break may be asked of a server, too.
bool takes(const checked_call &tested, ub4 kind)
{
    return kind != 0 && (kind == tested.kind || tested.text.starts_with("OCIHandleAlloc") ||
                         (tested.text.starts_with("OCIBreak") && kind == OCI_HTYPE_SERVER));
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
    const std::tuple<const char *, void *, ub4> wrong_ones[] = {
        {"null", nullptr, 0},
        {"unmapped memory", reinterpret_cast<void *>(0x10), 0},
        {"end of the address space", reinterpret_cast<void *>(~std::uintptr_t{0}), 0},
        {"memory of the program", zeros, 0},
        {"inside a handle", reinterpret_cast<char *>(db.env) + 8, 0},
        {"a misaligned handle", reinterpret_cast<char *>(db.env) + 1, 0},
        {"a freed statement", freed_statement, 0},
        {"a freed service context", freed_service, 0},
        {"a descriptor", descriptor, OCI_DTYPE_LOB},
        {"an environment", db.env, OCI_HTYPE_ENV},
        {"an error handle", db.errors, OCI_HTYPE_ERROR},
        {"a service context", db.service, OCI_HTYPE_SVCCTX},
        {"a server", db.server, OCI_HTYPE_SERVER},
        {"a session", db.session, OCI_HTYPE_SESSION},
    };
    for (const checked_call &tested : checked_calls(db))
        for (const auto &[what, wrong, kind] : wrong_ones)
            EXPECT_TRUE(takes(tested, kind) || tested.call({wrong}) == OCI_INVALID_HANDLE)
                << tested.text << " with " << what;
    for (const auto &[what, wrong, kind] : wrong_ones) {
        const sword status = OCITransCommit(db.service, any_handle{wrong}, OCI_DEFAULT);
        EXPECT_TRUE(!wrong || kind == OCI_HTYPE_ERROR || status == OCI_INVALID_HANDLE) << what;
    }
}

TEST_F(handle, handles_given_as_values_are_checked)
{
    const prepared statement(db, "SELECT :a FROM dual");
    const prepared other(db, "SELECT :a FROM dual");
    EXPECT_EQ(OCIAttrSet(db.service, OCI_HTYPE_SVCCTX, db.session, 0, OCI_ATTR_SERVER, db.errors),
              OCI_INVALID_HANDLE);
}

TEST_F(handle, variables_of_binds_and_defines_need_hold_no_handle)
{
    const prepared first(db, "SELECT :a, :b FROM dual"), second(db, "SELECT :a, :b FROM dual");
    sb4 numbers[] = {10, 20}, fetched[] = {0, 0};
    auto *bind = reinterpret_cast<OCIBind *>(std::uintptr_t{0x5a5a5a5a5a5a}); // never set
    auto *define = reinterpret_cast<OCIDefine *>(&numbers);
    std::set<void *> seen;
    for (const prepared *const statement : {&first, &second, &first}) // one variable for all of them
        for (ub4 i = 0; i < 2; ++i) {
            ASSERT_TRUE(db.succeeds(statement->bind_at(i + 1, bind, &numbers[i], sizeof(sb4), SQLT_INT)));
            ASSERT_TRUE(
                db.succeeds(OCIDefineByPos(statement->handle, &define, db.errors, i + 1, &fetched[i],
                                           sizeof(sb4), SQLT_INT, nullptr, nullptr, nullptr, OCI_DEFAULT)));
            seen.insert(bind), seen.insert(define);
        }
    EXPECT_EQ(seen.size(), 8) << "each place of each statement has its own";
    for (const prepared *const statement : {&first, &second}) {
        fetched[0] = fetched[1] = 0;
        ASSERT_TRUE(db.succeeds(statement->execute(1)));
        EXPECT_EQ(fetched[0] * 100 + fetched[1], 1020);
    }

    void *by_hand = nullptr;
    const prepared fresh(db, "SELECT :x FROM dual");
    ASSERT_EQ(OCIHandleAlloc(fresh.handle, &by_hand, OCI_HTYPE_BIND, 0, nullptr), OCI_SUCCESS);
    bind = static_cast<OCIBind *>(by_hand);
    ASSERT_TRUE(db.succeeds(fresh.bind_at(1, bind, &numbers[0], sizeof(sb4), SQLT_INT)));
    EXPECT_EQ(bind, by_hand) << "one that was allocated by hand serves the first place";

    OCIDefine *const before = define;
    EXPECT_TRUE(db.fails(OCIDefineByPos(first.handle, &define, db.errors, 1, fetched, 3, SQLT_INT, nullptr,
                                        nullptr, nullptr, OCI_DEFAULT),
                         3115));
    EXPECT_EQ(define, before) << "a refused define leaves the variable alone";
    fetched[0] = 0;
    ASSERT_TRUE(db.succeeds(first.execute(1)));
    EXPECT_EQ(fetched[0], 10) << "and the definition of the column";

    bind = nullptr;
    EXPECT_TRUE(
        db.succeeds(OCIBindByName(first.handle, &bind, db.errors, text(":b"), -1, &numbers[0], sizeof(sb4),
                                  SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT)));
    ASSERT_TRUE(db.succeeds(first.execute(1)));
    EXPECT_EQ(fetched[1], 10) << "a length of -1 ends the name at its terminator";
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

TEST_F(handle, addresses_come_back_but_not_soon)
{
    std::set<void *> seen;
    constexpr std::size_t rounds = 30000, soon = 1000;
    for (std::size_t i = 0; i < rounds; ++i) {
        void *fresh = allocate<void>(db.env, OCI_HTYPE_STMT);
        EXPECT_TRUE(seen.insert(fresh).second || i >= soon);
        OCIHandleFree(fresh, OCI_HTYPE_STMT);
    }
    EXPECT_LT(seen.size(), rounds / 2);
}

TEST_F(handle, an_environment_may_be_marked_with_eight_bytes)
{
    constexpr char mark[] = "\xff\xfe\xfd\xfc\xfb\xfa\xf9\xf8";
    std::memcpy(static_cast<void *>(db.env), mark, 8);
    EXPECT_EQ(db.ask("SELECT 1 FROM dual"), "1");
    EXPECT_EQ(std::memcmp(static_cast<void *>(db.env), mark, 8), 0);
}

TEST_F(handle, memory_for_the_program_comes_with_a_handle)
{
    void *made = nullptr, *memory[3] = {};
    OCIEnv *env = nullptr;
    ASSERT_EQ(OCIHandleAlloc(db.env, &made, OCI_HTYPE_STMT, 100, &memory[0]), OCI_SUCCESS);
    ASSERT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_LOB, 100, &memory[1]), OCI_SUCCESS);
    ASSERT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 100, &memory[2]),
              OCI_SUCCESS);
    for (void *const area : memory) {
        ASSERT_NE(area, nullptr);
        std::memset(area, 1, 100);
    }
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
}

TEST_F(handle, what_belongs_to_a_freed_handle_is_freed_with_it)
{
    const prepared statement(db, "SELECT :a FROM dual");
    sb4 number = 0;
    statement.in("a", number, SQLT_INT).out(1, number, SQLT_INT);
    EXPECT_EQ(OCIHandleFree(statement.handle, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(statement.last_bind, OCI_HTYPE_BIND), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIHandleFree(statement.last_define, OCI_HTYPE_DEFINE), OCI_INVALID_HANDLE);

    OCIEnv *env = nullptr;
    ASSERT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    void *const child = allocate<void>(env, OCI_HTYPE_STMT);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_SUCCESS);
    EXPECT_EQ(OCIHandleFree(child, OCI_HTYPE_STMT), OCI_INVALID_HANDLE);
    EXPECT_EQ(OCIHandleFree(env, OCI_HTYPE_ENV), OCI_INVALID_HANDLE);
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
    for (const ub4 kind : {0u, 1u, 5u, 6u, 11u, 13u, 14u, 28u, 30u, 9999u}) {
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
    const auto get = [&](void *&value, ub4 attribute, ub4 *size = nullptr) {
        return OCIAttrGet(db.service, OCI_HTYPE_SVCCTX, &value, size, attribute, db.errors);
    };
    void *found = &found;
    ub4 size = 0;
    EXPECT_EQ(get(found, OCI_ATTR_ENV, &size), OCI_SUCCESS);
    EXPECT_EQ(size, sizeof found);
    EXPECT_EQ(found, db.env);
    const std::pair<ub4, void *> cases[] = {
        {OCI_ATTR_SERVER, db.server}, {OCI_ATTR_SESSION, db.session}, {OCI_ATTR_TRANS, nullptr}};
    for (const auto &[attribute, expected] : cases) {
        EXPECT_EQ(get(found, attribute), OCI_SUCCESS);
        EXPECT_EQ(found, expected);
    }
    EXPECT_TRUE(db.fails(get(found, 4711), 24315));
    EXPECT_EQ(OCIHandleFree(db.server, OCI_HTYPE_SERVER), OCI_SUCCESS);
    EXPECT_EQ(get(found = &found, OCI_ATTR_SERVER), OCI_SUCCESS);
    EXPECT_EQ(found, nullptr) << "a freed server is no longer the service context's";
    EXPECT_EQ(db.run("SELECT 1 FROM dual"), 24324);
}

// Memory and pointers that a program has kept, once with the environment and once with the session.
TEST(kept_for_programs, memory_and_values)
{
    const database_directory directory;
    connected_client db;
    for (void *keeper : {static_cast<void *>(db.env), static_cast<void *>(db.session)}) {
        void *block = nullptr;
        ASSERT_EQ(OCIMemoryAlloc(keeper, db.errors, &block, OCI_DURATION_SESSION, 16, OCI_MEMORY_CLEARED), 0);
        auto *bytes = static_cast<unsigned char *>(block);
        EXPECT_EQ(bytes[15], 0);
        bytes[15] = 7;
        ASSERT_EQ(OCIMemoryResize(keeper, db.errors, &block, 1000, OCI_MEMORY_CLEARED), 0);
        bytes = static_cast<unsigned char *>(block);
        EXPECT_EQ(bytes[15], 7);
        EXPECT_EQ(bytes[999], 0);
        EXPECT_EQ(OCIMemoryFree(keeper, db.errors, block), OCI_SUCCESS);
        EXPECT_EQ(OCIMemoryFree(keeper, db.errors, block), OCI_ERROR) << "freed twice";

        ub4 key = 0;
        ub4 other_key = 0;
        EXPECT_EQ(OCIContextGenerateKey(keeper, db.errors, &key), OCI_SUCCESS);
        EXPECT_EQ(OCIContextGenerateKey(keeper, db.errors, &other_key), OCI_SUCCESS);
        EXPECT_NE(key, other_key);
        auto *key_bytes = reinterpret_cast<ub1 *>(&key);
        void *value = &db;
        EXPECT_EQ(OCIContextGetValue(keeper, db.errors, key_bytes, sizeof key, &value), OCI_SUCCESS);
        EXPECT_EQ(value, nullptr) << "nothing is kept yet";
        EXPECT_EQ(OCIContextSetValue(keeper, db.errors, OCI_DURATION_SESSION, key_bytes, sizeof key, &key),
                  0);
        EXPECT_EQ(OCIContextGetValue(keeper, db.errors, key_bytes, sizeof key, &value), OCI_SUCCESS);
        EXPECT_EQ(value, &key);
        EXPECT_EQ(OCIContextClearValue(keeper, db.errors, key_bytes, sizeof key), OCI_SUCCESS);
        EXPECT_EQ(OCIContextGetValue(keeper, db.errors, key_bytes, sizeof key, &value), OCI_SUCCESS);
        EXPECT_EQ(value, nullptr);
    }
    void *block = nullptr;
    EXPECT_EQ(OCIMemoryAlloc(db.service, db.errors, &block, OCI_DURATION_SESSION, 16, 0), OCI_INVALID_HANDLE);
}

} // namespace
} // namespace sqlite_oci_test
