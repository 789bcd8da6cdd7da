// Binds and defines whose values pass through callbacks of the program, in pieces.
#include "statements/statement.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{
namespace
{

constexpr int ora_null_fetched = 1405;
constexpr int ora_cut = 1406;

// Room for the first try at converting a value of unknown length.
constexpr std::size_t usual_room = 4096;

void check_answer(sb4 answer)
{
    if (answer != OCI_CONTINUE)
        fail(24343, "the program's callback answered %d and not OCI_CONTINUE", static_cast<int>(answer));
}

bool is_long(ub2 type)
{
    switch (type) {
    case SQLT_CHR:
    case SQLT_LNG:
    case SQLT_AFC:
    case SQLT_STR:
    case SQLT_AVC:
    case SQLT_BIN:
    case SQLT_LBI:
        return true;
    default:
        return false;
    }
}

// The bytes of a whole value: text without padding or terminator.
std::string whole_bytes(const host_type &host, const value &fetched, int &error)
{
    const bool is_raw = host.type == SQLT_BIN || host.type == SQLT_LBI;
    host_type whole{static_cast<ub2>(is_raw ? SQLT_BIN : SQLT_CHR), usual_room, host.set};
    const host_writer write = find_writer(whole);
    std::string bytes(whole.size, '\0');
    written result = write(whole, fetched, bytes.data());
    if (result.whole > result.stored) {
        whole.size = result.whole;
        bytes.resize(whole.size);
        result = write(whole, fetched, bytes.data());
    }
    error = result.error;
    bytes.resize(result.stored);
    return bytes;
}

// What the program's callback gives for a piece of a fetched value.
struct define_piece {
    void *buffer = nullptr;
    ub4 *length = nullptr; // bytes of room, then of the piece
    ub1 piece = OCI_FIRST_PIECE;
    void *indicator = nullptr;
    ub2 *code = nullptr;

    void tell(sb2 indicated, int return_code) const
    {
        if (indicator)
            *static_cast<sb2 *>(indicator) = indicated;
        if (code)
            *code = static_cast<ub2>(return_code);
    }
};

} // namespace

value bind::gather(std::size_t row)
{
    if (!in_callback_) {
        const auto found = values_in_pieces_.find(row);
        return found == values_in_pieces_.end() ? value{} : read_whole(found->second);
    }
    pieces_.clear();
    ub1 piece = OCI_FIRST_PIECE;
    for (bool is_first = true; is_first || !is_last_piece(piece); is_first = false) {
        void *buffer = nullptr, *indicator = nullptr;
        ub4 length = 0;
        piece = is_first ? OCI_FIRST_PIECE : OCI_NEXT_PIECE;
        const sb4 answer = [&] {
            const callback_scope scope(owner);
            return in_callback_(in_context_, static_cast<OCIBind *>(handle), static_cast<ub4>(row), 0,
                                &buffer, &length, &piece, &indicator);
        }();
        check_answer(answer);
        if (indicator && *static_cast<const sb2 *>(indicator) == OCI_IND_NULL)
            return {};
        // A descriptor is given itself, not the address of a variable that holds it, and without a length.
        if (is_descriptor(array.host.type)) {
            pieces_.assign(reinterpret_cast<const char *>(&buffer), sizeof buffer);
            break;
        }
        if (length > static_cast<ub4>(SB4MAXVAL))
            fail(24343, "the program's callback gave a length of %d", static_cast<int>(length));
        if (buffer)
            pieces_.append(static_cast<const char *>(buffer), length);
    }
    return read_whole(pieces_);
}

// A text that is given whole needs no terminator.
value bind::read_whole(const std::string &bytes)
{
    const bool is_text = array.host.type == SQLT_STR || array.host.type == SQLT_AVC;
    const host_type whole{static_cast<ub2>(is_text ? SQLT_CHR : array.host.type), bytes.size(),
                          array.host.set};
    std::string_view content = bytes;
    if (is_text && whole.set != charset::utf16)
        content = content.substr(0, content.find('\0'));
    return required_reader(whole)(whole, content.data(), content.size(), scratch_);
}

