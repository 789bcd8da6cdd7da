/* Allocation and release of handles and descriptors, and the table that keeps their wrappers. */
#include "fixture.h"

using namespace manager_tests;
using testing::IsEmpty;

namespace
{

constexpr size_t extra_memory = 5000000003U;
constexpr const char *no_wrapper = "whdlp != ((void *)0)";

/* Handles and descriptors have much in common. */
class Allocated : public ManagerTest
{
protected:
    sword alloc() { return OCIHandleAlloc(env, &handle, OCI_HTYPE_STMT, extra_memory, &memory); }
    sword alloc_descriptor(ub4 type = OCI_DTYPE_LOB)
    {
        return OCIDescriptorAlloc(env, &handle, type, extra_memory, &memory);
    }
    sword release() { return OCIHandleFree(handle, OCI_HTYPE_STMT); }

    void *handle = nullptr;
    void *memory = nullptr;
};

using Handle = Allocated;
using Descriptor = Allocated;

TEST_F(Allocated, WhereTheParentRuns)
{
    for (const bool descriptor : {false, true}) {
        for (const ub4 last_exec : {1U, 2U, 3U, 0U}) {
            SCOPED_TRACE(print("%s, last_exec %u", descriptor ? "descriptor" : "handle", last_exec));
            const std::string function = descriptor ? "OCIDescriptorAlloc" : "OCIHandleAlloc";
            const ub4 type = descriptor ? OCI_DTYPE_LOB : OCI_HTYPE_STMT;
            const int entry_type = descriptor ? OM_ENTRY_DESCRIPTOR : OM_ENTRY_HANDLE;
            route(env, last_exec);
            handle = nullptr;
            memory = nullptr;
            const std::size_t count = table().size();
            const words arguments{to_word(env), to_word(&handle), type, extra_memory, to_word(&memory)};
            const trace_capture trace(OM_LOG_TRACE);
            records_t records =
                sequence(entered(function),
                         argument_record(function + "(CONST dvoid *parenth, dvoid **" +
                                             (descriptor ? "descpp" : "hndlpp") +
                                             ", CONST ub4 type, CONST size_t xtramem_sz, dvoid **usrmempp)",
                                         arguments, {{"xtramem_sz", "=%ld"}}),
                         lookup_records(env, OCI_HTYPE_ENV));
            if (descriptor)
                append(records, lookup_records(nullptr, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR));
            EXPECT_EQ(descriptor ? alloc_descriptor() : alloc(), OCI_SUCCESS);
            EXPECT_EQ(table().size(), count + 1);
            EXPECT_EQ(hdl_list_tbl->hash_count, count + 1);
            const om_handle_t *w = table().back();
            expect_new(w, type, 4, last_exec);
            EXPECT_THAT(children(w), IsEmpty());
            EXPECT_EQ(w->ora_hndlp, handle);
            EXPECT_EQ(handle != nullptr, (last_exec & 1) != 0);
            std::vector<recording::call> expected;
            if ((last_exec & 1) != 0) {
                records.push_back(oracle_runs);
                expected.push_back({recording::oracle, function, arguments, ""});
            }
            if ((last_exec & 2) != 0) {
                records.push_back(dravik_runs);
                expected.push_back(to_dravik(function, twin(env), &w->dk_hndlp, type, extra_memory, &memory));
            }
            expect_calls(expected);
            EXPECT_EQ(memory, last_exec == 0   ? nullptr
                              : last_exec == 1 ? oracle().user_memory
                                               : dravik().user_memory);
            append(records, insertion_records(handle, type, entry_type));
            if (!descriptor)
                records.push_back(
                    info("END FUNC - OCIHandleAlloc()\n\treturn rc=0\n\t*hndlpp=%p\n\t*usrmempp=%p", handle,
                         memory));
            expect_records(trace.records(), records);
        }
    }
}

TEST_F(Handle, AnyHandleMayBeTheParent)
{
    EXPECT_EQ(OCIHandleAlloc(svc, &handle, OCI_HTYPE_TRANS, 0, nullptr), OCI_SUCCESS);
    expect_calls({to_oracle("OCIHandleAlloc", svc, &handle, OCI_HTYPE_TRANS, 0, 0),
                  to_dravik("OCIHandleAlloc", twin(svc), &table().back()->dk_hndlp, OCI_HTYPE_TRANS, 0, 0)});
}

TEST_F(Handle, FailuresEnterNothing)
{
    const std::vector<om_handle_t *> before = table();
    const trace_capture trace(OM_LOG_ERROR);
    const auto ended = [](const char *backend, sword rc) {
        return failed("END FUNC - OCIHandleAlloc(): %s\n\treturn rc=%d", backend, rc);
    };
    for (const sword rc : {OCI_ERROR, OCI_SUCCESS_WITH_INFO}) {
        oracle().next("OCIHandleAlloc", rc);
        EXPECT_EQ(alloc(), rc);
        expect_calls({to_oracle("OCIHandleAlloc")});
    }

    /* A failure of Dravik undoes Oracle's part. */
    dravik().always("OCIHandleAlloc", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(alloc(), OCI_SUCCESS_WITH_INFO);
    EXPECT_NE(handle, nullptr);
    EXPECT_FALSE(oracle().alive(handle));
    expect_calls({to_oracle("OCIHandleAlloc"), to_dravik("OCIHandleAlloc"),
                  to_oracle("OCIHandleFree", handle, OCI_HTYPE_STMT)});
    route(env, 2);
    EXPECT_EQ(alloc(), OCI_SUCCESS_WITH_INFO);
    expect_calls({to_dravik("OCIHandleAlloc"), to_oracle("OCIHandleFree", 0, OCI_HTYPE_STMT)});
    expect_records(trace.records(),
                   {ended("ORACLE", -1), ended("ORACLE", 1), ended("DRAVIK", 1), ended("DRAVIK", 1)});
    EXPECT_EQ(table(), before);
}

TEST_F(Handle, ReleaseGoesByTwinsAndIgnoresRefusals)
{
    struct outcome {
        bool twin;
        sword oracle_result;
        sword dravik_result;
        sword result;
    };
    for (const outcome &o : {outcome{true, 0, 0, 0},
                             {true, -1, 0, 0},
                             {true, 0, 1, 1},
                             {true, -1, -2, -2},
                             {false, -1, 0, -1}}) {
        EXPECT_EQ(alloc(), OCI_SUCCESS);
        void *dravik_handle = twin(handle);
        if (!o.twin)
            wrapper(handle)->dk_hndlp = nullptr;
        route(handle, o.twin ? 1 : 3);
        oracle().next("OCIHandleFree", o.oracle_result);
        dravik().next("OCIHandleFree", o.dravik_result);
        forget_calls();
        const std::size_t count = table().size();
        const trace_capture trace(OM_LOG_TRACE);
        records_t expected =
            sequence(entered("OCIHandleFree"),
                     info("OCIHandleFree(dvoid *hnlpp, CONST ub4 type)\n\thdlp=%p\n\ttype=4", handle),
                     lookup_records(handle, OCI_HTYPE_STMT, OM_ENTRY_HANDLE, true));
        const std::string end = "END FUNC - OCIHandleFree()\n\treturn rc=%d";
        const auto executed = [&](const char *backend, sword rc) {
            expected.push_back(debug("Executed OCIHandleFree() to %s, rc%d", backend, rc));
            if (rc != 0)
                expected.push_back(failed(end, rc));
        };
        executed("Oracle", o.oracle_result);
        if (o.twin)
            executed("Dravik", o.dravik_result);
        expected.push_back(info(end, o.result));
        EXPECT_EQ(release(), o.result);
        expect_records(trace.records(), expected);
        std::vector<recording::call> released{to_oracle("OCIHandleFree", handle, OCI_HTYPE_STMT)};
        if (o.twin)
            released.push_back(to_dravik("OCIHandleFree", dravik_handle, OCI_HTYPE_STMT));
        expect_calls(released);
        EXPECT_EQ(wrapper(handle), nullptr);
        EXPECT_EQ(hdl_list_tbl->hash_count, count - 1);
    }
}

TEST_F(Handle, ReleaseOfAStatementTakesItsChildrenAlong)
{
    OCIBind *bind = new_bind();
    OCIBind *kept = new_bind();
    OCIDefine *define = new_define();
    om_handle_t *wkept = wrapper(kept);
    wkept->state = 4;
    const ub4 count = hdl_list_tbl->hash_count;
    const trace_capture trace(OM_LOG_INFO);
    const records_t expected{deletion_record(bind, wrapper(bind)), deletion_record(define, wrapper(define)),
                             info("END FUNC - OCIHandleFree()\n\treturn rc=0")};
    forget_calls();
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    expect_calls({to_oracle("OCIHandleFree"), to_dravik("OCIHandleFree")});
    EXPECT_EQ(trace.records().size(), 5U);
    expect_last(trace, expected);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 3);
    EXPECT_EQ(wrapper(bind), nullptr);
    EXPECT_EQ(wrapper(define), nullptr);
    EXPECT_EQ(wrapper(kept), wkept);

    EXPECT_EQ(OCIHandleFree(kept, OCI_HTYPE_BIND), OCI_SUCCESS);
    EXPECT_EQ(wrapper(kept), nullptr);
}

TEST_F(Allocated, Stops)
{
    for (void *none : no_handles<void>()) {
        expect_stop({[&] { OCIHandleAlloc(none, &handle, OCI_HTYPE_STMT, 0, nullptr); }, "OCIHandleAlloc",
                     "wparenth!=((void *)0)"});
        expect_stop({[&] { OCIHandleFree(none, OCI_HTYPE_STMT); }, "OCIHandleFree", no_wrapper});
        expect_stop({[&] { OCIDescriptorAlloc(none, &handle, OCI_DTYPE_LOB, 0, nullptr); },
                     "OCIDescriptorAlloc", "wparenth != ((void *)0)"});
        expect_stop(
            {[&] { OCIDescriptorFree(none, OCI_DTYPE_LOB); }, "OCIDescriptorFree", "wdescp != ((void *)0)"});
    }
    /* Released twice. */
    EXPECT_EQ(OCIHandleFree(trans, OCI_HTYPE_TRANS), OCI_SUCCESS);
    expect_stop({[&] { OCIHandleFree(trans, OCI_HTYPE_TRANS); }, "OCIHandleFree", no_wrapper});

    /* In a thread without a table, with and without a key. */
    hdl_list_tbl = nullptr;
    for (void *key : {static_cast<void *>(stmt), static_cast<void *>(nullptr)})
        expect_stop(
            {[&] { OCIHandleFree(key, OCI_HTYPE_STMT); }, "get_hash_table_entry", "tblp != ((void *)0)"});
}

/* All that an allocation may ask for; the numbers between and beyond stop the process. */
TEST_F(Allocated, Types)
{
    for (ub4 type = 1; type <= 29; type++) {
        handle = allocate(type);
        EXPECT_EQ(wrapper(handle)->type, type);
        EXPECT_EQ(OCIHandleFree(handle, type), OCI_SUCCESS);
    }
    for (const ub4 type : {50U, 51U, 52U, 53U, 54U, 55U, 56U, 57U, 58U, 59U, 60U,
                           62U, 63U, 65U, 68U, 69U, 70U, 71U, 72U, 77U, 78U, 79U}) {
        handle = allocate_descriptor(type);
        EXPECT_EQ(wrapper(handle)->type, type);
        EXPECT_EQ(OCIDescriptorFree(handle, type), OCI_SUCCESS);
    }
    for (const ub4 type : {0U, 30U, 49U, 50U, 4294967295U})
        expect_stop({[&] { allocate(type); }, "check_hash_table_type", "0",
                     print("There is no avaiable handle type : %d", type)});
    for (const ub4 type : {0U, 1U, 29U, 49U, 61U, 64U, 66U, 67U, 73U, 74U, 75U, 76U, 80U, 82U})
        expect_stop({[&] { allocate_descriptor(type); }, "check_hash_table_type", "0",
                     print("There is no avaiable descriptor type : %u", type)});
    expect_stop({[&] { OCIHandleFree(stmt, 30); }, "check_hash_table_type", "0",
                 "There is no avaiable handle type : 30"});

    /* Both backends have allocated by the time an allocation's type is looked at. */
    EXPECT_EXIT(
        {
            dravik().always("OCIHandleAlloc", OCI_SUCCESS, [](const words &) { std::_Exit(42); });
            allocate(30);
        },
        testing::ExitedWithCode(42), "");
    /* The type is not compared with the wrapper's own. */
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_SERVER), OCI_SUCCESS);
}

