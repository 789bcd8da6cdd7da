/* Allocation and release of handles and descriptors, and the table that keeps their wrappers. */
#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const record oracle_runs{OM_LOG_INFO, "[ORACLE] OCI API will be executed"};
const record dravik_runs{OM_LOG_INFO, "[DRAVIK] OCI API will be executed"};
constexpr size_t extra_memory = 5000000003U;

/* Expects a wrapper as an allocation leaves it. */
void expect_allocated(const om_handle_t *w, const void *handle, ub4 type, ub4 last_exec)
{
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->ora_hndlp, handle);
    EXPECT_EQ(w->dk_hndlp != nullptr, (last_exec & 2) != 0);
    EXPECT_EQ(w->state, 4U);
    EXPECT_EQ(w->type, type);
    EXPECT_EQ(w->last_err, 0U);
    EXPECT_EQ(w->last_exec, last_exec);
    EXPECT_EQ(w->parenthp, nullptr);
    EXPECT_EQ(w->childhp.child_grp.first, nullptr);
    EXPECT_EQ(w->childhp.child_grp.second, nullptr);
    EXPECT_EQ(w->childhp.child_grp.third, nullptr);
    EXPECT_EQ(w->sub_link.next, &w->sub_link);
    EXPECT_EQ(w->sub_link.prev, &w->sub_link);
    EXPECT_EQ(w->param_link.next, &w->param_link);
    EXPECT_EQ(w->sub_link_count, 0U);
    EXPECT_EQ(w->param_link_count, 0U);
    EXPECT_EQ(w->ref_count, 0U);
}

class Handle : public ManagerTest
{
protected:
    sword alloc(ub4 type = OCI_HTYPE_STMT)
    {
        return OCIHandleAlloc(env, &handle, type, extra_memory, &memory);
    }

    record arguments(const void *parent, ub4 type) const
    {
        return {OM_LOG_INFO,
                format("OCIHandleAlloc(CONST dvoid *parenth, dvoid **hndlpp, CONST ub4 type, CONST size_t "
                       "xtramem_sz, dvoid **usrmempp)\n\tparenth=%p\n\thndlpp=%p\n\ttype=%u\n\txtramem_sz="
                       "5000000003\n\tusrmempp=%p",
                       parent, static_cast<const void *>(&handle), type, static_cast<const void *>(&memory))};
    }

    void *handle = nullptr;
    void *memory = nullptr;
};

TEST_F(Handle, AllocatesWhereTheParentRuns)
{
    for (const ub4 last_exec : {1U, 2U, 3U, 0U}) {
        SCOPED_TRACE(last_exec);
        route(env, last_exec);
        handle = nullptr;
        memory = nullptr;
        forget_calls();
        const ub4 count = hdl_list_tbl->hash_count;
        const trace_capture trace(OM_LOG_TRACE);
        records_t expected =
            sequence(records_t{{OM_LOG_TRACE, "OCIHandleAlloc"}, arguments(env, OCI_HTYPE_STMT)},
                     lookup_records(env, OCI_HTYPE_ENV));
        EXPECT_EQ(alloc(), OCI_SUCCESS);
        EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
        const om_handle_t *w = table().back();
        expect_allocated(w, handle, OCI_HTYPE_STMT, last_exec);
        EXPECT_EQ(handle != nullptr, (last_exec & 1) != 0);
        std::vector<std::string> expected_calls;
        if ((last_exec & 1) != 0) {
            expected_calls.emplace_back("Oracle.OCIHandleAlloc");
            expected.push_back(oracle_runs);
            EXPECT_EQ(calls()[0].arguments, (words{to_word(env), to_word(&handle), OCI_HTYPE_STMT,
                                                   extra_memory, to_word(&memory)}));
        }
        if ((last_exec & 2) != 0) {
            expected_calls.emplace_back("Dravik.OCIHandleAlloc");
            expected.push_back(dravik_runs);
            EXPECT_EQ(calls().back().arguments, (words{to_word(twin(env)), to_word(&w->dk_hndlp),
                                                       OCI_HTYPE_STMT, extra_memory, to_word(&memory)}));
        }
        EXPECT_EQ(called(), expected_calls);
        EXPECT_EQ(memory, last_exec == 0   ? nullptr
                          : last_exec == 1 ? oracle().user_memory
                                           : dravik().user_memory);
        expect_records(
            trace.records(),
            sequence(expected, insertion_records(handle, OCI_HTYPE_STMT),
                     records_t{{OM_LOG_INFO, format("END FUNC - OCIHandleAlloc()\n\treturn rc=0\n\t*hndlpp=%p"
                                                    "\n\t*usrmempp=%p",
                                                    handle, memory)}}));
    }
}