void define::give(const value &fetched, std::size_t row, fetch_outcome &outcome) const
{
    const bool is_null = fetched.kind == value_kind::null;
    const bool in_pieces = !is_null && is_long(array.host.type);
    written result;
    std::string_view rest;
    std::string whole;
    if (in_pieces)
        rest = whole = whole_bytes(array.host, fetched, result.error);

    given_descriptor_ = nullptr;
    define_piece given;
    do {
        const sb4 answer = [&] {
            const callback_scope scope(owner);
            return callback_(context_, static_cast<OCIDefine *>(handle), static_cast<ub4>(row), &given.buffer,
                             &given.length, &given.piece, &given.indicator, &given.code);
        }();
        check_answer(answer);
        if (!given.length || (!given.buffer && !is_null))
            fail(24343, "the program's callback gave no buffer, or no place for its length");
        std::size_t size = 0;
        if (in_pieces) {
            size = rest.copy(static_cast<char *>(given.buffer), *given.length);
            rest.remove_prefix(size);
        } else if (!is_null && is_descriptor(array.host.type)) { // given itself
            given_descriptor_ = given.buffer;
            result = writer_(array.host, fetched, &given.buffer);
            size = result.stored;
        } else if (!is_null) {
            if (*given.length < array.host.size)
                fail(24343, "the program's callback gave a buffer too small for the variable");
            result = writer_(array.host, fetched, given.buffer);
            size = result.stored;
        }
        if (in_pieces && *given.length == 0)
            fail(24343, "the program's callback gave a buffer of no bytes");
        *given.length = static_cast<ub4>(size);
        given.tell(is_null ? OCI_IND_NULL : OCI_IND_NOTNULL, is_null ? ora_null_fetched : result.error);
        if (!rest.empty() && is_last_piece(given.piece)) {
            given.tell(-2, ora_cut);
            outcome.warning = make_record(ora_cut, "the program took not all of a value" + column_text());
            return;
        }
        given.piece = OCI_NEXT_PIECE;
    } while (!rest.empty());
    if (result.error && outcome.error.code == 0)
        outcome.error = make_record(result.error, conversion_error_text(result.error) + column_text());
    if (is_null && !given.indicator && outcome.error.code == 0)
        outcome.error =
            make_record(ora_null_fetched, "null was fetched and there is no indicator" + column_text());
}

// As a define gives a fetched value, to the only row that a statement has for its variables.
lob_locator *bind::give(const value &given_value, std::size_t row, fetch_outcome &outcome)
{
    if (!out_callback_)
        fail(3001,
             "a bind variable with OCI_DATA_AT_EXEC and no out-callback gets no value from a statement");
    struct out_call {
        const bind &to;
        ub4 row;
    } call{*this, static_cast<ub4>(row)};
    define target(owner);
    target.describe(array);
    target.is_dynamic = true;
    target.set_callback(&call,
                        [](void *context, OCIDefine *, ub4 index, void **buffer, ub4 **length, ub1 *piece,
                           void **indicator, ub2 **code) -> sb4 {
                            const auto &asked = *static_cast<const out_call *>(context);
                            return asked.to.out_callback_(asked.to.out_context_,
                                                          static_cast<OCIBind *>(asked.to.handle), asked.row,
                                                          index, buffer, length, piece, indicator, code);
                        });
    target.store(given_value, 0, outcome);
    return target.locator_at(0);
}

std::string define::bytes_of(const value &fetched, fetch_outcome &outcome) const
{
    if (fetched.kind == value_kind::null)
        return {};
    int error = 0;
    std::string bytes;
    if (is_long(array.host.type)) {
        bytes = whole_bytes(array.host, fetched, error);
    } else {
        bytes.resize(array.host.size);
        const written result = writer_(array.host, fetched, bytes.data());
        error = result.error;
        bytes.resize(result.stored);
    }
    if (error && outcome.error.code == 0)
        outcome.error = make_record(error, conversion_error_text(error) + column_text());
    return bytes;
}

} // namespace sqlite_oci

using namespace sqlite_oci;

extern "C" {

SQLITE_OCI_EXPORT sword OCIBindDynamic(OCIBind *bindp, OCIError *errhp, void *ictxp, OCICallbackInBind icbfp,
                                       void *octxp, OCICallbackOutBind ocbfp)
{
    return served(errhp, [&](call_errors) {
        auto &target = required<bind>(bindp);
        if (!target.is_dynamic)
            fail(24315, "callbacks are for binds with the mode OCI_DATA_AT_EXEC");
        target.set_callback(ictxp, icbfp);
        target.set_out_callback(octxp, ocbfp);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCIDefineDynamic(OCIDefine *defnp, OCIError *errhp, void *octxp,
                                         OCICallbackDefine ocbfp)
{
    return served(errhp, [&](call_errors) {
        auto &target = required<define>(defnp);
        if (!target.is_dynamic)
            fail(24315, "callbacks are for defines with the mode OCI_DYNAMIC_FETCH");
        target.set_callback(octxp, ocbfp);
        return OCI_SUCCESS;
    });
}

} // extern "C"
