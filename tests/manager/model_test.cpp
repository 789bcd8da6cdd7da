/*
 * Random sequences of calls, checked against a plain list of what the table should hold: the order of the
 * wrappers, and which statement each bind and define hangs under.
 */
#include <cstdlib>
#include <random>

#include "fixture.h"

using namespace manager_tests;

namespace
{

struct expected_wrapper {
    void *key;
    ub4 type;
    ub4 state = 4;
    const void *owner = nullptr; // key of the statement
    ub4 child_count = 0;         // ever attached
};

class Model : public EmptyTest, public testing::WithParamInterface<unsigned>
{
protected:
    unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }

    /* A wrapper of a type; there is always one of those asked for, or the result is null. */
    expected_wrapper *pick(ub4 type)
    {
        std::vector<expected_wrapper *> candidates;
        for (expected_wrapper &w : wrappers)
            if (w.type == type)
                candidates.push_back(&w);
        return candidates.empty() ? nullptr : candidates[below(candidates.size())];
    }

    void remove_children(const void *owner)
    {
        std::erase_if(wrappers, [&](const expected_wrapper &w) { return w.owner == owner; });
    }

    void any_call();
    void compare();

    /* DKOM_TEST_SEED chooses other sequences. */
    static unsigned seed()
    {
        const char *base = std::getenv("DKOM_TEST_SEED");
        return GetParam() + (base != nullptr ? static_cast<unsigned>(std::strtoul(base, nullptr, 10)) : 0U);
    }

    std::mt19937 random{seed()};
    std::vector<expected_wrapper> wrappers;
    OCIError *err = nullptr;
};

void Model::any_call()
{
    static constexpr ub4 types[] = {OCI_HTYPE_STMT, OCI_HTYPE_SVCCTX, OCI_HTYPE_BIND, OCI_HTYPE_DEFINE};
    void *made = nullptr;
    if (below(4) == 0) {
        const ub4 type = types[below(2)];
        ASSERT_EQ(OCIHandleAlloc(wrappers[0].key, &made, type, 0, nullptr), OCI_SUCCESS);
        wrappers.push_back({made, type});
        return;
    }
    if (below(4) == 0) {
        if (const expected_wrapper *w = pick(types[below(4)])) {
            const expected_wrapper gone = *w;
            ASSERT_EQ(OCIHandleFree(gone.key, gone.type), OCI_SUCCESS);
            std::erase_if(wrappers, [&](const expected_wrapper &other) { return other.key == gone.key; });
            remove_children(gone.key);
        }
        return;
    }
    expected_wrapper *w = pick(OCI_HTYPE_STMT);
    const expected_wrapper *context = pick(OCI_HTYPE_SVCCTX);
    if (w == nullptr || context == nullptr)
        return;
    auto *stmt = static_cast<OCIStmt *>(w->key);
    switch (below(4)) {
    case 0:
        ASSERT_EQ(OCIStmtExecute(static_cast<OCISvcCtx *>(context->key), stmt, err, 1, 0, nullptr, nullptr,
                                 OCI_DEFAULT),
                  OCI_SUCCESS);
        w->state = 2;
        break;
    case 1:
        ASSERT_EQ(OCIStmtPrepare(stmt, err, text_of("x"), 1, OCI_NTV_SYNTAX, OCI_DEFAULT), OCI_SUCCESS);
        if (std::exchange(w->state, 1) == 2)
            remove_children(stmt);
        break;
    default:
        const ub4 type = types[2 + below(2)];
        ASSERT_EQ((type == OCI_HTYPE_BIND ? bind_by_position : define_by_position)(stmt, &made, err),
                  OCI_SUCCESS);
        w->child_count++;
        wrappers.push_back({made, type, 3, stmt});
    }
}

void Model::compare()
{
    const std::vector<om_handle_t *> actual = table();
    ASSERT_EQ(actual.size(), wrappers.size());
    ASSERT_EQ(hdl_list_tbl->hash_count, wrappers.size());
    for (std::size_t i = 0; i < actual.size(); i++) {
        const expected_wrapper &e = wrappers[i];
        ASSERT_EQ(actual[i]->ora_hndlp, e.key);
        ASSERT_EQ(actual[i]->type, e.type);
        ASSERT_EQ(actual[i]->state, e.state);
        ASSERT_EQ(wrapper(e.key), actual[i]);
        if (e.type != OCI_HTYPE_STMT)
            continue;
        /* Children that were released on their own stay on the list. */
        ASSERT_EQ(actual[i]->sub_link_count, e.child_count);
        std::vector<om_handle_t *> attached = children(actual[i]);
        std::erase_if(attached, [](const om_handle_t *child) { return child->is_released; });
        std::vector<om_handle_t *> expected;
        for (std::size_t j = 0; j < wrappers.size(); j++)
            if (wrappers[j].owner == e.key)
                expected.push_back(actual[j]);
        ASSERT_EQ(attached, expected);
    }
}

TEST_P(Model, RandomCalls)
{
    OCIEnv *env = nullptr;
    void *made = nullptr;
    ASSERT_EQ(create_environment(&env), OCI_SUCCESS);
    ASSERT_EQ(OCIHandleAlloc(env, &made, OCI_HTYPE_ERROR, 0, nullptr), OCI_SUCCESS);
    wrappers = {{env, OCI_HTYPE_ENV}, {made, OCI_HTYPE_ERROR}};
    err = static_cast<OCIError *>(made);
    for (int step = 0; step < 400 && !HasFailure(); step++) {
        SCOPED_TRACE(step);
        any_call();
        compare();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Model, testing::Range(1U, 11U));

} // namespace