TEST_F(Descriptor, AVariableThatHoldsAKnownOneKeepsItsWrapper)
{
    EXPECT_EQ(alloc_descriptor(), OCI_SUCCESS);
    om_handle_t *w = wrapper(handle);
    w->last_err = 7;
    route(env, 1);
    EXPECT_EQ(alloc_descriptor(OCI_DTYPE_ROWID), OCI_SUCCESS);
    EXPECT_EQ(wrapper(handle), w);
    EXPECT_EQ(w->type, ub4{OCI_DTYPE_LOB});
    EXPECT_EQ(w->last_exec, 3U);
    EXPECT_EQ(w->last_err, 7U);

    /* Also when Dravik refuses. */
    const std::vector<om_handle_t *> before = table();
    route(env, 3);
    dravik().next("OCIDescriptorAlloc", OCI_ERROR);
    EXPECT_EQ(alloc_descriptor(), OCI_ERROR);
    EXPECT_EQ(table(), before);
    EXPECT_EQ(wrapper(handle), w);
    EXPECT_EQ(OCIDescriptorFree(handle, OCI_DTYPE_LOB), OCI_SUCCESS);

    /* Another's handle in the variable is taken for a descriptor as well. */
    handle = trans;
    EXPECT_EQ(alloc_descriptor(), OCI_SUCCESS);
    EXPECT_EQ(wrapper(handle)->type, ub4{OCI_HTYPE_TRANS});

    /* An unknown value is looked up in vain, and the type is looked at before a backend is asked. */
    handle = this;
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(alloc_descriptor(), OCI_SUCCESS);
    expect_records(trace.records(),
                   {failed("get_hash_table_entry: NOT FOUND - entry_type=2, hash_table[0], key=%p", this)});
    handle = this;
    oracle().always("OCIDescriptorAlloc", OCI_SUCCESS, [](const words &) { std::_Exit(42); });
    expect_stop({[&] { alloc_descriptor(OCI_DTYPE_LOCATOR); }, "check_hash_table_type", "0",
                 "There is no avaiable descriptor type : 61"});
}

