/*
 * Plain attributes, which the library as it is built refuses to set: what an edition that admits them does
 * with their values. Runs on a build of the same sources with that switch on.
 */
#include "fixture.h"

using namespace manager_tests;

namespace
{

class PlainAttribute : public ManagerTest
{
protected:
    sword set(std::string value, ub4 attribute)
    {
        return OCIAttrSet(ses, OCI_HTYPE_SESSION, value.data(), static_cast<ub4>(value.size()), attribute,
                          err);
    }
};

/* User name and password are treated alike. */
struct text_attribute {
    ub4 attribute;
    const char *shown;
    int shown_line;
    const char *failure;
    int failure_line;
    int too_long_line;
};

const text_attribute text_attributes[] = {
    {OCI_ATTR_USERNAME, "User name is ", 2046, "The user name setting is fail", 2055, 2057},
    {OCI_ATTR_PASSWORD, "User password is ", 2065, "The user password setting is fail", 2074, 2076},
};

TEST_F(PlainAttribute, ValueReachesBothBackendsAsItIs)
{
    ub4 rows = 100;
    const trace_capture trace(OM_LOG_INFO);
    EXPECT_EQ(OCIAttrSet(stmt, OCI_HTYPE_STMT, &rows, 4, OCI_ATTR_PREFETCH_ROWS, err), OCI_SUCCESS);
    expect_calls(
        {to_oracle("OCIAttrSet", stmt, OCI_HTYPE_STMT, &rows, 4, OCI_ATTR_PREFETCH_ROWS, err),
         to_dravik("OCIAttrSet", twin(stmt), OCI_HTYPE_STMT, &rows, 4, OCI_ATTR_PREFETCH_ROWS, twin(err))});
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    expect_last(trace, {info("END FUNC - OCIAttrSet()\n\treturn rc=0, dk_rc=0").at(2162)});
}

TEST_F(PlainAttribute, UserNameAndPasswordAreNarrowed)
{
    const std::vector<std::pair<std::string, std::string>> texts{
        {std::string("s\0c\0o\0t\0t\0", 10), "scott"},
        {"scott", "scott"},
        {std::string("\0s\0c\0o\0t\0t", 10), "scott"},
        {std::string(1023, 'u'), std::string(1023, 'u')},
        {std::string(4, '\0'), ""},
    };
    for (const text_attribute &t : text_attributes) {
        for (const auto &[given, narrowed] : texts) {
            SCOPED_TRACE(t.shown + given);
            const trace_capture trace(OM_LOG_DEBUG);
            EXPECT_EQ(set(given, t.attribute), OCI_SUCCESS);
            expect_calls({with_text(to_oracle("OCIAttrSet", ses, OCI_HTYPE_SESSION, any_word, given.size(),
                                              t.attribute, err),
                                    given),
                          with_text(to_dravik("OCIAttrSet", twin(ses), OCI_HTYPE_SESSION, any_word,
                                              narrowed.size(), t.attribute, twin(err)),
                                    narrowed)});
            expect_last(trace, {debug(t.shown + narrowed).at(t.shown_line),
                                info("END FUNC - OCIAttrSet()\n\treturn rc=0, dk_rc=0").at(2162)});
        }
    }
}

TEST_F(PlainAttribute, FailureOfDravik)
{
    dravik().always("OCIAttrSet", OCI_SUCCESS_WITH_INFO);
    for (const text_attribute &t : text_attributes) {
        const trace_capture trace(OM_LOG_ERROR);
        EXPECT_EQ(set("scott", t.attribute), OCI_SUCCESS_WITH_INFO);
        expect_records(trace.records(), {failed(t.failure).at(t.failure_line),
                                         failed("END FUNC - OCIAttrSet()\n\treturn rc_dk=1").at(2094)});
        EXPECT_EQ(wrapper(err)->last_err, 2U);
    }
}

TEST_F(PlainAttribute, OtherAttributesOfASessionAreOraclesAlone)
{
    const trace_capture trace(OM_LOG_ERROR);
    EXPECT_EQ(set("x", OCI_ATTR_SCHEMA_NAME), 7777);
    expect_calls({to_oracle("OCIAttrSet")});
    EXPECT_EQ(wrapper(err)->last_err, 2U);
    expect_records(trace.records(), {failed("END FUNC - OCIAttrSet()\n\treturn rc_dk=7777").at(2094)});
    route(ses, 1);
    EXPECT_EQ(set("x", OCI_ATTR_SCHEMA_NAME), OCI_SUCCESS);
}

TEST_F(PlainAttribute, Stops)
{
    for (const text_attribute &t : text_attributes)
        expect_stop({[&] { set(std::string(1024, 'u'), t.attribute); }, "OCIAttrSet", "0", "Size is too big",
                     t.too_long_line});
    void *path = allocate(OCI_HTYPE_DIRPATH_CTX);
    ub4 value = 0;
    expect_stop({[&] { OCIAttrSet(path, OCI_HTYPE_DIRPATH_CTX, &value, 4, 1, err); }, "OCIAttrSet", "0",
                 "Called for direct path context handle", 2152});
}

} // namespace
