/*
 * Where a connection goes, what a refusal says, and what a program can ask afterwards.
 */
#include <dkom.h>

#include "recorded.h"

namespace extended_tests
{
namespace
{

struct error_text {
    sb4 code;
    std::string text;
};

/* All records of an error handle, as a program reads them. */
std::vector<error_text> errors_of(OCIError *err)
{
    std::vector<error_text> all;
    sb4 code = 0;
    OraText text[1024];
    for (ub4 i = 1;
         OCIErrorGet(err, i, nullptr, &code, text, sizeof text, OCI_HTYPE_ERROR) == OCI_SUCCESS && i < 9; i++)
        all.push_back({code, reinterpret_cast<const char *>(text)});
    return all;
}

class ExtendedRouting : public testing::Test
{
protected:
    ExtendedRouting()
    {
        for (const side s : {oracle, dravik})
            backend(s).reset();
    }
    ~ExtendedRouting() override { unsetenv("DKOM_ROUTES"); }

    void create()
    {
        EXPECT_EQ(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr),
                  OCI_SUCCESS);
        err = static_cast<OCIError *>(allocate(OCI_HTYPE_ERROR));
    }

    void *allocate(ub4 type)
    {
        void *made = nullptr;
        EXPECT_EQ(OCIHandleAlloc(env, &made, type, 0, nullptr), OCI_SUCCESS);
        return made;
    }

    /* Attaches and says in which order which sides were tried. */
    std::string attach(const std::string &link, sword expected = OCI_SUCCESS)
    {
        auto *srv = static_cast<OCIServer *>(allocate(OCI_HTYPE_SERVER));
        forget_calls();
        EXPECT_EQ(OCIServerAttach(srv, err, reinterpret_cast<const OraText *>(link.data()),
                                  static_cast<sb4>(link.size()), OCI_DEFAULT),
                  expected);
        std::string tried;
        for (const recording::call &c : calls())
            if (c.function == "OCIServerAttach")
                tried += c.from == recording::oracle ? 'o' : 'd';
        served = 9;
        EXPECT_EQ(OCIAttrGet(srv, OCI_HTYPE_SERVER, &served, nullptr, DKOM_ATTR_BACKEND, err), OCI_SUCCESS);
        return tried;
    }

