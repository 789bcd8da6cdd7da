#include "fixture.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>

#include <dlfcn.h>

namespace manager_tests
{

/* ---- backends ---- */

namespace
{

recording::journal shared_journal;
recording::backend *backends[2];

recording::backend *open_backend(const std::string &path)
{
    void *library = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void *function = library != nullptr ? dlsym(library, "recording_backend") : nullptr;
    if (function == nullptr) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), dlerror());
        std::abort();
    }
    recording::backend *result = reinterpret_cast<recording_backend_function *>(function)();
    result->log = &shared_journal;
    return result;
}

} // namespace

void use_backends(const std::string &oracle_directory, const std::string &dravik_directory)
{
    backends[0] = open_backend(oracle_directory + "/libclntsh.so");
    backends[1] = open_backend(dravik_directory + "/libdkoci.so");
    setenv("DKOM_ORA_LIB_PATH", oracle_directory.c_str(), 1);
    setenv("DKOM_DRK_LIB_PATH", dravik_directory.c_str(), 1);
}

std::string variant(const std::string &name)
{
    return std::string(RECORDING_DIRECTORY "/") + name;
}

recording::backend &oracle()
{
    return *backends[0];
}

recording::backend &dravik()
{
    return *backends[1];
}

std::vector<recording::call> &calls()
{
    return shared_journal.calls;
}

namespace
{

/* A call in full, with its arguments in hexadecimal and its text. */
std::string show(const recording::call &c)
{
    std::ostringstream out;
    out << (c.from == recording::oracle ? "Oracle." : "Dravik.") << c.function << std::hex;
    for (std::size_t i = 0; i < c.arguments.size(); i++)
        out << (i == 0 ? "(0x" : ", 0x") << c.arguments[i];
    out << ") \"" << c.text << '"';
    return out.str();
}

} // namespace

void expect_calls(const std::vector<recording::call> &expected)
{
    std::vector<std::string> actual_calls;
    std::vector<std::string> expected_calls;
    for (std::size_t i = 0; i < calls().size(); i++) {
        recording::call actual = calls()[i];
        if (i < expected.size()) {
            const words &wanted = expected[i].arguments;
            if (wanted.empty())
                actual = {actual.from, actual.function, {}, {}};
            for (std::size_t a = 0; a < std::min(wanted.size(), actual.arguments.size()); a++)
                if (wanted[a] == any_word)
                    actual.arguments[a] = any_word;
        }
        actual_calls.push_back(show(actual));
    }
    std::transform(expected.begin(), expected.end(), std::back_inserter(expected_calls), show);
    EXPECT_EQ(actual_calls, expected_calls);
    forget_calls();
}

/* ---- wrappers ---- */

std::vector<om_handle_t *> table()
{
    std::vector<om_handle_t *> all;
    list_link_t *head = &hdl_list_tbl->hash_list[0];
    for (list_link_t *link = head->next; link != head; link = link->next)
        all.push_back(list_owner(link, om_handle_t, link));
    return all;
}

om_handle_t *wrapper(const void *ora_hndlp)
{
    for (om_handle_t *candidate : table())
        if (candidate->ora_hndlp == ora_hndlp)
            return candidate;
    return nullptr;
}

std::vector<om_handle_t *> children(const om_handle_t *owner)
{
    std::vector<om_handle_t *> all;
    for (list_link_t *link = owner->sub_link.next; link != &owner->sub_link; link = link->next)
        all.push_back(list_owner(link, om_handle_t, sub_link));
    return all;
}

void expect_new(const om_handle_t *w, ub4 type, ub4 state, ub4 last_exec, const void *parent)
{
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->type, type);
    EXPECT_EQ(w->state, state);
    EXPECT_EQ(w->last_exec, last_exec);
    EXPECT_EQ(w->last_err, 0U);
    EXPECT_EQ(w->dk_hndlp != nullptr, (last_exec & 2) != 0);
    EXPECT_EQ(w->parenthp, parent);
    const auto &family = w->childhp.child_grp;
    EXPECT_TRUE(family.first == nullptr && family.second == nullptr && family.third == nullptr);
    EXPECT_TRUE(w->param_link.next == &w->param_link && w->param_link.prev == &w->param_link);
    EXPECT_EQ(w->sub_link_count + w->param_link_count + w->ref_count, 0U);
}