TEST_F(Handle, AnyHandleMayBeTheParent)
{
    EXPECT_EQ(OCIHandleAlloc(svc, &handle, OCI_HTYPE_TRANS, 0, nullptr), OCI_SUCCESS);
    EXPECT_EQ(calls()[0].arguments[0], to_word(svc));
    EXPECT_EQ(calls()[1].arguments[0], to_word(twin(svc)));
}

TEST_F(Handle, FailureOfOracle)
{
    for (const sword rc : {OCI_ERROR, OCI_SUCCESS_WITH_INFO}) {
        const std::vector<om_handle_t *> before = table();
        oracle().next("OCIHandleAlloc", rc);
        forget_calls();
        const trace_capture trace(OM_LOG_ERROR);
        EXPECT_EQ(alloc(), rc);
        EXPECT_THAT(called(), ElementsAre("Oracle.OCIHandleAlloc"));
        EXPECT_EQ(table(), before);
        expect_records(trace.records(),
                       {{OM_LOG_ERROR, format("END FUNC - OCIHandleAlloc(): ORACLE\n\treturn rc=%d", rc)}});
    }
}

TEST_F(Handle, FailureOfDravikUndoesOracle)
{
    const std::vector<om_handle_t *> before = table();
    dravik().always("OCIHandleAlloc", OCI_SUCCESS_WITH_INFO);
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(alloc(), OCI_SUCCESS_WITH_INFO);
    ASSERT_THAT(called(),
                ElementsAre("Oracle.OCIHandleAlloc", "Dravik.OCIHandleAlloc", "Oracle.OCIHandleFree"));
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(calls()[2].arguments, (words{to_word(handle), OCI_HTYPE_STMT}));
    EXPECT_FALSE(oracle().alive(handle));
    EXPECT_EQ(table(), before);
    expect_records(trace.records(), {{OM_LOG_ERROR, "END FUNC - OCIHandleAlloc(): DRAVIK\n\treturn rc=1"}});

    /* Oracle is asked to free nothing when it was not called. */
    route(env, 2);
    forget_calls();
    EXPECT_EQ(alloc(), OCI_SUCCESS_WITH_INFO);
    ASSERT_THAT(called(), ElementsAre("Dravik.OCIHandleAlloc", "Oracle.OCIHandleFree"));
    EXPECT_EQ(calls()[1].arguments, (words{0, OCI_HTYPE_STMT}));
}

TEST_F(Handle, Release)
{
    EXPECT_EQ(alloc(), OCI_SUCCESS);
    void *dravik_handle = twin(handle);
    const ub4 count = hdl_list_tbl->hash_count;
    forget_calls();
    const trace_capture trace(OM_LOG_TRACE);
    const records_t expected = sequence(
        records_t{{OM_LOG_TRACE, "OCIHandleFree"},
                  {OM_LOG_INFO,
                   format("OCIHandleFree(dvoid *hnlpp, CONST ub4 type)\n\thdlp=%p\n\ttype=4", handle)}},
        lookup_records(handle, OCI_HTYPE_STMT, OM_ENTRY_HANDLE, true),
        records_t{{OM_LOG_DEBUG, "Executed OCIHandleFree() to Oracle, rc0"},
                  {OM_LOG_DEBUG, "Executed OCIHandleFree() to Dravik, rc0"},
                  {OM_LOG_INFO, "END FUNC - OCIHandleFree()\n\treturn rc=0"}});
    EXPECT_EQ(OCIHandleFree(handle, OCI_HTYPE_STMT), OCI_SUCCESS);
    expect_records(trace.records(), expected);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIHandleFree", "Dravik.OCIHandleFree"));
    EXPECT_EQ(calls()[0].arguments, (words{to_word(handle), OCI_HTYPE_STMT}));
    EXPECT_EQ(calls()[1].arguments, (words{to_word(dravik_handle), OCI_HTYPE_STMT}));
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 1);
    EXPECT_EQ(wrapper(handle), nullptr);
}