TEST_F(Descriptor, Release)
{
    /* One that a backend refuses may be tried again. */
    oracle().next("OCIDescriptorFree", OCI_SUCCESS_WITH_INFO);
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS_WITH_INFO);
    expect_calls({to_oracle("OCIDescriptorFree")});
    EXPECT_NE(wrapper(lob), nullptr);
    dravik().next("OCIDescriptorFree", OCI_ERROR);
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_ERROR);
    EXPECT_NE(wrapper(lob), nullptr);
    forget_calls();

    const std::size_t count = table().size();
    const trace_capture trace(OM_LOG_TRACE);
    const records_t expected =
        sequence(entered("OCIDescriptorFree"),
                 info("OCIDescriptorFree(dvoid *descp, CONST ub4 type)\n\tdescp=%p\n\ttype=50", lob),
                 lookup_records(lob, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR),
                 lookup_records(lob, OCI_DTYPE_LOB, OM_ENTRY_DESCRIPTOR, true));
    EXPECT_EQ(OCIDescriptorFree(lob, OCI_DTYPE_LOB), OCI_SUCCESS);
    expect_records(trace.records(), expected);
    expect_calls({to_oracle("OCIDescriptorFree", lob, OCI_DTYPE_LOB),
                  to_dravik("OCIDescriptorFree", lob, OCI_DTYPE_LOB)});
    EXPECT_EQ(wrapper(lob), nullptr);
    EXPECT_EQ(hdl_list_tbl->hash_count, count - 1);

    wrapper(snap_in)->dk_hndlp = nullptr;
    EXPECT_EQ(OCIDescriptorFree(snap_in, OCI_DTYPE_SNAP), OCI_SUCCESS);
    expect_calls({to_oracle("OCIDescriptorFree")});
}

