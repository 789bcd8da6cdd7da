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
    std::size_t buffer_size = 61; // of no whole number of characters

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

// The program's side of a transfer by callback.
struct stream {
    std::string data;
    std::size_t at = 0;
    std::vector<ub1> pieces;
};

// The callbacks of the classic calls and of those with 64-bit amounts.
template <class Amount, class... More>
sb4 on_read(void *context, const void *bytes, Amount size, ub1 piece, More...)
{
    static_cast<stream *>(context)->data.append(static_cast<const char *>(bytes), size);
    static_cast<stream *>(context)->pieces.push_back(piece);
    return OCI_CONTINUE;
}

template <class Amount, class... More>
sb4 on_write(void *context, void *buffer, Amount *size, ub1 *piece, More...)
{
    auto &from = *static_cast<stream *>(context);
    *size = static_cast<Amount>(from.data.copy(static_cast<char *>(buffer), *size, from.at));
    from.at += *size;
    *piece = from.at == from.data.size() ? OCI_LAST_PIECE : OCI_NEXT_PIECE;
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

    OCILobLocator *temporary(ub1 type)
    {
        OCILobLocator *const made = locator();
        EXPECT_TRUE(db.succeeds(OCILobCreateTemporary(db.service, db.errors, made, 0, SQLCS_IMPLICIT, type, 0,
                                                      OCI_DURATION_SESSION)));
        return made;
    }

    // The locator of the first row's value.
    OCILobLocator *select(std::string_view sql, ub2 type)
    {
        OCILobLocator *made = locator();
        const prepared query(db, sql);
        EXPECT_TRUE(db.succeeds(query.define(1, &made, -1, type)));
        EXPECT_TRUE(db.succeeds(query.execute(1)));
        return made;
    }

    sword call_write(const form &used, OCILobLocator *to, oraub8 offset, std::string data, ub1 piece,
                     oraub8 &written, stream *rest = nullptr)
    {
        const auto size = data.size();
        data.resize(std::max(size, used.buffer_size));
        if (used.is_wide) {
            oraub8 bytes = piece == OCI_ONE_PIECE ? size : 0, characters = 0;
            const sword status = OCILobWrite2(
                db.service, db.errors, to, &bytes, &characters, offset, data.data(), size, piece, rest,
                rest ? on_write<oraub8, void **, oraub8 *> : nullptr, used.set, SQLCS_IMPLICIT);
            written = characters;
            return status;
        }
        auto amount = static_cast<ub4>(piece == OCI_ONE_PIECE ? used.classic(data.substr(0, size)) : 0);
        const sword status = OCILobWrite(db.service, db.errors, to, &amount, static_cast<ub4>(offset),
                                         data.data(), static_cast<ub4>(size), piece, rest,
                                         rest ? on_write<ub4> : nullptr, used.set, SQLCS_IMPLICIT);
        written = amount;
        return status;
    }

    // Writes all of `data`; how many units were told to be written.
    oraub8 write(const form &used, OCILobLocator *to, oraub8 offset, const std::string &data)
    {
        const std::size_t size = used.buffer_size;
        oraub8 written = 0;
        if (used.how != manner::polling) {
            stream rest{data, used.buffer_size, {}};
            const bool is_direct = used.how == manner::direct;
            EXPECT_TRUE(db.succeeds(is_direct ? call_write(used, to, offset, data, OCI_ONE_PIECE, written)
                                              : call_write(used, to, offset, data.substr(0, size),
                                                           OCI_FIRST_PIECE, written, &rest)));
            return written;
        }
        for (std::size_t at = 0; at < data.size(); at += size) {
            const bool is_last = at + size >= data.size();
            const int piece = is_last ? OCI_LAST_PIECE : at ? OCI_NEXT_PIECE : OCI_FIRST_PIECE;
            EXPECT_EQ(call_write(used, to, offset, data.substr(at, size), static_cast<ub1>(piece), written),
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
            const sword status = OCILobRead2(
                db.service, db.errors, from, &byte_amount, &characters, offset, buffer, room, piece, into,
                into ? on_read<oraub8, void **, oraub8 *> : nullptr, used.set, SQLCS_IMPLICIT);
            bytes = byte_amount;
            return status;
        }
        auto amount = static_cast<ub4>(units);
        const sword status =
            OCILobRead(db.service, db.errors, from, &amount, static_cast<ub4>(offset), buffer,
                       static_cast<ub4>(room), into, into ? on_read<ub4> : nullptr, used.set, SQLCS_IMPLICIT);
        bytes = used.is_text && used.set == OCI_UTF16ID ? amount * 2 : amount;
        return status;
    }

    std::string read(const form &used, OCILobLocator *from, oraub8 offset, std::size_t units)
    {
        std::string buffer(used.how == manner::direct ? units * 4 : used.buffer_size, '\0');
        stream into;
        const bool calls_back = used.how == manner::callback;
        sword status = OCI_NEED_DATA;
        while (status == OCI_NEED_DATA) {
            const int piece = used.how == manner::direct ? OCI_ONE_PIECE
                              : into.data.empty()        ? OCI_FIRST_PIECE
                                                         : OCI_NEXT_PIECE;
            std::size_t bytes = 0;
            status = call_read(used, from, offset, units, buffer.data(), buffer.size(),
                               static_cast<ub1>(piece), bytes, calls_back ? &into : nullptr);
            if (!calls_back)
                into.data.append(buffer, 0, bytes);
        }
        EXPECT_TRUE(db.succeeds(status));
        if (calls_back) {
            EXPECT_EQ(into.pieces.front(), OCI_FIRST_PIECE);
            EXPECT_EQ(into.pieces.back(), OCI_LAST_PIECE);
        }
        return into.data;
    }

    oraub8 length(OCILobLocator *of)
    {
        oraub8 wide = 0;
        ub4 classic = 0;
        EXPECT_TRUE(db.succeeds(OCILobGetLength2(db.service, db.errors, of, &wide)));
        EXPECT_TRUE(db.succeeds(OCILobGetLength(db.service, db.errors, of, &classic)));
        EXPECT_EQ(wide, classic);
        return wide;
    }
};

// An out-callback's answer for one row: one of an array of locators.
sb4 name_locator(void *locators, OCIBind *, ub4 row, ub4, void **buffer, ub4 **length, ub1 *piece,
                 void **indicator, ub2 **code)
{
    static ub4 size;
    static sb2 state;
    static ub2 told;
    *buffer = static_cast<OCILobLocator **>(locators)[row];
    *length = &size;
    *piece = OCI_ONE_PIECE;
    *indicator = &state;
    *code = &told;
    return OCI_CONTINUE;
}

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
        SCOPED_TRACE(testing::Message()
                     << (used.is_text ? "CLOB" : "BLOB") << (used.is_wide ? " wide" : " classic")
                     << " manner " << static_cast<int>(used.how) << " set " << used.set);
        const std::string row = std::to_string(++id), column = used.is_text ? "c" : "b";
        db.run_all({"INSERT INTO t VALUES(" + row + ", empty_clob(), empty_blob())"});
        const std::string query = "SELECT " + column + (" FROM t WHERE id = " + row);
        OCILobLocator *const target = select(query + " FOR UPDATE OF c, b NOWAIT", used.type());
        EXPECT_EQ(length(target), 0u);

        const std::size_t place = used.units(start.substr(0, 300));
        EXPECT_EQ(write(used, target, 1, used.encode(start)), used.units(start));
        EXPECT_EQ(write(used, target, place + 1, used.encode(middle)), used.units(middle));
        const std::size_t total = used.units(start);
        EXPECT_EQ(write(used, target, total + 1, used.encode(end)), used.units(end));
        ASSERT_TRUE(db.succeeds(db.commit()));

        const form exact{used.is_text, used.is_wide, used.how, ub2{OCI_UTF16ID}};
        const std::size_t unit = used.is_text ? 2 : 1;
        const std::string replacement = exact.encode(middle);
        std::string expected = exact.encode(start);
        expected.replace(place * unit, replacement.size(), replacement) += exact.encode(end);
        OCILobLocator *const source = select(query, used.type());
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
    } rows[3] = {{temporary(OCI_TEMP_CLOB), 0, 1}, {nullptr, OCI_IND_NULL, 2}, {locator(), 0, 3}};
    ub4 nothing = 0;
    ASSERT_EQ(OCIAttrSet(rows[2].value, OCI_DTYPE_LOB, &nothing, 0, OCI_ATTR_LOBEMPTY, db.errors),
              OCI_SUCCESS);
    write(plain_text, rows[0].value, 1, "first");

    const prepared insert(db, "INSERT INTO t(id, c) VALUES(:id, :c)");
    insert.in(":id", rows[0].id, SQLT_INT);
    ASSERT_EQ(OCIBindArrayOfStruct(insert.last_bind, db.errors, sizeof(row), 0, 0, 0), OCI_SUCCESS);
    insert.in(":c", rows[0].value, SQLT_CLOB, &rows[0].indicator);
    ASSERT_EQ(OCIBindArrayOfStruct(insert.last_bind, db.errors, sizeof(row), sizeof(row), 0, 0), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(insert.execute(3)));
    EXPECT_EQ(db.ask("SELECT group_concat(id || nvl2(c, typeof(c) || ':' || c, '-')) FROM t"),
              "1text:first,2-,3text:");

    const prepared update(db, "UPDATE t SET b = :b");
    ASSERT_EQ(update.bind(":b", &rows[2].value, 0, SQLT_BLOB), OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(update.execute(1)));
    EXPECT_EQ(db.ask("SELECT DISTINCT typeof(b) || length(b) FROM t"), "blob0");

    // And back, over what the locators stood for.
    const prepared query(db, "SELECT c FROM t ORDER BY id DESC");
    rows[1].value = locator();
    query.out(1, rows[0].value, SQLT_CLOB, &rows[0].indicator);
    ASSERT_EQ(OCIDefineArrayOfStruct(query.last_define, db.errors, sizeof(row), sizeof(row), 0, 0),
              OCI_SUCCESS);
    ASSERT_TRUE(db.succeeds(query.execute(3)));
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
    db.run_all({"INSERT INTO t VALUES(1, 'text', x'01')"});
    OCILobLocator *const unlocked = select("SELECT c FROM t", SQLT_CLOB);
    OCILobLocator *const empty = locator();
    OCILobLocator *const over = select("SELECT c FROM t FOR UPDATE", SQLT_CLOB);
    ASSERT_EQ(db.commit(), OCI_SUCCESS);
    OCILobLocator *const expression = select("SELECT c || '' FROM t FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const gathered = select("SELECT DISTINCT c FROM t FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const joined = select("SELECT t.c FROM t, dual FOR UPDATE", SQLT_CLOB);
    OCILobLocator *const opened = select("SELECT c FROM t FOR UPDATE WAIT 5", SQLT_CLOB);
    OCILobLocator *const gone = select("SELECT b FROM t WHERE id = 1 FOR UPDATE", SQLT_BLOB);
    ASSERT_EQ(OCILobOpen(db.service, db.errors, opened, OCI_LOB_READONLY), OCI_SUCCESS);
    ASSERT_EQ(db.run("DELETE FROM t"), 0);
    const std::tuple<const char *, OCILobLocator *, int> writes[] = {
        {"transaction over", over, 22990},
        {"expression", expression, 22920},
        {"several rows", gathered, 22920},
        {"not selected for update", unlocked, 22920},
        {"join", joined, 22920},
        {"row deleted", gone, 22922},
        {"opened for reading", opened, 22294},
    };
    char buffer[] = "abcd";
    ub4 amount = 4;
    const auto offer = [&](OCILobLocator *to, ub4 offset, ub4 wanted, ub4 size, ub1 piece, ub2 set = 0) {
        amount = wanted;
        return OCILobWrite(db.service, db.errors, to, &amount, offset, buffer, size, piece, nullptr, nullptr,
                           set, SQLCS_IMPLICIT);
    };
    for (const auto &[what, to, code] : writes)
        EXPECT_TRUE(db.fails(offer(to, 1, 4, 4, OCI_ONE_PIECE), code)) << what;
    EXPECT_EQ(offer(empty, 1, 4, 4, OCI_ONE_PIECE), OCI_INVALID_HANDLE);
    OCILobLocator *const good = temporary(OCI_TEMP_CLOB);
    const std::tuple<ub4, ub4, ub4, ub1, ub2, int> arguments[] = {
        {0, 4, 4, OCI_ONE_PIECE, 0, 24801},           {1, 5, 4, OCI_ONE_PIECE, 0, 24801},
        {1, 3, 4, OCI_ONE_PIECE, OCI_UTF16ID, 24801}, {1, 4, 4, 77, 0, 24801},
        {1, 0, 0, OCI_ONE_PIECE, 0, 24801},           {1, 4, 4, OCI_NEXT_PIECE, 0, 24801},
        {1, 4, 4, OCI_LAST_PIECE, 0, 24801},          {4000000000, 4, 4, OCI_ONE_PIECE, 0, 24801},
        {1, 4, 4, OCI_ONE_PIECE, 12345, 12715},
    };
    for (const auto &[offset, wanted, size, piece, set, code] : arguments) {
        EXPECT_TRUE(db.fails(offer(good, offset, wanted, size, piece, set), code))
            << offset << ' ' << wanted << ' ' << int{piece};
    }
    EXPECT_EQ(length(good), 0u);
    // A locator of another library, or none: memory that must not be taken for one of ours.
    std::uint64_t foreign[8] = {1, 2, 3};
    auto *stranger = reinterpret_cast<OCILobLocator *>(foreign);
    EXPECT_EQ(offer(stranger, 1, 4, 4, OCI_ONE_PIECE), OCI_INVALID_HANDLE);
    const prepared bound(db, "SELECT :x FROM dual");
    char value[10];
    bound.in(":x", stranger, SQLT_CLOB).out(1, value, SQLT_STR);
    EXPECT_TRUE(db.fails(bound.execute(1), 22275));
    const prepared defined(db, "SELECT 'x' FROM dual");
    EXPECT_TRUE(db.fails(defined.out(1, stranger, SQLT_CLOB).execute(1), 22275));
}