TEST_F(Handle, ReleaseGoesByTwinsAndIgnoresRefusals)
{
    struct outcome {
        bool twin;
        sword oracle_result;
        sword dravik_result;
        sword result;
    };
    for (const outcome &o :
         {outcome{true, -1, 0, 0}, {true, 0, 1, 1}, {true, -1, -2, -2}, {false, -1, 0, -1}}) {
        EXPECT_EQ(alloc(), OCI_SUCCESS);
        if (!o.twin)
            wrapper(handle)->dk_hndlp = nullptr;
        route(handle, o.twin ? 1 : 3);
        oracle().next("OCIHandleFree", o.oracle_result);
        dravik().always("OCIHandleFree", o.dravik_result);
        forget_calls();
        const trace_capture trace(OM_LOG_DEBUG);
        EXPECT_EQ(OCIHandleFree(handle, OCI_HTYPE_STMT), o.result);
        EXPECT_EQ(calls().size(), o.twin ? 2U : 1U);
        EXPECT_EQ(wrapper(handle), nullptr);
        records_t records = trace.records();
        records_t expected;
        const auto end = [](int level, sword rc) {
            return record{level, format("END FUNC - OCIHandleFree()\n\treturn rc=%d", rc)};
        };
        const auto executed = [&](const char *backend, sword rc) {
            expected.push_back({OM_LOG_DEBUG, format("Executed OCIHandleFree() to %s, rc%d", backend, rc)});
            if (rc != 0)
                expected.push_back(end(OM_LOG_ERROR, rc));
        };
        executed("Oracle", o.oracle_result);
        if (o.twin)
            executed("Dravik", o.dravik_result);
        expected.push_back(end(OM_LOG_INFO, o.result));
        ASSERT_EQ(records.size(), expected.size() + 4);
        expect_records({records.begin() + 4, records.end()}, expected);
    }
}

TEST_F(Handle, ReleaseOfAStatementTakesItsChildrenAlong)
{
    OCIBind *bind = bind_by_position(1);
    OCIBind *kept = bind_by_position(2);
    OCIDefine *define = define_by_position(1);
    wrapper(kept)->state = 4;
    const std::vector<om_handle_t *> attached = children(wrapper(stmt));
    const ub4 count = hdl_list_tbl->hash_count;
    forget_calls();
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIHandleFree", "Dravik.OCIHandleFree"));
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 3);
    EXPECT_EQ(wrapper(bind), nullptr);
    EXPECT_EQ(wrapper(define), nullptr);
    EXPECT_EQ(wrapper(kept), attached.at(1));
    const records_t records = trace.records();
    ASSERT_EQ(records.size(), 5U);
    expect_records({records.begin() + 2, records.end() - 1},
                   {{OM_LOG_INFO, format("delete hash table entry => key=%p, wrapper=%p, state=3 type=5",
                                         static_cast<void *>(bind), static_cast<void *>(attached[0]))},
                    {OM_LOG_INFO, format("delete hash table entry => key=%p, wrapper=%p, state=3 type=6",
                                         static_cast<void *>(define), static_cast<void *>(attached[2]))}});

    violations_expected = true; // the statement has taken the bind along in Oracle's library
    EXPECT_EQ(OCIHandleFree(kept, OCI_HTYPE_BIND), OCI_SUCCESS);
    EXPECT_EQ(wrapper(kept), nullptr);
}