class Table : public ManagerTest
{
};

TEST_F(Table, DumpShowsEveryWrapperInOrder)
{
    const trace_capture trace(OM_LOG_LIST);
    std::vector<std::string> rows;
    for (const om_handle_t *w : table())
        rows.push_back(
            print("print_hash_table[0000][00%s%u] => key=%p, wrapper=%p, state=%u, type=%u, last_err=%u, "
                  "last_exec=%u",
                  rows.size() < 9 ? "0" : "", rows.size() + 1, w->ora_hndlp, w, w->state, w->type,
                  w->last_err, w->last_exec));
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
    oracle().next("OCIHandleAlloc", OCI_SUCCESS, returning(stmt));
    om_handle_t *older = wrapper(stmt);
    ASSERT_EQ(allocate(OCI_HTYPE_STMT), stmt);
    om_handle_t *newer = table().back();
    ASSERT_NE(newer, older);
    const auto fetch_on = [&](const om_handle_t *w) {
        forget_calls();
        fetch();
        ASSERT_EQ(calls().size(), 2U);
        EXPECT_EQ(calls()[1].arguments[0], to_word(w->dk_hndlp));
    };
    fetch_on(older);

    /* A descriptor keyed anew by the same address is younger in the table than the statement. */
    void *variable = lob;
    oracle().next("OCIDescriptorAlloc", OCI_SUCCESS, returning(stmt));
    EXPECT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    fetch_on(older);

    /* A removal takes the oldest only. */
    const std::size_t count = table().size();
    oracle().always("OCIHandleFree", OCI_SUCCESS, [](const words &) {}); // keeps the address alive
    EXPECT_EQ(OCIHandleFree(stmt, OCI_HTYPE_STMT), OCI_SUCCESS);
    EXPECT_EQ(table().size(), count - 1);
    EXPECT_EQ(wrapper(stmt)->type, ub4{OCI_DTYPE_LOB});
    EXPECT_EQ(OCIDescriptorFree(stmt, OCI_DTYPE_LOB), OCI_SUCCESS);
    EXPECT_EQ(wrapper(stmt), newer);
    fetch_on(newer);
}