// What is written becomes part of the transaction, and of nothing else.
TEST_F(lob, writes_are_part_of_the_transaction)
{
    db.run_all({R"(CREATE TABLE "odd ""name"("the clob" CLOB NOT NULL))",
                R"(INSERT INTO "odd ""name" VALUES('start'))", "COMMIT"});
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

    ASSERT_EQ(db.commit(), OCI_SUCCESS);
    EXPECT_EQ(other.ask(query), "start-one-two");

    OCILobLocator *const again = select(query + " FOR UPDATE", SQLT_CLOB);
    ub4 amount = 0;
    char piece[] = "lost";
    const auto stream_to_again = [&](ub1 which) {
        return OCILobWrite(db.service, db.errors, again, &amount, 1, piece, 4, which, nullptr, nullptr, 0,
                           SQLCS_IMPLICIT);
    };
    ASSERT_EQ(stream_to_again(OCI_FIRST_PIECE), OCI_NEED_DATA);
    write(plain_text, select(query + " FOR UPDATE", SQLT_CLOB), 1, "also lost");
    ASSERT_EQ(db.roll_back(), OCI_SUCCESS);
    EXPECT_TRUE(db.fails(stream_to_again(OCI_LAST_PIECE), 22990));
    EXPECT_EQ(read(plain_text, again, 1, 100), "start-one-two");
    EXPECT_EQ(db.ask(query), "start-one-two");
}