TEST_F(Handle, StopsWithoutAHandle)
{
    char unknown[8];
    for (void *none : {static_cast<void *>(nullptr), static_cast<void *>(unknown)}) {
        expect_stop({.name = "parent of a handle",
                     .call = [&] { OCIHandleAlloc(none, &handle, OCI_HTYPE_STMT, 0, nullptr); },
                     .function = "OCIHandleAlloc",
                     .assertion = "wparenth!=((void *)0)"});
        expect_stop({.name = "handle",
                     .call = [&] { OCIHandleFree(none, OCI_HTYPE_STMT); },
                     .function = "OCIHandleFree",
                     .assertion = "whdlp != ((void *)0)"});
        expect_stop({.name = "parent of a descriptor",
                     .call = [&] { OCIDescriptorAlloc(none, &handle, OCI_DTYPE_LOB, 0, nullptr); },
                     .function = "OCIDescriptorAlloc",
                     .assertion = "wparenth != ((void *)0)"});
        expect_stop({.name = "descriptor",
                     .call = [&] { OCIDescriptorFree(none, OCI_DTYPE_LOB); },
                     .function = "OCIDescriptorFree",
                     .assertion = "wdescp != ((void *)0)"});
    }
    EXPECT_EQ(OCIHandleFree(trans, OCI_HTYPE_TRANS), OCI_SUCCESS);
    expect_stop({.name = "released twice",
                 .call = [&] { OCIHandleFree(trans, OCI_HTYPE_TRANS); },
                 .function = "OCIHandleFree",
                 .assertion = "whdlp != ((void *)0)"});
}

TEST_F(Handle, StopsInAThreadWithoutATable)
{
    hdl_list_tbl = nullptr;
    expect_stop({.name = "no table",
                 .call = [&] { OCIHandleFree(stmt, OCI_HTYPE_STMT); },
                 .function = "get_hash_table_entry",
                 .assertion = "tblp != ((void *)0)"});
    expect_stop({.name = "no table and no key",
                 .call = [&] { OCIHandleFree(nullptr, OCI_HTYPE_STMT); },
                 .function = "get_hash_table_entry",
                 .assertion = "tblp != ((void *)0)"});
}

class Types : public ManagerTest
{
};

/* All that an allocation may ask for; the numbers between and beyond stop the process. */
TEST_F(Types, Accepted)
{
    const std::vector<ub4> descriptors{50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60,
                                       62, 63, 65, 68, 69, 70, 71, 72, 77, 78, 79};
    for (ub4 type = 1; type <= 29; type++) {
        void *handle = allocate<void>(type);
        EXPECT_EQ(wrapper(handle)->type, type);
        EXPECT_EQ(OCIHandleFree(handle, type), OCI_SUCCESS);
    }
    for (const ub4 type : descriptors) {
        void *descriptor = allocate_descriptor<void>(type);
        EXPECT_EQ(wrapper(descriptor)->type, type);
        EXPECT_EQ(OCIDescriptorFree(descriptor, type), OCI_SUCCESS);
    }
    for (const ub4 type : {0U, 30U, 49U, 50U, 4294967295U})
        expect_stop({.name = "handle type " + std::to_string(type),
                     .call = [&] { allocate<void>(type); },
                     .function = "check_hash_table_type",
                     .assertion = "0",
                     .reasons = {format("There is no avaiable handle type : %d", static_cast<int>(type))}});
    for (const ub4 type : {0U, 1U, 29U, 49U, 61U, 64U, 66U, 67U, 73U, 74U, 75U, 76U, 80U, 82U})
        expect_stop({.name = "descriptor type " + std::to_string(type),
                     .call = [&] { allocate_descriptor<void>(type); },
                     .function = "check_hash_table_type",
                     .assertion = "0",
                     .reasons = {format("There is no avaiable descriptor type : %u", type)}});
}

TEST_F(Types, CheckedAfterTheBackendsAndOnLookups)
{
    expect_stop({.name = "release",
                 .call = [&] { OCIHandleFree(stmt, 30); },
                 .function = "check_hash_table_type",
                 .assertion = "0",
                 .reasons = {"There is no avaiable handle type : 30"}});
    /* Both backends have allocated by the time an allocation's type is looked at. */
    EXPECT_EXIT(
        {
            dravik().always("OCIHandleAlloc", OCI_SUCCESS, [](const words &) { std::_Exit(42); });
            allocate<void>(30);
        },
        testing::ExitedWithCode(42), "");
    /* The type is not compared with the wrapper's own. */
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_SERVER), OCI_SUCCESS);
}

class Descriptor : public ManagerTest
{
protected:
    sword alloc(ub4 type = OCI_DTYPE_LOB)
    {
        return OCIDescriptorAlloc(env, &descriptor, type, extra_memory, &memory);
    }

    void *descriptor = nullptr;
    void *memory = nullptr;
};

