/*
 * Plain attributes, which the library as it is built refuses to set: what an edition that admits them does
 * with their values. Runs on a build of the same sources with that switch on.
 */
#include "fixture.h"

using namespace manager_tests;
using testing::ElementsAre;

namespace
{

class PlainAttribute : public ManagerTest
{
protected:
    sword set(std::string value, ub4 attribute, ub4 type = OCI_HTYPE_SESSION)
    {
        void *handle = type == OCI_HTYPE_SESSION ? static_cast<void *>(ses) : static_cast<void *>(stmt);
        return OCIAttrSet(handle, type, value.data(), static_cast<ub4>(value.size()), attribute, err);
    }
};

TEST_F(PlainAttribute, ValueReachesBothBackendsAsItIs)
{
    ub4 rows = 100;
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIAttrSet(stmt, OCI_HTYPE_STMT, &rows, 4, OCI_ATTR_PREFETCH_ROWS, err), OCI_SUCCESS);
    ASSERT_THAT(called(), ElementsAre("Oracle.OCIAttrSet", "Dravik.OCIAttrSet"));
    EXPECT_EQ(calls()[0].arguments, (words{to_word(stmt), OCI_HTYPE_STMT, to_word(&rows), 4,
                                           OCI_ATTR_PREFETCH_ROWS, to_word(err)}));
    EXPECT_EQ(calls()[1].arguments, (words{to_word(twin(stmt)), OCI_HTYPE_STMT, to_word(&rows), 4,
                                           OCI_ATTR_PREFETCH_ROWS, to_word(twin(err))}));
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    expect_records({trace.records().back()},
                   {{OM_LOG_INFO, "END FUNC - OCIAttrSet()\n\treturn rc=0, dk_rc=0", 2162}});
}

TEST_F(PlainAttribute, UserNameAndPasswordAreNarrowed)
{
    struct text {
        std::string given;
        std::string narrowed;
    };
    const text texts[] = {
        {std::string("s\0c\0o\0t\0t\0", 10), "scott"},
        {"scott", "scott"},
        {std::string("\0s\0c\0o\0t\0t", 10), "scott"},
        {std::string(1023, 'u'), std::string(1023, 'u')},
        {std::string(4, '\0'), ""},
    };
    struct kind {
        ub4 attribute;
        const char *shown;
        int shown_line;
    };
    for (const kind &k : {kind{OCI_ATTR_USERNAME, "User name is ", 2046},
                          kind{OCI_ATTR_PASSWORD, "User password is ", 2065}}) {
        for (const text &t : texts) {
            SCOPED_TRACE(k.shown + t.given);
            forget_calls();
            const trace_capture trace(OM_LOG_DEBUG);
            EXPECT_EQ(set(t.given, k.attribute), OCI_SUCCESS);
            ASSERT_THAT(called(), ElementsAre("Oracle.OCIAttrSet", "Dravik.OCIAttrSet"));
            EXPECT_EQ(calls()[0].text, t.given);
            EXPECT_EQ(calls()[1].text, t.narrowed);
            EXPECT_EQ(calls()[1].arguments[0], to_word(twin(ses)));
            EXPECT_EQ(calls()[1].arguments[3], t.narrowed.size());
            EXPECT_EQ(calls()[1].arguments[4], k.attribute);
            const records_t records = trace.records();
            ASSERT_GT(records.size(), 2U);
            expect_records({records.end()[-2]}, {{OM_LOG_DEBUG, k.shown + t.narrowed, k.shown_line}});
        }
    }
}

TEST_F(PlainAttribute, FailureOfDravik)
{
    dravik().always("OCIAttrSet", OCI_SUCCESS_WITH_INFO);
    for (const ub4 attribute : {ub4{OCI_ATTR_USERNAME}, ub4{OCI_ATTR_PASSWORD}}) {
        const trace_capture trace(OM_LOG_ERROR);
        EXPECT_EQ(set("scott", attribute), OCI_SUCCESS_WITH_INFO);
        const bool name = attribute == OCI_ATTR_USERNAME;
        expect_records(
            trace.records(),
            {{OM_LOG_ERROR, name ? "The user name setting is fail" : "The user password setting is fail",
              name ? 2055 : 2074},
             {OM_LOG_ERROR, "END FUNC - OCIAttrSet()\n\treturn rc_dk=1", 2094}});
        EXPECT_EQ(wrapper(err)->last_err, 2U);
    }
}

TEST_F(PlainAttribute, OtherAttributesOfASessionAreOraclesAlone)
{
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(set("x", OCI_ATTR_SCHEMA_NAME), 7777);
    EXPECT_THAT(called(), ElementsAre("Oracle.OCIAttrSet"));
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    expect_records(trace.records(), {{OM_LOG_ERROR, "END FUNC - OCIAttrSet()\n\treturn rc_dk=7777", 2094}});
    route(ses, 1);
    EXPECT_EQ(set("x", OCI_ATTR_SCHEMA_NAME), OCI_SUCCESS);
}

TEST_F(PlainAttribute, Stops)
{
    for (const ub4 attribute : {ub4{OCI_ATTR_USERNAME}, ub4{OCI_ATTR_PASSWORD}}) {
        const int line = attribute == OCI_ATTR_USERNAME ? 2057 : 2076;
        expect_stop({.name = "too long",
                     .call = [&] { set(std::string(1024, 'u'), attribute); },
                     .function = "OCIAttrSet",
                     .assertion = "0",
                     .reasons = {"Size is too big"},
                     .reason_line = line,
                     .line = line + 1});
    }
    auto *path = allocate<void>(OCI_HTYPE_DIRPATH_CTX);
    ub4 value = 0;
    expect_stop({.name = "direct path",
                 .call =
                     [&] {
                         dravik().always("OCIAttrSet", OCI_SUCCESS,
                                         [](const words &) { std::fputs("Dravik was called. ", stderr); });
                         OCIAttrSet(path, OCI_HTYPE_DIRPATH_CTX, &value, 4, 1, err);
                     },
                 .function = "OCIAttrSet",
                 .assertion = "0",
                 .reasons = {"Called for direct path context handle"},
                 .reason_line = 2152,
                 .line = 2153});
}

} // namespace
