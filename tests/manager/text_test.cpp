/*
 * Texts of the program that end at a page which cannot be read: no call needs more of them than it is told,
 * and the trace shows what is there.
 */
#include <cstring>

#include <sys/mman.h>

#include "fixture.h"

using namespace manager_tests;

namespace
{

/* Memory behind which nothing can be read. */
class page
{
public:
    page()
    {
        memory = static_cast<char *>(
            mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(memory + size, size, PROT_NONE);
        std::memset(memory, '.', size);
    }
    ~page() { munmap(memory, 2 * size); }
    page(const page &) = delete;
    page &operator=(const page &) = delete;

    /* Puts a text at the end, without a terminating zero. */
    OraText *end_with(const std::string &text) const
    {
        return reinterpret_cast<OraText *>(
            std::memcpy(memory + size - text.size(), text.data(), text.size()));
    }

    static constexpr std::size_t size = 4096;
    char *memory;
};

class UnreadableText : public ManagerTest
{
protected:
    /* Runs a call at the level that shows its texts, and looks for them in its trace. */
    void expect_shown(const std::function<void()> &call, const std::vector<std::string> &shown)
    {
        const trace_capture trace(OM_LOG_TRACE);
        call();
        for (const std::string &text : shown)
            EXPECT_THAT(trace.contents(), testing::HasSubstr(text));
    }

    page p;
    page other;
};

TEST_F(UnreadableText, EndsWhereItCannotBeRead)
{
    OCIBind *bind = nullptr;
    sb4 code = 0;
    expect_shown([&] { OCIServerAttach(srv, err, p.end_with("link"), 4, OCI_DEFAULT); },
                 {"\n\tdblink=link, c_sid=link\n"});
    expect_shown([&] { OCIStmtPrepare(stmt, err, p.end_with("SELECT 1"), 8, OCI_NTV_SYNTAX, OCI_DEFAULT); },
                 {"\n\tstmt=SELECT 1, c_sid=SELECT 1\n"});
    expect_shown(
        [&] {
            OCIStmt *made = nullptr;
            OCIStmtPrepare2(svc, &made, err, p.end_with("SELECT 2"), 8, other.end_with("tag"), 3,
                            OCI_NTV_SYNTAX, OCI_DEFAULT);
        },
        {"\n\tstmt=SELECT 2\n", "\n\tkey=tag\n"});
    expect_shown(
        [&] {
            OCIBindByName(stmt, &bind, err, p.end_with(":name"), 5, other.end_with("value"), 5, SQLT_CHR,
                          nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
        },
        {"\n\tplaceholder=:name, c_sid=:name\n", "before bindp=", ", valuep=value", "after bindp="});
    /* A value that comes later is no address at all. */
    void *const marker = from_word<void *>(1);
    expect_shown(
        [&] {
            bind = nullptr;
            OCIBindByName(stmt, &bind, err, text_of(":b"), 2, marker, 4, SQLT_INT, nullptr, nullptr, nullptr,
                          0, nullptr, OCI_DATA_AT_EXEC);
        },
        {", valuep=\x1b[0m"});
    expect_shown([&] { OCIServerVersion(svc, err, p.end_with("old"), 3, OCI_HTYPE_SVCCTX); },
                 {"\n\tbufp=old\n"});
    expect_shown([&] { OCINlsGetInfo(env, err, p.end_with("old"), 3, OCI_NLS_CHARSET_ID); },
                 {"\n\tbuf=old\n"});
    for (const ub4 backend : {1U, 2U}) {
        wrapper(err)->last_err = backend;
        (backend == 1 ? oracle() : dravik()).next("OCIErrorGet", OCI_NO_DATA);
        expect_shown(
            [&] {
                OCIErrorGet(err, 1, other.end_with("state"), &code, p.end_with("rest"), 4, OCI_HTYPE_ERROR);
            },
            {"\n\tsqlstate=state\n", "\n\tbufp=rest, c_sid="});
    }
}

TEST_F(UnreadableText, IsReadAcrossPages)
{
    const page whole;
    mprotect(whole.memory + page::size, page::size, PROT_READ | PROT_WRITE);
    std::memset(whole.memory, 'a', page::size + 100);
    expect_shown([&] { OCIServerVersion(svc, err, reinterpret_cast<OraText *>(whole.memory), 1, 3); },
                 {"bufp=" + std::string(page::size + 100, 'a') + "\n"});
    expect_shown([&] { OCIServerVersion(svc, err, nullptr, 0, 3); }, {"bufp=(null)\n"});
}

} // namespace