TEST_F(Descriptor, AllocatesWhereTheParentRuns)
{
    for (const ub4 last_exec : {1U, 2U, 3U, 0U}) {
        SCOPED_TRACE(last_exec);
        route(env, last_exec);
        descriptor = nullptr;
        forget_calls();
        const ub4 count = hdl_list_tbl->hash_count;
        const trace_capture trace(OM_LOG_TRACE);
        records_t expected = sequence(
            records_t{
                {OM_LOG_TRACE, "OCIDescriptorAlloc"},
                {OM_LOG_INFO,
                 format("OCIDescriptorAlloc(CONST dvoid *parenth, dvoid **descpp, CONST ub4 type, CONST "
                        "size_t xtramem_sz, dvoid **usrmempp)\n\tparenth=%p\n\tdescpp=%p\n\ttype=50\n\t"
                        "xtramem_sz=5000000003\n\tusrmempp=%p",
                        static_cast<void *>(env), static_cast<void *>(&descriptor),
                        static_cast<void *>(&memory))}},
            lookup_records(env, OCI_HTYPE_ENV), lookup_records(nullptr, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR));
        EXPECT_EQ(alloc(), OCI_SUCCESS);
        EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
        const om_handle_t *w = table().back();
        expect_allocated(w, descriptor, OCI_DTYPE_LOB, last_exec);
        if ((last_exec & 1) != 0) {
            expected.push_back(oracle_runs);
            EXPECT_EQ(calls()[0].arguments, (words{to_word(env), to_word(&descriptor), OCI_DTYPE_LOB,
                                                   extra_memory, to_word(&memory)}));
        }
        if ((last_exec & 2) != 0) {
            expected.push_back(dravik_runs);
            EXPECT_EQ(calls().back().arguments, (words{to_word(twin(env)), to_word(&w->dk_hndlp),
                                                       OCI_DTYPE_LOB, extra_memory, to_word(&memory)}));
        }
        EXPECT_EQ(calls().size(), last_exec == 3 ? 2U : last_exec == 0 ? 0U : 1U);
        expect_records(trace.records(),
                       sequence(expected, insertion_records(descriptor, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR)));
    }
}