/* ---- environment and trace ---- */

scoped_variable::scoped_variable(const char *variable_name, const std::optional<std::string> &value)
    : name(variable_name)
{
    if (const char *old = std::getenv(name))
        before = old;
    set(value);
}

void scoped_variable::set(const std::optional<std::string> &value) const
{
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

temporary_directory::temporary_directory(const char *borrowed) : owned(borrowed == nullptr)
{
    std::string name = std::filesystem::temp_directory_path() / "dkom_test_XXXXXX";
    if (owned && mkdtemp(name.data()) == nullptr)
        throw std::filesystem::filesystem_error("mkdtemp", name,
                                                std::error_code(errno, std::generic_category()));
    path = owned ? name : borrowed;
}

temporary_directory::~temporary_directory()
{
    std::error_code ignored;
    if (owned)
        std::filesystem::remove_all(path, ignored);
}

void forget_trace_state()
{
    cLogInit = 0;
    std::memset(cLogRoot, 0, sizeof cLogRoot);
    std::memset(cLogFileName, 0, sizeof cLogFileName);
    LOG_LVL = 10;
    lStandardSec = 0;
}

namespace
{

/* Set for a new process that goes on with a test of its parent. */
constexpr const char *inherited_directory = "DKOM_TEST_TRACE_DIRECTORY";

} // namespace

trace_capture::trace_capture(int level)
    : directory(std::getenv(inherited_directory)), path_variable("DKOM_LOG_PATH", directory.path.string()),
      level_variable("DKOM_LOG_LEVEL", std::to_string(level))
{
    forget_trace_state();
}

std::string trace_capture::contents() const
{
    for (const auto &entry : std::filesystem::directory_iterator(directory.path)) {
        std::ifstream in(entry.path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    return {};
}

void trace_capture::clear() const
{
    for (const auto &entry : std::filesystem::directory_iterator(directory.path))
        std::filesystem::remove(entry.path());
}

records_t trace_capture::records() const
{
    records_t all = parse_records(contents());
    std::erase_if(all, [](const record &r) { return r.level == OM_LOG_LIST; });
    return all;
}

namespace
{

struct decoration {
    int level;
    std::string before;
    std::string after;
};

const std::array<decoration, 6> decorations{{
    {OM_LOG_ASSERT, "\x1b[31m\x1b[1mASSERT - ", " <<< Check Please \x1b[0m"},
    {OM_LOG_ERROR, "\x1b[31mERROR - ", "\x1b[0m"},
    {OM_LOG_INFO, "\x1b[1mINFO - ", "\x1b[0m"},
    {OM_LOG_DEBUG, "DEBUG - ", ""},
    {OM_LOG_LIST, "DEBUG LIST - ", ""},
    {OM_LOG_TRACE, "\x1b[32mTRACE - ", "()\x1b[0m"},
}};

/* A record without its time: decoration, message and source. */
record parse_record(const std::string &text)
{
    static const std::regex source(R"( - \(([^()]*):(\d+)\)\n$)");
    std::smatch match;
    if (!std::regex_search(text, match, source)) {
        ADD_FAILURE() << "no source in record: " << text;
        return {-1, text};
    }
    record result{0, match.prefix().str(), std::stoi(match[2]), match[1]};
    if (result.text.empty())
        return result;
    for (const decoration &d : decorations) {
        if (result.text.size() >= d.before.size() + d.after.size() && result.text.starts_with(d.before) &&
            result.text.ends_with(d.after)) {
            result.level = d.level;
            result.text =
                result.text.substr(d.before.size(), result.text.size() - d.before.size() - d.after.size());
            return result;
        }
    }
    ADD_FAILURE() << "no decoration in record: " << text;
    return result;
}

} // namespace

records_t parse_records(const std::string &contents)
{
    static const std::regex time(R"((^|\n)\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d:(0|[1-9]\d{0,5})\] )");
    records_t all;
    std::size_t start = std::string::npos;
    for (std::sregex_iterator i(contents.begin(), contents.end(), time), end; i != end; ++i) {
        const auto position =
            static_cast<std::size_t>(i->position()) + static_cast<std::size_t>(i->length(1));
        if (start != std::string::npos)
            all.push_back(parse_record(contents.substr(start, position - start)));
        else
            EXPECT_EQ(position, 0U) << contents;
        start = static_cast<std::size_t>(i->position() + i->length());
    }
    if (start != std::string::npos)
        all.push_back(parse_record(contents.substr(start)));
    else
        EXPECT_EQ(contents, "");
    return all;
}

void expect_records(const records_t &actual, const records_t &expected)
{
    for (std::size_t i = 0; i < std::max(actual.size(), expected.size()); i++) {
        if (i >= actual.size() || i >= expected.size()) {
            const record &odd = i < actual.size() ? actual[i] : expected[i];
            ADD_FAILURE() << (i < actual.size() ? "surplus" : "missing") << " record " << i << ": level "
                          << odd.level << ": " << odd.text;
            continue;
        }
        EXPECT_EQ(actual[i].level, expected[i].level) << "record " << i << ": " << actual[i].text;
        if (expected[i].text.ends_with(any_tail)) {
            EXPECT_THAT(actual[i].text,
                        testing::StartsWith(expected[i].text.substr(0, expected[i].text.size() - 1)));
        } else {
            EXPECT_EQ(actual[i].text, expected[i].text) << "record " << i;
        }
        if (expected[i].line != 0) {
            EXPECT_EQ(actual[i].line, expected[i].line) << "record " << i << ": " << actual[i].text;
        }
    }
}

void expect_last(const trace_capture &trace, const records_t &expected)
{
    records_t last = trace.records();
    if (last.size() > expected.size())
        last.erase(last.begin(), last.end() - static_cast<std::ptrdiff_t>(expected.size()));
    expect_records(last, expected);
}

std::string print_words(const std::string &text, const words &values)
{
    std::ostringstream out;
    std::size_t used = 0;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] != '%') {
            out << text[i];
            continue;
        }
        const word value = values.at(used++);
        switch (text.at(++i)) {
        case 'p':
            out << (value != 0 ? "0x" : "(nil)");
            if (value != 0)
                out << std::hex << value << std::dec;
            break;
        case 'd':
            out << static_cast<int>(value);
            break;
        case 'u':
            out << static_cast<unsigned>(value);
            break;
        case 's':
            out << from_word<const char *>(value);
            break;
        default: // long
            out << static_cast<long>(value);
            i++;
        }
    }
    return out.str();
}

