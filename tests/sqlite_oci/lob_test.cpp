// LOBs through locators: transfers in all forms against values computed here, locks, transactions.
#include "client.h"

#include <algorithm>

namespace sqlite_oci_test
{
namespace
{

// Each of a few kinds of character, some outside the basic plane, without a period that buffers could share.
std::u32string sample(std::size_t characters)
{
    constexpr char32_t kinds[] = {U'a', U'\u00E9', U'\u20AC', U'\U0001F600', U'z', U'\U00010348'};
    std::u32string result;
    for (std::size_t i = 0; i < characters; ++i)
        result += kinds[(i * i + i / 7) % std::size(kinds)];
    return result;
}

std::string utf8(const std::u32string &text)
{
    std::string result;
    for (const char32_t c : text) {
        const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        constexpr unsigned leads[] = {0, 0xC0, 0xE0, 0xF0};
        result += static_cast<char>(leads[more] | (c >> (6 * more)));
        for (int i = more - 1; i >= 0; --i)
            result += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
    }
    return result;
}

std::string utf16(const std::u32string &text)
{
    std::u16string units;
    for (const char32_t c : text) {
        if (c >= 0x10000)
            units += static_cast<char16_t>(0xD7C0 + (c >> 10));
        units += static_cast<char16_t>(c < 0x10000 ? c : 0xDC00 | (c & 0x3FF));
    }
    return {reinterpret_cast<const char *>(units.data()), units.size() * 2};
}

enum class manner { direct, polling, callback };

// How a LOB is transferred in a test.
struct form {
    bool is_text, is_wide;
    manner how;
    ub2 set;

    ub2 type() const { return is_text ? SQLT_CLOB : SQLT_BLOB; }
    std::string encode(const std::u32string &text) const
    {
        return is_text && set == OCI_UTF16ID ? utf16(text) : utf8(text);
    }
    // A length as LOBs count it.
    std::size_t units(const std::u32string &text) const
    {
        return is_text ? utf16(text).size() / 2 : utf8(text).size();
    }
    // What amounts of the classic calls count in the program's buffer.
    std::size_t classic(const std::string &encoded) const
    {
        return is_text && set == OCI_UTF16ID ? encoded.size() / 2 : encoded.size();
    }
};

std::ostream &operator<<(std::ostream &out, const form &used)
{
    return out << (used.is_text ? "CLOB" : "BLOB") << (used.is_wide ? " wide" : " classic") << " manner "
               << static_cast<int>(used.how) << " set " << used.set;
}

constexpr std::size_t buffer_size = 61; // of no whole number of characters

// The program's side of a transfer by callback.
struct stream {
    std::string data;
    std::size_t at = 0;
    std::vector<ub1> pieces;

    sb4 take(const void *bytes, std::size_t size, ub1 piece)
    {
        data.append(static_cast<const char *>(bytes), size);
        pieces.push_back(piece);
        return OCI_CONTINUE;
    }
    std::size_t give(void *buffer, std::size_t room, ub1 *piece)
    {
        const std::size_t size = data.copy(static_cast<char *>(buffer), room, at);
        at += size;
        *piece = at == data.size() ? OCI_LAST_PIECE : OCI_NEXT_PIECE;
        return size;
    }
};

sb4 on_read(void *context, const void *bytes, ub4 size, ub1 piece)
{
    return static_cast<stream *>(context)->take(bytes, size, piece);
}

sb4 on_read_wide(void *context, const void *bytes, oraub8 size, ub1 piece, void **, oraub8 *)
{
    return static_cast<stream *>(context)->take(bytes, size, piece);
}

sb4 on_write(void *context, void *buffer, ub4 *size, ub1 *piece)
{
    *size = static_cast<ub4>(static_cast<stream *>(context)->give(buffer, *size, piece));
    return OCI_CONTINUE;
}

sb4 on_write_wide(void *context, void *buffer, oraub8 *size, ub1 *piece, void **, oraub8 *)
{
    *size = static_cast<stream *>(context)->give(buffer, *size, piece);
    return OCI_CONTINUE;
}

class lob : public sqlite_oci_test
{
protected:
    lob() { EXPECT_EQ(db.run("CREATE TABLE t(id INTEGER PRIMARY KEY, c CLOB, b BLOB)"), 0); }