// An array of rows, with the locators in the program's variables or named by a callback.
TEST_F(lob, returned_locators_are_written_with)
{
    const connected_client other;
    for (const bool by_callback : {false, true}) {
        OCILobLocator *const made[] = {locator(), locator()};
        const prepared insert(db,
                              "INSERT INTO t VALUES (:id, EMPTY_CLOB(), EMPTY_BLOB()) RETURNING c INTO :c");
        sb4 ids[] = {by_callback ? 110 : 10, by_callback ? 120 : 20};
        ASSERT_EQ(insert.bind("id", ids, sizeof *ids, SQLT_INT), OCI_SUCCESS);
        OCILobLocator *bound[] = {made[0], made[1]};
        ASSERT_EQ(insert.bind("c", by_callback ? nullptr : bound, sizeof *bound, SQLT_CLOB, nullptr, nullptr,
                              by_callback ? OCI_DATA_AT_EXEC : OCI_DEFAULT),
                  OCI_SUCCESS);
        if (by_callback) {
            ASSERT_TRUE(db.succeeds(
                OCIBindDynamic(insert.last_bind, db.errors, nullptr, nullptr, bound, name_locator)));
        }
        ASSERT_TRUE(db.succeeds(insert.execute(2)));
        write(plain_text, made[0], 1, "first");
        write(plain_text, made[1], 1, "second");
        ASSERT_EQ(db.commit(), OCI_SUCCESS);
        EXPECT_EQ(other.ask("SELECT c FROM t WHERE id = " + std::to_string(ids[0])), "first");
        EXPECT_EQ(other.ask("SELECT c FROM t WHERE id = " + std::to_string(ids[1])), "second");

        OCILobLocator *changed = locator(), *removed = locator();
        const prepared update(
            db, "BEGIN UPDATE t SET id = id + 1, b = '01' WHERE id = :id RETURNING b INTO :b; END;");
        update.in("id", *ids, SQLT_INT).in("b", changed, SQLT_BLOB);
        ASSERT_TRUE(db.succeeds(update.execute(1)));
        write(plain_bytes, changed, 2, "xy");
        EXPECT_EQ(db.ask("SELECT rawtohex(b) FROM t WHERE id = " + std::to_string(ids[0] + 1)), "017879");
        const prepared remove(db, "DELETE FROM t WHERE id = :id RETURNING c INTO :c");
        remove.in("id", ids[1], SQLT_INT).in("c", removed, SQLT_CLOB);
        ASSERT_TRUE(db.succeeds(remove.execute(1)));
        EXPECT_EQ(read(plain_text, removed, 1, 100), "second");
        ub4 amount = 1;
        for (const auto &[over, code] : {std::pair(removed, 22920), std::pair(made[0], 22990)})
            EXPECT_TRUE(db.fails(OCILobWrite(db.service, db.errors, over, &amount, 1, bound, 1, OCI_ONE_PIECE,
                                             nullptr, nullptr, 0, SQLCS_IMPLICIT),
                                 code));
    }
}

TEST_F(lob, whole_values_are_copied_and_cut)
{
    OCILobLocator *values[3] = {temporary(OCI_TEMP_BLOB), temporary(OCI_TEMP_BLOB), locator()};
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
    EXPECT_TRUE(db.fails(OCILobTrim2(db.service, db.errors, values[2], 7), 22926));
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
    std::string data(pieces * piece_size, '\0');
    for (std::size_t i = 0; i < data.size(); i += sizeof i)
        data.replace(i, sizeof i, reinterpret_cast<const char *>(&i), sizeof i);
    const form streamed{false, false, manner::polling, 0, piece_size};
    write(streamed, target, 1, data);
    ASSERT_TRUE(db.succeeds(db.commit()));
    OCILobLocator *const source = select("SELECT b FROM t", SQLT_BLOB);
    EXPECT_EQ(length(source), data.size());
    EXPECT_TRUE(read(streamed, source, 1, 0) == data);
}

} // namespace
} // namespace sqlite_oci_test