TEST_F(Descriptor, AVariableThatHoldsAKnownOneKeepsItsWrapper)
{
    EXPECT_EQ(alloc(), OCI_SUCCESS);
    void *first = descriptor;
    om_handle_t *w = wrapper(first);
    w->last_err = 7;
    allocate<OCITrans>(OCI_HTYPE_TRANS); // so that the descriptor is not the last in the table
    const std::vector<om_handle_t *> before = table();

    route(env, 1);
    EXPECT_EQ(alloc(OCI_DTYPE_ROWID), OCI_SUCCESS);
    EXPECT_NE(descriptor, first);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(descriptor), w);
    EXPECT_EQ(wrapper(first), nullptr);
    EXPECT_EQ(w->type, ub4{OCI_DTYPE_LOB});
    EXPECT_EQ(w->last_exec, 3U);
    EXPECT_EQ(w->last_err, 7U);

    /* A refusal leaves it in the table, with what the backend left in the variable. */
    oracle().next("OCIDescriptorAlloc", OCI_ERROR,
                  [](const words &a) { target<void *>(a[1]) = oracle().user_memory; });
    EXPECT_EQ(alloc(), OCI_ERROR);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(w->ora_hndlp, oracle().user_memory);
    route(env, 3);
    descriptor = oracle().user_memory;
    dravik().next("OCIDescriptorAlloc", OCI_ERROR);
    EXPECT_EQ(alloc(), OCI_ERROR);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(descriptor), w);
    EXPECT_EQ(OCIDescriptorFree(descriptor, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_EQ(table().size(), before.size() - 1);

    /* Another's handle in the variable is taken for a descriptor as well. */
    void *variable = trans;
    EXPECT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    EXPECT_EQ(wrapper(variable)->type, ub4{OCI_HTYPE_TRANS});
}

TEST_F(Descriptor, AnUnknownValueInTheVariableIsOnlyLookedUp)
{
    descriptor = this;
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(alloc(), OCI_SUCCESS);
    expect_records(
        trace.records(),
        {{OM_LOG_ERROR, format("get_hash_table_entry: NOT FOUND - entry_type=2, hash_table[0], key=%p",
                               static_cast<void *>(this))}});
    descriptor = this;
    expect_stop({.name = "type",
                 .call =
                     [&] {
                         oracle().always("OCIDescriptorAlloc", OCI_SUCCESS,
                                         [](const words &) { std::_Exit(42); });
                         alloc(OCI_DTYPE_LOCATOR);
                     },
                 .function = "check_hash_table_type",
                 .assertion = "0",
                 .reasons = {"There is no avaiable descriptor type : 61"}});
}

TEST_F(Descriptor, Failures)
{
    const std::vector<om_handle_t *> before = table();
    const trace_capture trace(OM_LOG_ERROR);
    oracle().next("OCIDescriptorAlloc", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(alloc(), OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(table(), before);
    descriptor = nullptr;
    dravik().always("OCIDescriptorAlloc", OCI_ERROR);
    forget_calls();
    EXPECT_EQ(alloc(), OCI_ERROR);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIDescriptorAlloc", "Dravik.OCIDescriptorAlloc",
                                      "Oracle.OCIDescriptorFree"));
    EXPECT_NE(descriptor, nullptr);
    EXPECT_EQ(calls()[2].arguments, (words{to_word(descriptor), OCI_DTYPE_LOB}));
    EXPECT_EQ(table(), before);
    descriptor = nullptr;
    route(env, 2);
    forget_calls();
    EXPECT_EQ(alloc(), OCI_ERROR);
    ASSERT_THAT(called(), ElementsAre("Dravik.OCIDescriptorAlloc", "Oracle.OCIDescriptorFree"));
    EXPECT_EQ(calls()[1].arguments, (words{0, OCI_DTYPE_LOB}));
    EXPECT_THAT(trace.records(), IsEmpty());
}

TEST_F(Descriptor, Release)
{
    const ub4 count = hdl_list_tbl->hash_count;
    const trace_capture trace(OM_LOG_TRACE);
    records_t expected =
        sequence(records_t{{OM_LOG_TRACE, "OCIDescriptorFree"},
                           {OM_LOG_INFO,
                            format("OCIDescriptorFree(dvoid *descp, CONST ub4 type)\n\tdescp=%p\n\ttype=50",
                                   static_cast<void *>(lob))}},
                 lookup_records(lob, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR),
                 lookup_records(lob, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR, true));
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS);
    expect_records(trace.records(), expected);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIDescriptorFree", "Dravik.OCIDescriptorFree"));
    EXPECT_EQ(calls()[0].arguments, (words{to_word(lob), OCI_DTYPE_LOB}));
    EXPECT_EQ(calls()[1].arguments, (words{to_word(lob), OCI_DTYPE_LOB}));
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 1);
}

TEST_F(Descriptor, ARefusedReleaseMayBeTriedAgain)
{
    oracle().next("OCIDescriptorFree", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS_WITH_INFO);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIDescriptorFree"));
    EXPECT_NE(wrapper(lob), nullptr);
    dravik().next("OCIDescriptorFree", OCI_ERROR);
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_ERROR);
    EXPECT_NE(wrapper(lob), nullptr);
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_EQ(wrapper(lob), nullptr);
}

TEST_F(Descriptor, ReleaseGoesByTwins)
{
    wrapper(lob)->dk_hndlp = nullptr;
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIDescriptorFree"));
}

class Table : public ManagerTest
{
};

TEST_F(Table, DumpShowsEveryWrapperInOrder)
{
    const trace_capture trace(OM_LOG_LIST);
    std::vector<std::string> rows;
    int number = 1;
    for (const om_handle_t *w : table())
        rows.push_back(
            format("print_hash_table[0000][%04d] => key=%p, wrapper=%p, state=%u, type=%u, last_err=%u, "
                   "last_exec=%u",
                   number++, w->ora_hndlp, static_cast<const void *>(w), w->state, w->type, w->last_err,
                   w->last_exec));
    ASSERT_EQ(rows.size(), 11U);
    EXPECT_EQ(OCIStmtFetch(stmt, nullptr, 1, OCI_FETCH_NEXT, OCI_DEFAULT), OCI_SUCCESS);
    std::vector<std::string> printed;
    for (const record &r : parse_records(trace.contents()))
        if (r.level == OM_LOG_LIST)
            printed.push_back(r.text);
    EXPECT_EQ(printed, rows);
}