    OCILobLocator *locator()
    {
        void *made = nullptr;
        EXPECT_EQ(OCIDescriptorAlloc(db.env, &made, OCI_DTYPE_LOB, 0, nullptr), OCI_SUCCESS);
        return static_cast<OCILobLocator *>(made);
    }

    // The locator of the first row's value.
    OCILobLocator *select(std::string_view sql, ub2 type)
    {
        OCILobLocator *made = locator();
        const prepared query(db, sql);
        EXPECT_EQ(query.define(1, &made, -1, type), OCI_SUCCESS) << db.message();
        EXPECT_EQ(query.execute(1), OCI_SUCCESS) << db.message();
        return made;
    }

    sword call_write(const form &used, OCILobLocator *to, oraub8 offset, std::string data, ub1 piece,
                     oraub8 &written, stream *rest = nullptr)
    {
        const auto size = data.size();
        data.resize(std::max(size, buffer_size));
        if (used.is_wide) {
            oraub8 bytes = piece == OCI_ONE_PIECE ? size : 0, characters = 0;
            const sword status =
                OCILobWrite2(db.service, db.errors, to, &bytes, &characters, offset, data.data(), size, piece,
                             rest, rest ? on_write_wide : nullptr, used.set, SQLCS_IMPLICIT);
            written = characters;
            return status;
        }
        auto amount = static_cast<ub4>(piece == OCI_ONE_PIECE ? used.classic(data.substr(0, size)) : 0);
        const sword status = OCILobWrite(db.service, db.errors, to, &amount, static_cast<ub4>(offset),
                                         data.data(), static_cast<ub4>(size), piece, rest,
                                         rest ? on_write : nullptr, used.set, SQLCS_IMPLICIT);
        written = amount;
        return status;
    }

    // Writes all of `data`; how many units were told to be written.
    oraub8 write(const form &used, OCILobLocator *to, oraub8 offset, const std::string &data)
    {
        oraub8 written = 0;
        if (used.how == manner::direct) {
            EXPECT_EQ(call_write(used, to, offset, data, OCI_ONE_PIECE, written), OCI_SUCCESS)
                << db.message();
            return written;
        }
        if (used.how == manner::callback) {
            stream rest{data, buffer_size, {}};
            EXPECT_EQ(
                call_write(used, to, offset, data.substr(0, buffer_size), OCI_FIRST_PIECE, written, &rest),
                OCI_SUCCESS)
                << db.message();
            return written;
        }
        for (std::size_t at = 0; at < data.size(); at += buffer_size) {
            const bool is_last = at + buffer_size >= data.size();
            const int piece = is_last ? OCI_LAST_PIECE : at ? OCI_NEXT_PIECE : OCI_FIRST_PIECE;
            EXPECT_EQ(
                call_write(used, to, offset, data.substr(at, buffer_size), static_cast<ub1>(piece), written),
                is_last ? OCI_SUCCESS : OCI_NEED_DATA)
                << db.message();
        }
        return written;
    }

    sword call_read(const form &used, OCILobLocator *from, oraub8 offset, std::size_t units, char *buffer,
                    std::size_t room, ub1 piece, std::size_t &bytes, stream *into = nullptr)
    {
        if (used.is_wide) {
            oraub8 byte_amount = used.is_text ? 0 : units, characters = used.is_text ? units : 0;
            const sword status =
                OCILobRead2(db.service, db.errors, from, &byte_amount, &characters, offset, buffer, room,
                            piece, into, into ? on_read_wide : nullptr, used.set, SQLCS_IMPLICIT);
            bytes = byte_amount;
            return status;
        }
        auto amount = static_cast<ub4>(units);
        const sword status =
            OCILobRead(db.service, db.errors, from, &amount, static_cast<ub4>(offset), buffer,
                       static_cast<ub4>(room), into, into ? on_read : nullptr, used.set, SQLCS_IMPLICIT);
        bytes = used.is_text && used.set == OCI_UTF16ID ? amount * 2 : amount;
        return status;
    }