    OCIEnv *env = nullptr;
    OCIError *err = nullptr;
    ub1 served = 0; // who serves the server that was attached last
};

TEST_F(ExtendedRouting, follows_the_table_of_routes)
{
    if (!has(oracle) || !has(dravik))
        GTEST_SKIP() << "needs both";
    create();
    const struct {
        const char *routes;
        std::string link;
        std::string tried; // when Oracle refuses
    } cases[] = {
        {"", "hr", "od"},
        {"hr=dravik", "hr", "d"},
        {"hr=dravik", "HR", "d"},
        {"hr=dravik", "hr2", "od"},
        {" hr = dravik , * = dravik oracle ", "sales", "d"},
        {"*_test=dravik,x*y=Dravik,*=ORACLE dravik", "hr_test", "d"},
        {"*_test=dravik,x*y=Dravik,*=ORACLE dravik", "x12y", "d"},
        {"*_test=dravik,x*y=Dravik,*=ORACLE dravik", "x12", "od"},
        {"(HOST=a,PORT=1)=dravik,*=oracle dravik", "(host=a,port=1)", "d"},
    };
    backend(oracle).always("OCIServerAttach", OCI_ERROR);
    for (const auto &c : cases) {
        setenv("DKOM_ROUTES", c.routes, 1);
        EXPECT_EQ(attach(c.link), c.tried) << c.routes << " for " << c.link;
        EXPECT_EQ(served, DKOM_BACKEND_DRAVIK);
    }
    setenv("DKOM_ROUTES", "*=oracle", 1);
    EXPECT_EQ(attach("hr", OCI_ERROR), "o");
    EXPECT_EQ(served, DKOM_BACKEND_NONE);

    for (const char *wrong : {"hr", "hr=", "hr=mysql", "*=dravik,hr=oracle oracle", "=oracle"}) {
        setenv("DKOM_ROUTES", wrong, 1);
        EXPECT_EQ(attach("hr", OCI_ERROR), "") << wrong;
        const std::vector<error_text> errors = errors_of(err);
        ASSERT_EQ(errors.size(), 1U);
        EXPECT_EQ(errors[0].code, 90006);
        EXPECT_NE(errors[0].text.find("DKOM_ROUTES"), std::string::npos) << errors[0].text;
    }
}

TEST_F(ExtendedRouting, gives_the_reasons_of_both_libraries)
{
    if (!has(oracle) || !has(dravik))
        GTEST_SKIP() << "needs both";
    create();
    EXPECT_TRUE(errors_of(err).empty());
    EXPECT_EQ(OCIErrorGet(err, 1, nullptr, nullptr, nullptr, 0, OCI_HTYPE_ERROR), OCI_NO_DATA);
    for (const side s : {oracle, dravik}) {
        backend(s).always("OCIServerAttach", OCI_ERROR);
        backend(s).error_code = s == oracle ? 12154 : 777;
        backend(s).error_text = s == oracle ? "ORA-12154: unknown link" : "no such server";
    }
    EXPECT_EQ(attach("hr", OCI_ERROR), "od");
    std::vector<error_text> errors = errors_of(err);
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_EQ(errors[0].code, 12154);
    EXPECT_EQ(errors[0].text, "ORA-12154: unknown link");
    EXPECT_EQ(errors[1].code, 777);
    EXPECT_EQ(errors[1].text, "no such server");

    // One that is tried alone is asked itself, as after any other call.
    setenv("DKOM_ROUTES", "*=dravik", 1);
    EXPECT_EQ(attach("hr", OCI_ERROR), "d");
    sb4 code = 0;
    OraText text[64];
    EXPECT_EQ(OCIErrorGet(err, 1, nullptr, &code, text, sizeof text, OCI_HTYPE_ERROR), OCI_SUCCESS);
    EXPECT_EQ(code, 777);
}

TEST_F(ExtendedRouting, serves_everything_with_one_library)
{
    if (has(oracle) && has(dravik))
        GTEST_SKIP() << "needs one that is missing";
    create();
    EXPECT_EQ(attach("hr"), has(oracle) ? "o" : "d");
    setenv("DKOM_ROUTES", has(oracle) ? "*=dravik" : "*=oracle", 1);
    EXPECT_EQ(attach("hr", OCI_ERROR), "");
    const std::vector<error_text> errors = errors_of(err);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_NE(errors[0].text.find(has(oracle) ? "libdkoci.so" : "libclntsh.so"), std::string::npos)
        << errors[0].text;
}

/* What is set before the attach is set in both libraries; afterwards the connection's alone is asked. */
TEST_F(ExtendedRouting, carries_attributes_to_the_backend_that_is_chosen)
{
    if (!has(oracle) || !has(dravik))
        GTEST_SKIP() << "needs both";
    create();
    const auto sides = [](const std::string &function) {
        std::string all;
        for (const recording::call &c : calls())
            if (c.function == function)
                all += c.from == recording::oracle ? 'o' : 'd';
        forget_calls();
        return all;
    };
    void *ses = allocate(OCI_HTYPE_SESSION);
    void *svc = allocate(OCI_HTYPE_SVCCTX);
    auto *srv = static_cast<OCIServer *>(allocate(OCI_HTYPE_SERVER));
    forget_calls();
    char user[] = "scott";
    EXPECT_EQ(OCIAttrSet(ses, OCI_HTYPE_SESSION, user, 5, OCI_ATTR_USERNAME, err), OCI_SUCCESS);
    EXPECT_EQ(sides("OCIAttrSet"), "od");
    // One refusal is not missed as long as nobody knows which side it will be.
    backend(oracle).next("OCIAttrSet", OCI_ERROR);
    EXPECT_EQ(OCIAttrSet(ses, OCI_HTYPE_SESSION, user, 5, OCI_ATTR_MODULE, err), OCI_SUCCESS);
    EXPECT_EQ(sides("OCIAttrSet"), "od");

    // The server may be put on a service context before it is attached, too.
    EXPECT_EQ(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, srv, 0, OCI_ATTR_SERVER, err), OCI_SUCCESS);
    EXPECT_EQ(OCIAttrSet(svc, OCI_HTYPE_SVCCTX, ses, 0, OCI_ATTR_SESSION, err), OCI_SUCCESS);
    setenv("DKOM_ROUTES", "*=dravik", 1);
    EXPECT_EQ(OCIServerAttach(srv, err, nullptr, 0, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(OCISessionBegin(static_cast<OCISvcCtx *>(svc), err, static_cast<OCISession *>(ses),
                              OCI_CRED_RDBMS, OCI_DEFAULT),
              OCI_SUCCESS);
    EXPECT_EQ(sides("OCISessionBegin"), "d");
    EXPECT_EQ(OCIAttrSet(ses, OCI_HTYPE_SESSION, user, 5, OCI_ATTR_MODULE, err), OCI_SUCCESS);
    EXPECT_EQ(sides("OCIAttrSet"), "d");
    backend(dravik).next("OCIAttrSet", OCI_ERROR);
    EXPECT_EQ(OCIAttrSet(ses, OCI_HTYPE_SESSION, user, 5, OCI_ATTR_MODULE, err), OCI_ERROR);
    EXPECT_EQ(sides("OCIAttrSet"), "d");

    // Failover callbacks are taken, though Dravik's library is not told of them.
    OCIFocbkStruct callback{[](void *, void *, void *, ub4, ub4) { return 0; }, user};
    EXPECT_EQ(OCIAttrSet(srv, OCI_HTYPE_SERVER, &callback, 0, OCI_ATTR_FOCBK, err), OCI_SUCCESS);
    EXPECT_EQ(sides("OCIAttrSet"), "");

    // Handles that come back are the program's.
    backend(dravik).always("OCIAttrGet", OCI_SUCCESS, [&](const words &a) {
        target<void *>(a[2]) = a[4] == OCI_ATTR_SESSION ? nullptr : backend(dravik).create();
    });
    void *found = ses;
    EXPECT_EQ(OCIAttrGet(svc, OCI_HTYPE_SVCCTX, &found, nullptr, OCI_ATTR_SESSION, err), OCI_SUCCESS);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(OCIAttrGet(svc, OCI_HTYPE_SVCCTX, &found, nullptr, OCI_ATTR_ENV, err), OCI_SUCCESS);
    EXPECT_EQ(found, env);
}

} // namespace
} // namespace extended_tests