TEST_F(Table, KeepsItsOrderAndKeysAmongMany)
{
    const trace_capture trace(OM_LOG_ERROR); // dumps of many rows would take long
    constexpr std::size_t many = 300;
    std::vector<void *> handles(many);
    std::vector<void *> descriptors(many);
    for (std::size_t i = 0; i < many; i++) {
        handles[i] = allocate(OCI_HTYPE_TRANS);
        descriptors[i] = allocate_descriptor(OCI_DTYPE_LOB);
    }
    std::vector<om_handle_t *> expected = table();
    for (std::size_t i = 0; i < many; i += 3) {
        std::erase(expected, wrapper(handles[i]));
        EXPECT_EQ(OCIHandleFree(handles[i], OCI_HTYPE_TRANS), OCI_SUCCESS);
    }
    EXPECT_EQ(hdl_list_tbl->hash_count, expected.size());
    const std::vector<void *> old_keys = descriptors;
    for (int round = 0; round < 3; round++)
        for (void *&variable : descriptors)
            ASSERT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
    EXPECT_EQ(table(), expected);

    /* Each is found by its newest key and by no older one, which leaves a record. */
    for (void *key : old_keys) {
        void *variable = key;
        EXPECT_EQ(OCIDescriptorAlloc(env, &variable, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
        EXPECT_EQ(OCIDescriptorFree(variable, OCI_DTYPE_LOB), OCI_SUCCESS);
    }
    EXPECT_EQ(trace.records().size(), many);
    for (std::size_t i = 0; i < many; i++) {
        EXPECT_EQ(OCIDescriptorFree(descriptors[i], OCI_DTYPE_LOB), OCI_SUCCESS);
        if (i % 3 != 0) {
            EXPECT_EQ(OCIHandleFree(handles[i], OCI_HTYPE_TRANS), OCI_SUCCESS);
        }
    }
    EXPECT_EQ(hdl_list_tbl->hash_count, 11U);
}

} // namespace
