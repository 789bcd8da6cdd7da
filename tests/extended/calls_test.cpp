/*
 * Each published call, made from its prototype with arguments that all differ: it reaches the backend that it
 * should, with each handle translated and everything else in its place.
 */
#include <functional>
#include <set>
#include <utility>

#include "oci_manager/entry_points.h"
#include "recorded.h"

namespace extended_tests
{
namespace
{

/* What the rows of the published calls say; the roles are described there. */
enum class role {
    routed,
    any,
    object,
    every,
    lob_transfer,
    value_read,
    value_made,
    data_area,
    process,
    written,
    quick,
    variadic
};

struct published_call {
    std::string name;
    role how;
    std::vector<int> variables; // by parameter: the type of a variable or array of handles
    recording::function f;
};

template <class R, class... A> recording::function named_arguments(const char *name, R (*address)(A...))
{
    return recording::make_function(name, address);
}
/* Of a call with any number of arguments, those that have names. */
template <class R, class... A> recording::function named_arguments(const char *name, R (*address)(A..., ...))
{
    return recording::make_function(name, reinterpret_cast<R (*)(A...)>(address));
}

#include "extended/published_calls.h"

const std::vector<published_call> &published_calls()
{
    static const std::vector<published_call> all{
#define PUBLISHED(name, parameters, role_of_call)                                                            \
    {#name, role::role_of_call, recording::variable_types(&::name), named_arguments(#name, &::name)},
        OMX_PUBLISHED_CALLS(PUBLISHED)
#undef PUBLISHED
    };
    return all;
}

constexpr std::size_t block_size = 8192;
char blocks[24][block_size];

/* What a call needs beyond handles and distinct values. */
struct special {
    std::function<void(program &, words &)> prepare = {};
    std::set<std::size_t> replaced = {}; // arguments that the backend is given something else for
};

/* Puts values in place of the distinct ones. */
special with(const std::map<std::size_t, word> &values, std::set<std::size_t> replaced = {})
{
    return {[values](program &, words &a) {
                for (const auto &[position, value] : values)
                    a[position] = value;
            },
            std::move(replaced)};
}

special on_connection()
{
    return {[](program &p, words &a) { a[0] = to_word(p.svc()); }};
}

/* Writes a count where an argument points. */
special counted(std::size_t position)
{
    return {[position](program &, words &a) { target<ub4>(a[position]) = 2; }};
}

special allocation(ub4 type)
{
    return {[type](program &p, words &a) {
        a[0] = to_word(p.env());
        a[2] = type;
    }};
}

special release(int type)
{
    return {[type](program &p, words &a) {
        a[0] = to_word(p.another(type));
        a[1] = static_cast<word>(type);
    }};
}

/* A handle behind a void pointer, and its type in the next argument. */
special typed(int type, std::set<std::size_t> replaced = {})
{
    return {[type](program &p, words &a) {
                a[0] = to_word(p.handle(type));
                a[1] = static_cast<word>(type);
            },
            std::move(replaced)};
}

special user_callback(std::set<std::size_t> replaced)
{
    return {[](program &p, words &a) {
                a[0] = to_word(p.env());
                a[1] = OCI_HTYPE_ENV;
                a[2] = to_word(p.err());
            },
            std::move(replaced)};
}

special attribute(std::size_t position)
{
    return {[position](program &p, words &a) {
        a[0] = to_word(p.stmt());
        a[1] = OCI_HTYPE_STMT;
        a[position] = OCI_ATTR_PREFETCH_ROWS;
    }};
}

const std::map<std::string, special> &specials()
{
    static const std::map<std::string, special> all{
        {"OCIHandleAlloc", allocation(OCI_HTYPE_STMT)},
        {"OCIDescriptorAlloc", allocation(OCI_DTYPE_LOB)},
        {"OCIHandleFree", release(OCI_HTYPE_STMT)},
        {"OCIDescriptorFree", release(OCI_DTYPE_LOB)},
        {"OCIAttrGet", attribute(4)},
        {"OCIAttrSet", attribute(4)},
        {"OCIParamGet", typed(OCI_HTYPE_STMT, {3})},
        {"OCIParamSet", {[](program &p, words &a) {
             a[0] = to_word(p.handle(OCI_HTYPE_COMPLEXOBJECT));
             a[1] = OCI_HTYPE_COMPLEXOBJECT;
             a[3] = to_word(p.handle(OCI_DTYPE_COMPLEXOBJECTCOMP));
             a[4] = OCI_DTYPE_COMPLEXOBJECTCOMP;
         }}},
        {"OCIErrorGet", {[](program &p, words &a) {
             backend(p.bound).next("OCITransCommit", OCI_ERROR);
             EXPECT_EQ(OCITransCommit(p.svc(), p.err(), OCI_DEFAULT), OCI_ERROR);
             a[0] = to_word(p.err());
             a[6] = OCI_HTYPE_ERROR;
         }}},
        {"OCIDescribeAny", with({{4, OCI_OTYPE_NAME}})},
        {"OCIBreak", on_connection()},
        {"OCIReset", on_connection()},
        {"OCIServerVersion", on_connection()},
        {"OCIServerRelease", on_connection()},
        {"OCIAppCtxSet", on_connection()},
        {"OCIAppCtxClearAll", on_connection()},
        {"OCIUserCallbackRegister", user_callback({3, 4})},
        {"OCIUserCallbackGet", user_callback({})},
        {"OCIBindDynamic", {{}, {2, 3, 4, 5}}},
        {"OCIDefineDynamic", {{}, {2, 3}}},
        {"OCIStmtGetPieceInfo", {{}, {2}}},
        {"OCIStmtSetPieceInfo", {[](program &p, words &a) {
             a[0] = to_word(p.handle(OCI_HTYPE_BIND));
             a[1] = OCI_HTYPE_BIND;
         }}},
        {"OCIStmtGetBindInfo", with({{2, 2}})},
        {"OCIAQListen", with({{3, 2}})},
        {"OCIAQListen2", with({{3, 2}})},
        {"OCIAQEnqArray", counted(4)},
        {"OCIAQDeqArray", counted(4)},
        {"OCILobArrayRead", counted(2)},
        {"OCILobArrayWrite", counted(2)},
        {"OCISubscriptionRegister", with({{2, 2}})},
        {"OCISubscriptionPost", with({{2, 2}})},
        {"OCITransMultiPrepare", with({{1, 2}})},
        {"OCIObjectArrayPin", with({{5, 2}})},
        {"OCIXmlDbInitXmlCtx", with({{4, 2}}, {3})},
        {"OCILdaToSvcCtx", {[](program &p, words &a) {
             EXPECT_EQ(OCISvcCtxToLda(p.svc(), p.err(), from_word<Lda_Def *>(a[2])), OCI_SUCCESS);
         }}},
        // These leave what the program's variable held before to the backend's own.
        {"OCIStmtPrepare2", {{}, {1}}},
        {"OCILogon", {{}, {2}}},
        {"OCILogon2", {{}, {2}}},
        {"OCISessionGet", {{}, {2}}},
        {"ociepgoe", {{}, {1, 2, 3}}},
    };
    return all;
}

/* Calls that make an object for the caller's variable have nothing of the caller's to translate in it. */
bool makes_object(const published_call &c, std::size_t position)
{
    static const std::map<std::string, std::size_t> makers{
        {"OCIEnvCreate", 0},        {"OCIEnvNlsCreate", 0},   {"OCIEnvInit", 0},
        {"OCIFEnvCreate", 0},       {"OCIBindByPos", 1},      {"OCIBindByName", 1},
        {"OCIStmtBindByPos", 1},    {"OCIStmtBindByName", 1}, {"OCIDefineByPos", 1},
        {"OCIStmtGetBindInfo", 10}, {"OCILdaToSvcCtx", 0},    {"OCIHandleAlloc", 1},
        {"OCIDescriptorAlloc", 1}};
    const auto found = makers.find(c.name);
    return found != makers.end() && found->second == position;
}

/* Arrays of handles, of which tests give two. Other variables of handles hold one. */
bool is_array(const published_call &c, std::size_t position)
{
    static const std::set<std::pair<std::string, std::size_t>> arrays{{"OCIAQListen", 2},
                                                                      {"OCIAQListen2", 2},
                                                                      {"OCIAQEnqArray", 5},
                                                                      {"OCIAQDeqArray", 5},
                                                                      {"OCILobArrayRead", 3},
                                                                      {"OCILobArrayWrite", 3},
                                                                      {"OCISubscriptionRegister", 1},
                                                                      {"OCISubscriptionPost", 1},
                                                                      {"OCITransMultiPrepare", 2},
                                                                      {"OCITransMultiPrepare", 3},
                                                                      {"OCIObjectArrayPin", 4}};
    return arrays.count({c.name, position}) != 0;
}

/* Whether a call is about a connection, as its parameters tell. */
bool is_of_connection(const published_call &c)
{
    static const std::set<int> types{OCI_HTYPE_SVCCTX, OCI_HTYPE_SERVER, OCI_HTYPE_SESSION, OCI_HTYPE_STMT,
                                     OCI_HTYPE_BIND,   OCI_HTYPE_DEFINE, OCI_HTYPE_CPOOL,   OCI_HTYPE_SPOOL};
    static const std::set<std::string> names{"OCIAttrGet",
                                             "OCIAttrSet",
                                             "OCIParamGet",
                                             "OCIErrorGet",
                                             "OCIBreak",
                                             "OCIReset",
                                             "OCIServerVersion",
                                             "OCIServerRelease",
                                             "OCIAppCtxSet",
                                             "OCIAppCtxClearAll",
                                             "OCIStmtSetPieceInfo",
                                             "OCIObjectArrayPin",
                                             "OCILogon",
                                             "OCILogon2",
                                             "OCILdaToSvcCtx",
                                             "olog",
                                             "ologof",
                                             "oopen",
                                             "oclose"};
    if (c.how == role::object || c.how == role::data_area || names.count(c.name) != 0)
        return true;
    for (const recording::parameter &p : c.f.parameters)
        if (types.count(p.handle_type) != 0)
            return true;
    return false;
}

/* Arguments that all differ; handles where the prototype has some. */
words distinct_arguments(program &p, const published_call &c)
{
    static const std::map<std::size_t, word> numbers{{1, 40}, {2, 2000}, {4, 4000}, {8, 5000}};
    words arguments;
    for (std::size_t i = 0; i < c.f.parameters.size(); i++) {
        const recording::parameter &parameter = c.f.parameters[i];
        std::memset(blocks[i], 0, block_size);
        if (parameter.handle_type != 0) {
            // Two of one kind are two handles.
            bool repeated = false;
            for (std::size_t j = 0; j < i; j++)
                repeated = repeated || c.f.parameters[j].handle_type == parameter.handle_type;
            arguments.push_back(
                to_word(repeated ? p.another(parameter.handle_type) : p.handle(parameter.handle_type)));
        } else if (parameter.pointer) {
            arguments.push_back(to_word(&blocks[i][0]));
            if (c.variables[i] != 0 && !makes_object(c, i)) {
                target<void *>(arguments[i]) = p.handle(c.variables[i]);
                target<void *>(arguments[i] + sizeof(void *)) = p.another(c.variables[i]);
            }
        } else {
            arguments.push_back(numbers.at(parameter.size) + i);
        }
    }
    const bool hosted = c.how == role::any || c.how == role::value_read || c.how == role::value_made ||
                        c.how == role::variadic;
    if (hosted && c.f.parameters[0].handle_type == 0)
        arguments[0] = to_word(p.env());
    return arguments;
}

/* What a backend was given, and what was in its variables of handles at that time. */
struct seen_call {
    words arguments;
    std::vector<std::array<void *, 2>> variables;
};

class ExtendedCalls : public testing::TestWithParam<side>
{
protected:
    void run(const published_call &c);
};

void ExtendedCalls::run(const published_call &c)
{
    SCOPED_TRACE(c.name);
    program p(GetParam());
    words arguments = distinct_arguments(p, c);
    special extra;
    if (const auto found = specials().find(c.name); found != specials().end())
        extra = found->second;
    if (c.how == role::data_area || c.name == "ologof" || c.name == "oopen" || c.name == "oclose") {
        const std::size_t area = c.name == "oopen" ? 1 : 0;
        EXPECT_EQ(olog(from_word<cda_def *>(arguments[area]), nullptr, nullptr, 0, nullptr, 0, nullptr, 0, 0),
                  0);
    }
    if (extra.prepare)
        extra.prepare(p, arguments);
    if (c.name == "OCIConnectionPoolDestroy")
        OCIConnectionPoolCreate(p.env(), p.err(), p.get<OCICPool>(OCI_HTYPE_CPOOL), nullptr, nullptr, nullptr,
                                0, 0, 0, 0, nullptr, 0, nullptr, 0, 0);
    if (c.name == "OCISessionPoolDestroy")
        OCISessionPoolCreate(p.env(), p.err(), p.get<OCISPool>(OCI_HTYPE_SPOOL), nullptr, nullptr, nullptr, 0,
                             0, 0, 0, nullptr, 0, nullptr, 0, 0);

    const side expected = is_of_connection(c) ? p.bound : home();
    std::vector<seen_call> seen;
    backend(expected).always(c.name, OCI_SUCCESS, [&](const words &a) {
        seen.push_back({a, {}});
        for (std::size_t i = 0; i < a.size(); i++) {
            std::array<void *, 2> content{};
            if (c.variables[i] != 0 && a[i] != 0) {
                content[0] = target<void *>(a[i]);
                if (is_array(c, i))
                    content[1] = target<void *>(a[i] + sizeof(void *));
                if (content[0] == nullptr)
                    target<void *>(a[i]) = backend(expected).create();
            }
            seen.back().variables.push_back(content);
        }
    });
    if (c.name == "OCIFormatString")
        OCIFormatString(from_word<void *>(arguments[0]), from_word<OCIError *>(arguments[1]),
                        from_word<OraText *>(arguments[2]), static_cast<sbig_ora>(arguments[3]),
                        from_word<sbig_ora *>(arguments[4]), from_word<OraText *>(arguments[5]), 1, 2.5,
                        "three", 4, 5, 6, 7);
    else
        EXPECT_EQ(c.f.call(arguments), 0U);

    ASSERT_EQ(seen.size(), 1U) << "on " << (expected == oracle ? "Oracle" : "Dravik");
    const seen_call &got = seen.front();
    for (std::size_t i = 0; i < arguments.size(); i++) {
        if (extra.replaced.count(i) != 0 || makes_object(c, i)) {
            EXPECT_NE(got.arguments[i], 0U) << "argument " << i;
            continue;
        }
        const auto *given = from_word<const void *>(arguments[i]);
        if (c.variables[i] != 0) {
            EXPECT_EQ(got.variables[i][0], p.own(target<void *>(arguments[i]), expected)) << "argument " << i;
            if (is_array(c, i)) {
                EXPECT_EQ(got.variables[i][1], p.own(target<void *>(arguments[i] + sizeof(void *)), expected))
                    << "second handle of argument " << i;
            }
        } else if (void *own = c.f.parameters[i].pointer ? p.own(given, expected) : nullptr) {
            EXPECT_EQ(got.arguments[i], to_word(own)) << "argument " << i;
        } else {
            EXPECT_EQ(got.arguments[i], arguments[i]) << "argument " << i;
        }
    }
}

TEST_P(ExtendedCalls, reach_the_backend_with_each_argument_in_place)
{
    if (!has(GetParam()))
        GTEST_SKIP() << "not there";
    ASSERT_EQ(published_calls().size(), 653U);
    for (const published_call &c : published_calls())
        run(c);
}

INSTANTIATE_TEST_SUITE_P(Connections, ExtendedCalls, testing::Values(oracle, dravik),
                         [](const auto &info) { return info.param == oracle ? "Oracle" : "Dravik"; });

} // namespace
} // namespace extended_tests

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const char *missing = std::getenv("EXTENDED_TESTS_WITHOUT");
    extended_tests::use_backends(missing != nullptr ? missing : "");
    return RUN_ALL_TESTS();
}