record argument_record(const std::string &prototype, words values, const exceptions &printed_as)
{
    static const std::regex parameter(R"((\w[^,()]*?)(\w+) *[,)])");
    std::string text = prototype;
    std::ptrdiff_t used = 0;
    for (std::sregex_iterator i(prototype.begin(), prototype.end(), parameter), end; i != end; ++i) {
        const std::string type = (*i)[1];
        const std::string name = (*i)[2];
        const bool address = type.ends_with('*') || type.starts_with("OCICallback");
        const auto exception = printed_as.find(name);
        const std::string shown = exception != printed_as.end() ? exception->second : address ? "=%p" : "=%d";
        if (shown.empty())
            values.erase(values.begin() + used);
        else
            text.append("\n\t").append(name).append(shown);
        used += std::count(shown.begin(), shown.end(), '%');
    }
    return {OM_LOG_INFO, print_words(text, values)};
}

records_t lookup_records(const void *key, int type, int entry_type, bool is_remove)
{
    records_t all{debug("get_hash_table_entry:tblp[%p] key[%p] type[%d] is_remove[%d] entry_type[%d]",
                        hdl_list_tbl, key, type, is_remove, entry_type)};
    if (key == nullptr)
        return all;
    const bool found = wrapper(key) != nullptr;
    all.push_back({found ? OM_LOG_INFO : OM_LOG_ERROR,
                   print("%s_hash_table_entry: %s - entry_type=%d, hash_table[0], key=%p",
                         is_remove ? "del" : "get", found ? "FOUND" : "NOT FOUND", entry_type, key)});
    all.push_back(
        debug("print_hash_table: hash count=%u", hdl_list_tbl->hash_count - (is_remove && found ? 1 : 0)));
    return all;
}

records_t insertion_records(const void *key, ub4 type, int entry_type)
{
    return {
        info("put_hash_table_entry: entry_type=%d, hash_table[0], key=%p, type=%d", entry_type, key, type),
        debug("print_hash_table: hash count=%u", hdl_list_tbl->hash_count)};
}

