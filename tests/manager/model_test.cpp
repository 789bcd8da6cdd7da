/*
 * Random sequences of calls with random answers of the backends, checked against a model: a plain list of
 * what each wrapper should hold, kept by the rules of each call and by nothing of the library's.
 */
#include <random>

#include "fixture.h"

using namespace manager_tests;

namespace
{

struct expected_wrapper {
    const void *key = nullptr;
    bool has_twin = false;
    ub4 state = 4;
    ub4 type = 0;
    ub4 last_err = 0;
    ub4 last_exec = 0;
    const void *parent = nullptr; // by key
    std::vector<const void *> children = {};
    ub4 child_count = 0;
};

class Model : public EmptyTest, public testing::WithParamInterface<unsigned>
{
protected:
    Model() : random(GetParam()) {}

    unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random); }

    sword some_result()
    {
        static constexpr sword results[] = {0, 0, 0, 0, 0, OCI_SUCCESS_WITH_INFO, OCI_ERROR, OCI_NO_DATA};
        return results[below(std::size(results))];
    }

    /* A wrapper of a type, or null. */
    expected_wrapper *pick(ub4 type)
    {
        std::vector<expected_wrapper *> candidates;
        for (expected_wrapper &w : wrappers)
            if (w.type == type && w.key != nullptr)
                candidates.push_back(&w);
        return candidates.empty() ? nullptr : candidates[below(static_cast<unsigned>(candidates.size()))];
    }

    expected_wrapper &by_key(const void *key)
    {
        for (expected_wrapper &w : wrappers)
            if (w.key == key)
                return w;
        throw std::logic_error("no such wrapper in the model");
    }

    void remove(const void *key)
    {
        std::erase_if(wrappers, [&](const expected_wrapper &w) { return w.key == key; });
    }

    template <class T> static T *handle(const expected_wrapper *w)
    {
        return static_cast<T *>(const_cast<void *>(w->key));
    }

    OCIError *error() { return static_cast<OCIError *>(const_cast<void *>(error_key)); }

    void reported(ub4 backend) { by_key(error_key).last_err = backend; }

    void answers(const char *function)
    {
        oracle_result = some_result();
        dravik_result = some_result();
        oracle().next(function, oracle_result);
        dravik().next(function, dravik_result);
    }

    void allocate();
    void release();
    void attach();
    void set_server();
    void begin_session();
    void prepare();
    void execute();
    void fetch();
    void bind_or_define();
    void compare();

    void any_call()
    {
        static constexpr void (Model::*operations[])() = {
            &Model::allocate,      &Model::allocate, &Model::release, &Model::attach, &Model::set_server,
            &Model::begin_session, &Model::prepare,  &Model::execute, &Model::fetch,  &Model::bind_or_define,
        };
        (this->*operations[below(std::size(operations))])();
    }

    std::mt19937 random;
    std::vector<expected_wrapper> wrappers;
    const void *error_key = nullptr;
    OCIEnv *env = nullptr;
    sword oracle_result = 0;
    sword dravik_result = 0;
};

void Model::allocate()
{
    static constexpr ub4 types[] = {OCI_HTYPE_SVCCTX, OCI_HTYPE_STMT, OCI_HTYPE_SERVER, OCI_HTYPE_SESSION};
    const ub4 type = types[below(std::size(types))];
    answers("OCIHandleAlloc");
    void *made = nullptr;
    const sword rc = OCIHandleAlloc(env, &made, type, 0, nullptr);
    EXPECT_EQ(rc, oracle_result != 0 ? oracle_result : dravik_result);
    if (rc == OCI_SUCCESS)
        wrappers.push_back({.key = made, .has_twin = true, .type = type, .last_exec = 3});
}

void Model::release()
{
    static constexpr ub4 types[] = {OCI_HTYPE_STMT, OCI_HTYPE_STMT, OCI_HTYPE_BIND, OCI_HTYPE_SESSION};
    expected_wrapper *w = pick(types[below(std::size(types))]);
    if (w == nullptr)
        return;
    const expected_wrapper gone = *w;
    EXPECT_EQ(OCIHandleFree(const_cast<void *>(gone.key), gone.type), OCI_SUCCESS);
    remove(gone.key);
    for (const void *child : gone.children)
        remove(child);
    for (expected_wrapper &other : wrappers)
        if (other.parent == gone.key)
            other.parent = this; // freed: not looked at any more
}