TEST_F(Table, OlderOfEqualKeysAnswers)
{
    /* Oracle hands out an address that the table knows already. */
    oracle().next("OCIHandleAlloc", OCI_SUCCESS, [&](const words &a) { target<void *>(a[1]) = stmt; });
    om_handle_t *older = wrapper(stmt);
    void *again = allocate<void>(OCI_HTYPE_STMT);
    ASSERT_EQ(again, stmt);
    om_handle_t *newer = table().back();
    ASSERT_NE(newer, older);
    const auto fetch_on = [&](const om_handle_t *w) {
        forget_calls();
        OCIStmtFetch(stmt, err, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[1].arguments[0], to_word(w->dk_hndlp));
    };
    fetch_on(older);

    /* A descriptor keyed anew by the same address is younger in the table than the statement. */
    void *variable = lob;
    oracle().next("OCIDescriptorAlloc", OCI_SUCCESS, [&](const words &a) { target<void *>(a[1]) = stmt; });
    EXPECT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    fetch_on(older);

    /* A removal takes the oldest only. */
    const std::vector<om_handle_t *> before = table();
    oracle().always("OCIHandleFree", OCI_SUCCESS, [](const words &) {}); // keeps the address alive
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(table().size(), before.size() - 1);
    EXPECT_EQ(wrapper(stmt)->type, ub4{OCI_DTYPE_LOB});
    EXPECT_EQ(OCIDescriptorFree(stmt, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_EQ(wrapper(stmt), newer);
    violations_expected = true; // the address ended as descriptor in Oracle's library
    fetch_on(newer);
}

TEST_F(Table, ManyHandlesStayInOrder)
{
    const trace_capture trace(OM_LOG_ERROR); // dumps of many rows would take long
    std::vector<void *> handles(500);
    for (void *&handle : handles)
        handle = allocate<void>(OCI_HTYPE_TRANS);
    for (std::size_t i = 0; i < handles.size(); i += 3)
        EXPECT_EQ(OCIHandleFree(handles[i], OCI_HTYPE_TRANS), OCI_SUCCESS);
    std::vector<const void *> expected;
    for (std::size_t i = 0; i < handles.size(); i++)
        if (i % 3 != 0)
            expected.push_back(handles[i]);
    std::vector<const void *> keys;
    for (const om_handle_t *w : table())
        if (w->type == OCI_HTYPE_TRANS && w->ora_hndlp != trans)
            keys.push_back(w->ora_hndlp);
    EXPECT_EQ(keys, expected);
    EXPECT_EQ(hdl_list_tbl->hash_count, table().size());
    for (const void *key : expected)
        EXPECT_EQ(OCIHandleFree(const_cast<void *>(key), OCI_HTYPE_TRANS), OCI_SUCCESS);
    EXPECT_EQ(hdl_list_tbl->hash_count, 11U);
}

TEST_F(Table, KeyedAnewAmongMany)
{
    const trace_capture trace(OM_LOG_ERROR);
    constexpr std::size_t many = 300;
    std::vector<void *> handles(many);
    std::vector<void *> descriptors(many);
    for (std::size_t i = 0; i < many; i++) {
        handles[i] = allocate<void>(OCI_HTYPE_TRANS);
        descriptors[i] = allocate_descriptor<void>(OCI_DTYPE_LOB);
    }
    const std::vector<om_handle_t *> before = table();
    const std::vector<void *> old_keys = descriptors;
    for (int round = 0; round < 3; round++)
        for (void *&variable : descriptors)
            ASSERT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    EXPECT_EQ(table(), before);

    /* Each is found by its newest key and by no older one, which leaves a record. */
    for (void *key : old_keys) {
        void *variable = key;
        EXPECT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
        EXPECT_EQ(OCIDescriptorFree(variable, OCI_DTYPE_LOB), OCI_SUCCESS);
    }
    EXPECT_EQ(trace.records().size(), many);
    for (std::size_t i = 0; i < many; i++) {
        EXPECT_EQ(OCIDescriptorFree(descriptors[i], OCI_DTYPE_LOB), OCI_SUCCESS);
        EXPECT_EQ(OCIHandleFree(handles[i], OCI_HTYPE_TRANS), OCI_SUCCESS);
    }
    EXPECT_EQ(hdl_list_tbl->hash_count, 11U);
}

} // namespace