record deletion_record(const void *key, const om_handle_t *w)
{
    return info("delete hash table entry => key=%p, wrapper=%p, state=%u type=%u", key, w, w->state, w->type);
}

/* ---- stops ---- */

void expect_stop(const stop &expected, const char *file, int line)
{
    const testing::ScopedTrace site(file, line, expected.function);
    const trace_capture trace(expected.level);
    const scoped_variable inherited(inherited_directory, trace.directory.path.string());
    records_t records = expected.before;
    int assertion_line = expected.line;
    if (!expected.reason.empty()) {
        records.push_back({OM_LOG_ASSERT, expected.reason, expected.line});
        assertion_line = expected.line != 0 ? expected.line + 1 : 0;
    }
    records.push_back({OM_LOG_ASSERT, "There is a problem. exit now!", assertion_line});
    const std::string source = "oci_manager/oci_manager/[a-z_]+\\.(cpp|h):" +
                               (assertion_line != 0 ? std::to_string(assertion_line) : "[0-9]+") + ": ";
    GTEST_FLAG_SET(death_test_style, expected.in_new_process ? "threadsafe" : "fast");
    EXPECT_EXIT(expected.call(), testing::KilledBySignal(SIGABRT),
                testing::AllOf(testing::ContainsRegex(source), testing::HasSubstr(expected.says),
                               testing::HasSubstr(": " + expected.function + ": Assertion `" +
                                                  expected.assertion + "' failed.")));
    GTEST_FLAG_SET(death_test_style, "fast");
    expect_records(trace.records(), records);
}

/* ---- calls with arguments that do not matter ---- */

sword create_environment(OCIEnv **env)
{
    return OCIEnvCreate(env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
}

sword bind_by_position(OCIStmt *stmt, void **variable, OCIError *err)
{
    return OCIBindByPos(stmt, reinterpret_cast<OCIBind **>(variable), err, 1, nullptr, 0, SQLT_INT, nullptr,
                        nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
}

sword bind_by_name(OCIStmt *stmt, void **variable, OCIError *err)
{
    return OCIBindByName(stmt, reinterpret_cast<OCIBind **>(variable), err, text_of(":a"), 2, nullptr, 0,
                         SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
}

sword define_by_position(OCIStmt *stmt, void **variable, OCIError *err)
{
    return OCIDefineByPos(stmt, reinterpret_cast<OCIDefine **>(variable), err, 1, nullptr, 0, SQLT_INT,
                          nullptr, nullptr, nullptr, OCI_DEFAULT);
}

/* ---- fixtures ---- */

EmptyTest::EmptyTest()
{
    oracle().reset();
    dravik().reset();
    forget_calls();
    forget_trace_state();
    hdl_list_tbl = nullptr;
}

ManagerTest::ManagerTest()
{
    EXPECT_EQ(create_environment(&env), OCI_SUCCESS);
    err = allocate<OCIError>(OCI_HTYPE_ERROR);
    srv = allocate<OCIServer>(OCI_HTYPE_SERVER);
    svc = allocate<OCISvcCtx>(OCI_HTYPE_SVCCTX);
    ses = allocate<OCISession>(OCI_HTYPE_SESSION);
    trans = allocate<OCITrans>(OCI_HTYPE_TRANS);
    stmt = allocate<OCIStmt>(OCI_HTYPE_STMT);
    dsc = allocate<OCIDescribe>(OCI_HTYPE_DESCRIBE);
    snap_in = allocate_descriptor<OCISnapshot>(OCI_DTYPE_SNAP);
    snap_out = allocate_descriptor<OCISnapshot>(OCI_DTYPE_SNAP);
    lob = allocate_descriptor<OCILobLocator>(OCI_DTYPE_LOB);
    forget_calls();
}

OCIBind *ManagerTest::new_bind()
{
    void *bind = nullptr;
    EXPECT_EQ(bind_by_position(stmt, &bind, err), OCI_SUCCESS);
    return static_cast<OCIBind *>(bind);
}

OCIDefine *ManagerTest::new_define()
{
    void *define = nullptr;
    EXPECT_EQ(define_by_position(stmt, &define, err), OCI_SUCCESS);
    return static_cast<OCIDefine *>(define);
}

} // namespace manager_tests