void Model::attach()
{
    expected_wrapper *server = pick(OCI_HTYPE_SERVER);
    /* A server that is Oracle's alone ends the process when Oracle refuses. */
    if (server == nullptr || server->last_exec == 1)
        return;
    answers("OCIServerAttach");
    sword expected = oracle_result;
    if (server->last_exec == 3 && oracle_result == OCI_SUCCESS) {
        server->last_exec = 1;
    } else {
        server->last_exec = 2;
        expected = dravik_result;
        if (dravik_result != OCI_SUCCESS)
            reported(2);
    }
    EXPECT_EQ(OCIServerAttach(handle<OCIServer>(server), error(), nullptr, 0, OCI_DEFAULT), expected);
}

void Model::set_server()
{
    expected_wrapper *context = pick(OCI_HTYPE_SVCCTX);
    expected_wrapper *server = pick(OCI_HTYPE_SERVER);
    if (context == nullptr || server == nullptr)
        return;
    answers("OCIAttrSet");
    sword oracle_code = 7777;
    sword dravik_code = 7777;
    if ((context->last_exec & 1) != 0) {
        oracle_code = oracle_result;
        reported(1);
    }
    if ((context->last_exec & 2) != 0 && (oracle_code == 7777 || oracle_code == 0)) {
        dravik_code = dravik_result;
        reported(2);
    }
    sword expected = oracle_code != 7777 ? oracle_code : dravik_code;
    if (expected == 0 && dravik_code != 7777)
        expected = dravik_code;
    if (expected == 0) {
        context->last_exec = server->last_exec;
        server->parent = context->key;
    }
    EXPECT_EQ(OCIAttrSet(const_cast<void *>(context->key), OCI_HTYPE_SVCCTX, const_cast<void *>(server->key),
                         0, OCI_ATTR_SERVER, error()),
              expected);
}

void Model::begin_session()
{
    expected_wrapper *context = pick(OCI_HTYPE_SVCCTX);
    expected_wrapper *session = pick(OCI_HTYPE_SESSION);
    if (context == nullptr || session == nullptr)
        return;
    answers("OCISessionBegin");
    const ub4 backend = (context->last_exec & 1) != 0 ? 1 : 2;
    const sword expected = backend == 1 ? oracle_result : dravik_result;
    session->last_exec = backend;
    if (expected != 0)
        reported(backend);
    EXPECT_EQ(OCISessionBegin(handle<OCISvcCtx>(context), error(), handle<OCISession>(session), OCI_CRED_EXT,
                              OCI_DEFAULT),
              expected);
}

void Model::prepare()
{
    expected_wrapper *stmt = pick(OCI_HTYPE_STMT);
    if (stmt == nullptr)
        return;
    answers("OCIStmtPrepare");
    stmt->last_exec = 3;
    const sword expected = oracle_result != 0 ? oracle_result : dravik_result;
    if (expected != 0) {
        reported(oracle_result != 0 ? 1 : 2);
    } else {
        const std::vector<const void *> dropped =
            stmt->state == 2 ? stmt->children : std::vector<const void *>{};
        if (stmt->state == 2)
            stmt->children.clear();
        stmt->state = 1;
        const void *key = stmt->key;
        for (const void *child : dropped)
            remove(child);
        stmt = &by_key(key);
    }
    EXPECT_EQ(OCIStmtPrepare(handle<OCIStmt>(stmt), error(), reinterpret_cast<const OraText *>("x"), 1,
                             OCI_NTV_SYNTAX, OCI_DEFAULT),
              expected);
}

void Model::execute()
{
    expected_wrapper *context = pick(OCI_HTYPE_SVCCTX);
    expected_wrapper *stmt = pick(OCI_HTYPE_STMT);
    if (context == nullptr || stmt == nullptr)
        return;
    answers("OCIStmtExecute");
    const ub4 backend = (context->last_exec & 1) != 0 ? 1 : 2;
    const sword expected = backend == 1 ? oracle_result : dravik_result;
    stmt->last_exec = backend;
    if (expected == 0)
        stmt->state = 2;
    else
        reported(backend);
    EXPECT_EQ(OCIStmtExecute(handle<OCISvcCtx>(context), handle<OCIStmt>(stmt), error(), 1, 0, nullptr,
                             nullptr, OCI_DEFAULT),
              expected);
}