    std::string read(const form &used, OCILobLocator *from, oraub8 offset, std::size_t units)
    {
        std::string result, buffer(used.how == manner::direct ? units * 4 : buffer_size, '\0');
        std::size_t bytes = 0;
        if (used.how == manner::callback) {
            stream into;
            EXPECT_EQ(call_read(used, from, offset, units, buffer.data(), buffer.size(), OCI_FIRST_PIECE,
                                bytes, &into),
                      OCI_SUCCESS)
                << db.message();
            EXPECT_EQ(into.pieces.front(), OCI_FIRST_PIECE);
            EXPECT_EQ(into.pieces.back(), OCI_LAST_PIECE);
            return into.data;
        }
        sword status = OCI_NEED_DATA;
        while (status == OCI_NEED_DATA) {
            const int piece = used.how == manner::direct ? OCI_ONE_PIECE
                              : result.empty()           ? OCI_FIRST_PIECE
                                                         : OCI_NEXT_PIECE;
            status = call_read(used, from, offset, units, buffer.data(), buffer.size(),
                               static_cast<ub1>(piece), bytes);
            result.append(buffer, 0, bytes);
        }
        EXPECT_EQ(status, OCI_SUCCESS) << db.message();
        return result;
    }

    oraub8 length(OCILobLocator *of)
    {
        oraub8 wide = 0;
        ub4 classic = 0;
        EXPECT_EQ(OCILobGetLength2(db.service, db.errors, of, &wide), OCI_SUCCESS) << db.message();
        EXPECT_EQ(OCILobGetLength(db.service, db.errors, of, &classic), OCI_SUCCESS) << db.message();
        EXPECT_EQ(wide, classic);
        return wide;
    }
};

constexpr form plain_text{true, true, manner::direct, 0}, plain_bytes{false, true, manner::direct, 0};

// Fills an empty value, overwrites its middle and adds behind its end; then reads all and a part.
TEST_F(lob, values_pass_in_every_form)
{
    const std::u32string start = sample(800), middle(151, U'\u03A9'), end = sample(90);
    std::vector<form> forms;
    for (const bool is_text : {true, false})
        for (const bool is_wide : {false, true})
            for (const manner how : {manner::direct, manner::polling, manner::callback})
                for (const ub2 set : {ub2{0}, ub2{OCI_UTF16ID}})
                    forms.push_back({is_text, is_wide, how, set});
    int id = 0;
    for (const form &used : forms) {
        SCOPED_TRACE(testing::Message() << used);
        const std::string row = std::to_string(++id), column = used.is_text ? "c" : "b";
        ASSERT_EQ(
            db.run(std::string("INSERT INTO t VALUES(").append(row).append(", empty_clob(), empty_blob())")),
            0);
        const std::string query =
            std::string("SELECT ").append(column).append(" FROM t WHERE id = ").append(row);
        OCILobLocator *const target = select(query + " FOR UPDATE OF c, b NOWAIT;", used.type());
        EXPECT_EQ(length(target), 0u);

        const std::size_t place = used.units(start.substr(0, 300));
        EXPECT_EQ(write(used, target, 1, used.encode(start)), used.units(start));
        EXPECT_EQ(write(used, target, place + 1, used.encode(middle)), used.units(middle));
        const std::size_t total = used.units(start);
        EXPECT_EQ(write(used, target, total + 1, used.encode(end)), used.units(end));
        ASSERT_EQ(OCITransCommit(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS) << db.message();

        // Characters that the middle took the place of; it may end inside one of bytes.
        std::string expected;
        if (used.is_text) {
            const std::string whole = utf16(start);
            std::size_t after = place + middle.size();
            const std::string rest = whole.substr(after * 2);
            ASSERT_NE(static_cast<unsigned char>(rest[1]) & 0xFC, 0xDC) << "the test cuts a character";
            expected = whole.substr(0, place * 2) + utf16(middle) + rest + utf16(end);
        } else {
            expected = utf8(start);
            expected.replace(place, utf8(middle).size(), utf8(middle));
            expected += utf8(end);
        }
        OCILobLocator *const source = select(query, used.type());
        const form exact{used.is_text, used.is_wide, used.how, ub2{OCI_UTF16ID}};
        const std::size_t unit = used.is_text ? 2 : 1;
        EXPECT_EQ(length(source), expected.size() / unit);
        EXPECT_EQ(read(exact, source, 1, expected.size() / unit), expected);
        EXPECT_EQ(read(used, source, place + 1, used.units(middle)), used.encode(middle));
        EXPECT_EQ(read(used, source, total + 1, 100000), used.encode(end));
        std::size_t bytes = 1;
        char byte[4];
        EXPECT_EQ(call_read(used, source, total + used.units(end) + 1, 1, byte, 4, OCI_ONE_PIECE, bytes),
                  OCI_NO_DATA);
        EXPECT_EQ(bytes, 0u);
    }
}

TEST_F(lob, locators_and_null_come_in_arrays_of_structures)
{
    struct row {
        OCILobLocator *value;
        sb2 indicator;
        int id;
    } rows[3] = {{locator(), 0, 1}, {nullptr, OCI_IND_NULL, 2}, {locator(), 0, 3}};
    ASSERT_EQ(OCILobCreateTemporary(db.service, db.errors, rows[0].value, 0, SQLCS_IMPLICIT, OCI_TEMP_CLOB, 0,
                                    OCI_DURATION_SESSION),
              OCI_SUCCESS);
    ub4 nothing = 0;
    ASSERT_EQ(OCIAttrSet(rows[2].value, OCI_DTYPE_LOB, &nothing, 0, OCI_ATTR_LOBEMPTY, db.errors),
              OCI_SUCCESS);
    write(plain_text, rows[0].value, 1, "first");

    const prepared insert(db, "INSERT INTO t(id, c) VALUES(:id, :c)");
    OCIBind *id = nullptr, *value = nullptr;
    ASSERT_EQ(OCIBindByName(insert.handle, &id, db.errors, text(":id"), 3, &rows[0].id, sizeof(int), SQLT_INT,
                            nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIBindByName(insert.handle, &value, db.errors, text(":c"), 2, &rows[0].value, -1, SQLT_CLOB,
                            &rows[0].indicator, nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(id, db.errors, sizeof(row), 0, 0, 0), OCI_SUCCESS);
    ASSERT_EQ(OCIBindArrayOfStruct(value, db.errors, sizeof(row), sizeof(row), 0, 0), OCI_SUCCESS);
    ASSERT_EQ(insert.execute(3), OCI_SUCCESS) << db.message();
    EXPECT_EQ(db.ask("SELECT group_concat(id || ifnull(typeof(c) || ':' || c, '-')) FROM t"),
              "1text:first,2-,3text:");

    const prepared update(db, "UPDATE t SET b = :b");
    ASSERT_EQ(update.bind(":b", &rows[2].value, 0, SQLT_BLOB), OCI_SUCCESS);
    ASSERT_EQ(update.execute(1), OCI_SUCCESS) << db.message();
    EXPECT_EQ(db.ask("SELECT DISTINCT typeof(b) || length(b) FROM t"), "blob0");

    // And back, over what the locators stood for.
    const prepared query(db, "SELECT c FROM t ORDER BY id DESC");
    OCIDefine *defined = nullptr;
    rows[1].value = locator();
    ASSERT_EQ(OCIDefineByPos(query.handle, &defined, db.errors, 1, &rows[0].value, 0, SQLT_CLOB,
                             &rows[0].indicator, nullptr, nullptr, OCI_DEFAULT),
              OCI_SUCCESS);
    ASSERT_EQ(OCIDefineArrayOfStruct(defined, db.errors, sizeof(row), sizeof(row), 0, 0), OCI_SUCCESS);
    ASSERT_EQ(query.execute(3), OCI_SUCCESS) << db.message();
    EXPECT_EQ(length(rows[0].value), 0u);
    EXPECT_EQ(rows[1].indicator, OCI_IND_NULL);
    int is_initialized = 1;
    EXPECT_EQ(OCILobLocatorIsInit(db.env, db.errors, rows[1].value, &is_initialized), OCI_SUCCESS);
    EXPECT_FALSE(is_initialized);
    EXPECT_EQ(rows[2].indicator, OCI_IND_NOTNULL);
    EXPECT_EQ(read(plain_text, rows[2].value, 1, 100), "first");
}

// Every way to a value that must not be written, or cannot be reached.
TEST_F(lob, refusals)
{
    ASSERT_EQ(db.run("INSERT INTO t VALUES(1, 'text', x'01'); "), 0);
    ASSERT_EQ(db.run("CREATE VIEW v AS SELECT * FROM t"), 0);
    OCILobLocator *const unlocked = select("SELECT c FROM t", SQLT_CLOB);
    OCILobLocator *const empty = locator();
    OCILobLocator *const over = select("SELECT c FROM t FOR UPDATE", SQLT_CLOB);
    ASSERT_EQ(OCITransCommit(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    OCILobLocator *const expression = select("SELECT c || '' FROM t FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const gathered = select("SELECT DISTINCT c FROM t FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const joined = select("SELECT t.c FROM t, dual FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const opened = select("SELECT c FROM t FOR UPDATE WAIT 5", SQLT_CLOB);
    OCILobLocator *const gone = select("SELECT b FROM t WHERE id = 1 FOR UPDATE", SQLT_BLOB);
    ASSERT_EQ(OCILobOpen(db.service, db.errors, opened, OCI_LOB_READONLY), OCI_SUCCESS);
    ASSERT_EQ(db.run("DELETE FROM t"), 0);
    const struct {
        const char *what;
        OCILobLocator *to;
        int code;
    } writes[] = {
        {"not selected for update", unlocked, 22920},
        {"transaction over", over, 22920},
        {"expression", expression, 22920},
        {"several rows", gathered, 22920},
        {"join", joined, 22920},
        {"not initialized", empty, 22275},
        {"opened for reading", opened, 22294},
        {"row deleted", gone, 22922},
    };
    char buffer[] = "abcd";
    ub4 amount = 4;
    const auto offer = [&](OCILobLocator *to, ub4 offset, ub4 wanted, ub4 size, ub1 piece, ub2 set = 0) {
        amount = wanted;
        return OCILobWrite(db.service, db.errors, to, &amount, offset, buffer, size, piece, nullptr, nullptr,
                           set, SQLCS_IMPLICIT);
    };
    for (const auto &tested : writes) {
        EXPECT_EQ(offer(tested.to, 1, 4, 4, OCI_ONE_PIECE), OCI_ERROR) << tested.what;
        EXPECT_EQ(db.code(), tested.code) << tested.what;
    }
    OCILobLocator *const good = locator();
    ASSERT_EQ(OCILobCreateTemporary(db.service, db.errors, good, 0, SQLCS_IMPLICIT, OCI_TEMP_CLOB, 0,
                                    OCI_DURATION_SESSION),
              OCI_SUCCESS);
    const struct {
        ub4 offset, amount, size;
        ub1 piece;
        ub2 set;
        int code;
    } arguments[] = {
        {0, 4, 4, OCI_ONE_PIECE, 0, 24801},
        {1, 5, 4, OCI_ONE_PIECE, 0, 24801},
        {1, 3, 4, OCI_ONE_PIECE, OCI_UTF16ID, 24801},
        {1, 0, 0, OCI_ONE_PIECE, 0, 24801},
        {1, 4, 4, OCI_NEXT_PIECE, 0, 24801},
        {1, 4, 4, OCI_LAST_PIECE, 0, 24801},
        {1, 4, 4, 77, 0, 24801},
        {4000000000, 4, 4, OCI_ONE_PIECE, 0, 24801},
        {1, 4, 4, OCI_ONE_PIECE, 12345, 12715},
    };
    for (const auto &[offset, wanted, size, piece, set, code] : arguments) {
        EXPECT_EQ(offer(good, offset, wanted, size, piece, set), OCI_ERROR) << offset << ' ' << int{piece};
        EXPECT_EQ(db.code(), code) << offset << ' ' << wanted << ' ' << int{piece};
    }
    EXPECT_EQ(length(good), 0u);
    // A locator of another library, or none: memory that must not be taken for one of ours.
    std::uint64_t foreign[8] = {1, 2, 3};
    auto *stranger = reinterpret_cast<OCILobLocator *>(foreign);
    EXPECT_EQ(offer(stranger, 1, 4, 4, OCI_ONE_PIECE), OCI_INVALID_HANDLE);
    for (const char *sql : {"SELECT :x FROM dual", "SELECT 'x', :y FROM dual"}) {
        const prepared query(db, sql);
        const bool is_bind = sql[7] == ':';
        int number = 1;
        char value[10];
        ASSERT_EQ(is_bind ? query.bind(":x", &stranger, sizeof stranger, SQLT_CLOB)
                          : query.bind(":y", &number, sizeof number, SQLT_INT),
                  OCI_SUCCESS);
        ASSERT_EQ(is_bind ? query.define(1, value, sizeof value, SQLT_STR)
                          : query.define(1, &stranger, sizeof stranger, SQLT_CLOB),
                  OCI_SUCCESS);
        EXPECT_EQ(query.execute(1), OCI_ERROR) << sql;
        EXPECT_EQ(db.code(), 22275) << sql;
    }
}

// What is written becomes part of the transaction, and of nothing else.
TEST_F(lob, writes_are_part_of_the_transaction)
{
    ASSERT_EQ(db.run("CREATE TABLE \"odd \"\"name\"(\"the clob\" CLOB NOT NULL)"), 0);
    ASSERT_EQ(db.run("INSERT INTO \"odd \"\"name\" VALUES('start')", OCI_COMMIT_ON_SUCCESS), 0);
    const std::string query = "SELECT \"the clob\" FROM \"odd \"\"name\"";
    const connected_client other;
    OCILobLocator *const one = select(query + " FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const two = select(query + " FOR UPDATE", SQLT_CLOB);
    int equal = 0;
    EXPECT_EQ(OCILobIsEqual(db.env, one, two, &equal), OCI_SUCCESS);
    EXPECT_TRUE(equal);

    write(plain_text, one, 6, "-one");
    write(plain_text, two, 10, "-two");
    EXPECT_EQ(read(plain_text, one, 1, 100), "start-one-two");
    EXPECT_EQ(db.ask(query), "start-one-two");
    EXPECT_EQ(other.ask(query), "start");

    ASSERT_EQ(db.run("SAVEPOINT s"), 0);
    ASSERT_EQ(OCILobTrim(db.service, db.errors, one, 5), OCI_SUCCESS);
    EXPECT_EQ(db.ask(query), "start");
    write(plain_text, one, 1, "S");
    ASSERT_EQ(db.run("ROLLBACK TO s"), 0);
    EXPECT_EQ(read(plain_text, one, 1, 100), "start-one-two");

    ASSERT_EQ(OCITransCommit(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(other.ask(query), "start-one-two");

    OCILobLocator *const again = select(query + " FOR UPDATE", SQLT_CLOB);
    ub4 amount = 0;
    char piece[] = "lost";
    ASSERT_EQ(OCILobWrite(db.service, db.errors, again, &amount, 1, piece, 4, OCI_FIRST_PIECE, nullptr,
                          nullptr, 0, SQLCS_IMPLICIT),
              OCI_NEED_DATA);
    write(plain_text, select(query + " FOR UPDATE", SQLT_CLOB), 1, "also lost");
    ASSERT_EQ(OCITransRollback(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS);
    EXPECT_EQ(OCILobWrite(db.service, db.errors, again, &amount, 1, piece, 4, OCI_LAST_PIECE, nullptr,
                          nullptr, 0, SQLCS_IMPLICIT),
              OCI_ERROR);
    EXPECT_EQ(db.code(), 22920);
    EXPECT_EQ(read(plain_text, again, 1, 100), "start-one-two");
    EXPECT_EQ(db.ask(query), "start-one-two");
}

TEST_F(lob, whole_values_are_copied_and_cut)
{
    OCILobLocator *values[3] = {locator(), locator(), locator()};
    for (OCILobLocator *made : {values[0], values[1]})
        ASSERT_EQ(OCILobCreateTemporary(db.service, db.errors, made, 0, SQLCS_IMPLICIT, OCI_TEMP_BLOB, 0,
                                        OCI_DURATION_SESSION),
                  OCI_SUCCESS);
    write(plain_bytes, values[0], 1, "abcdef");
    ASSERT_EQ(OCILobLocatorAssign(db.service, db.errors, values[0], &values[2]), OCI_SUCCESS);
    ASSERT_EQ(OCILobCopy(db.service, db.errors, values[1], values[0], 3, 3, 2), OCI_SUCCESS);
    EXPECT_EQ(read(plain_bytes, values[1], 1, 100), std::string("\0\0bcd", 5));
    ASSERT_EQ(OCILobAppend(db.service, db.errors, values[0], values[0]), OCI_SUCCESS);
    ub4 amount = 4;
    ASSERT_EQ(OCILobErase(db.service, db.errors, values[0], &amount, 11), OCI_SUCCESS);
    EXPECT_EQ(amount, 2u);
    EXPECT_EQ(read(plain_bytes, values[0], 1, 100), std::string("abcdefabcd\0\0", 12));
    EXPECT_EQ(read(plain_bytes, values[2], 1, 100), "abcdef");
    EXPECT_EQ(OCILobTrim2(db.service, db.errors, values[2], 7), OCI_ERROR);
    EXPECT_EQ(db.code(), 22926);
    ASSERT_EQ(OCILobFreeTemporary(db.service, db.errors, values[2]), OCI_SUCCESS);
    int is_initialized = 1;
    ASSERT_EQ(OCILobLocatorIsInit(db.env, db.errors, values[2], &is_initialized), OCI_SUCCESS);
    EXPECT_FALSE(is_initialized);
}

TEST_F(lob, long_values_stream_in_and_out)
{
    constexpr std::size_t piece_size = 64 << 10, pieces = 400;
    ASSERT_EQ(db.run("INSERT INTO t(id, b) VALUES(1, empty_blob())"), 0);
    OCILobLocator *const target = select("SELECT b FROM t FOR UPDATE", SQLT_BLOB);
    std::string piece(piece_size, '\0');
    const auto fill = [&](std::size_t number) {
        std::fill(piece.begin(), piece.end(), static_cast<char>(number));
        piece.replace(0, sizeof number, reinterpret_cast<const char *>(&number), sizeof number);
    };
    for (std::size_t i = 0; i < pieces; ++i) {
        fill(i);
        ub4 amount = 0;
        const int which = i == 0 ? OCI_FIRST_PIECE : i + 1 == pieces ? OCI_LAST_PIECE : OCI_NEXT_PIECE;
        ASSERT_EQ(OCILobWrite(db.service, db.errors, target, &amount, 1, piece.data(), piece_size,
                              static_cast<ub1>(which), nullptr, nullptr, 0, SQLCS_IMPLICIT),
                  i + 1 == pieces ? OCI_SUCCESS : OCI_NEED_DATA);
    }
    ASSERT_EQ(OCITransCommit(db.service, db.errors, OCI_DEFAULT), OCI_SUCCESS) << db.message();
    OCILobLocator *const source = select("SELECT b FROM t", SQLT_BLOB);
    EXPECT_EQ(length(source), pieces * piece_size);
    std::string buffer(piece_size, '\0');
    ub4 amount = 0;
    for (std::size_t i = 0; i < pieces; ++i) {
        fill(i);
        ASSERT_EQ(OCILobRead(db.service, db.errors, source, &amount, 1, buffer.data(), piece_size, nullptr,
                             nullptr, 0, SQLCS_IMPLICIT),
                  i + 1 == pieces ? OCI_SUCCESS : OCI_NEED_DATA);
        ASSERT_EQ(amount, piece_size);
        ASSERT_EQ(buffer, piece) << i;
    }
}

} // namespace
} // namespace sqlite_oci_test