void Model::fetch()
{
    expected_wrapper *stmt = pick(OCI_HTYPE_STMT);
    if (stmt == nullptr)
        return;
    answers("OCIStmtFetch");
    sword expected = 0;
    if ((stmt->last_exec & 1) != 0 && (expected = oracle_result) != 0)
        reported(1);
    if (expected == 0 && (stmt->last_exec & 2) != 0 && (expected = dravik_result) != 0)
        reported(2);
    EXPECT_EQ(OCIStmtFetch(handle<OCIStmt>(stmt), error(), 1, OCI_FETCH_NEXT, OCI_DEFAULT), expected);
}

void Model::bind_or_define()
{
    expected_wrapper *stmt = pick(OCI_HTYPE_STMT);
    /* Binds that Dravik alone holds have no key to tell them apart by. */
    if (stmt == nullptr || (stmt->last_exec & 1) == 0)
        return;
    const bool bind = below(2) == 0;
    answers(bind ? "OCIBindByPos" : "OCIDefineByPos");
    const bool both = stmt->last_exec == 3;
    const auto fails = [&](sword rc) { return bind ? rc != 0 && rc != 1 : rc != 0; };
    sword expected = oracle_result;
    bool made = true;
    if (fails(oracle_result)) {
        made = false;
        reported(1);
    } else if (both && fails(dravik_result) && oracle_result != 0) {
        made = false;
        reported(2);
    }
    void *variable = nullptr;
    const sword rc =
        bind ? OCIBindByPos(handle<OCIStmt>(stmt), reinterpret_cast<OCIBind **>(&variable), error(), 1,
                            nullptr, 0, SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT)
             : OCIDefineByPos(handle<OCIStmt>(stmt), reinterpret_cast<OCIDefine **>(&variable), error(), 1,
                              nullptr, 0, SQLT_INT, nullptr, nullptr, nullptr, OCI_DEFAULT);
    EXPECT_EQ(rc, expected);
    if (!made)
        return;
    stmt->children.push_back(variable);
    stmt->child_count++;
    const bool twin_made = both && (dravik_result == 0 || dravik_result == 1);
    const bool on_dravik = both && (bind || dravik_result == 0);
    wrappers.push_back({.key = variable,
                        .has_twin = twin_made,
                        .state = 3,
                        .type = bind ? ub4{OCI_HTYPE_BIND} : ub4{OCI_HTYPE_DEFINE},
                        .last_exec = on_dravik ? 3U : 1U});
}

void Model::compare()
{
    const std::vector<om_handle_t *> actual = table();
    ASSERT_EQ(actual.size(), wrappers.size());
    ASSERT_EQ(hdl_list_tbl->hash_count, wrappers.size());
    for (std::size_t i = 0; i < actual.size(); i++) {
        const om_handle_t &a = *actual[i];
        const expected_wrapper &e = wrappers[i];
        ASSERT_EQ(a.ora_hndlp, e.key);
        ASSERT_EQ(a.dk_hndlp != nullptr, e.has_twin);
        ASSERT_EQ(a.state, e.state);
        ASSERT_EQ(a.type, e.type);
        ASSERT_EQ(a.last_err, e.last_err);
        ASSERT_EQ(a.last_exec, e.last_exec);
        if (e.parent != this) {
            ASSERT_EQ(a.parenthp, e.parent == nullptr ? nullptr : wrapper(e.parent));
        }
        if (a.type != OCI_HTYPE_STMT)
            continue;
        ASSERT_EQ(a.sub_link_count, e.child_count);
        /* Children that were released on their own stay on the list, where only their number shows. */
        ASSERT_EQ(children(&a).size(), e.children.size());
    }
}

TEST_P(Model, RandomCalls)
{
    ASSERT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), OCI_SUCCESS);
    wrappers.push_back({.key = env, .has_twin = true, .type = OCI_HTYPE_ENV, .last_exec = 3});
    void *made = nullptr;
    ASSERT_EQ(OCIHandleAlloc(env, &made, OCI_HTYPE_ERROR, 0, nullptr), OCI_SUCCESS);
    error_key = made;
    wrappers.push_back({.key = made, .has_twin = true, .type = OCI_HTYPE_ERROR, .last_exec = 3});

    for (int step = 0; step < 400; step++) {
        SCOPED_TRACE(step);
        any_call();
        oracle().reset();
        dravik().reset();
        compare();
        if (HasFatalFailure() || HasNonfatalFailure())
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Model, testing::Range(1U, 11U));

} // namespace
