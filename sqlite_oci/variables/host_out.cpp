// Values that an application fetches.
#include "lobs/lob.h"
#include "values/date.h"
#include "values/stored_number.h"
#include "variables/host_value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace sqlite_oci
{
namespace
{

written failed(int code)
{
    return {.error = code};
}

template <class T> written store(const T &converted, void *target)
{
    std::memcpy(target, &converted, sizeof converted);
    return {.stored = sizeof converted, .whole = sizeof converted};
}

// --- Numbers

// Any value that is a number or the text of one.
int to_number(const value &fetched, OCINumber &number)
{
    return number_from_value(fetched, &number);
}

// Toward zero, as the server converts for an integer variable.
int whole_part(const value &fetched, OCINumber &number)
{
    const int code = to_number(fetched, number);
    if (code == 0)
        number_round(number, 0, rounding::toward_zero, &number);
    return code;
}

template <class T> written write_signed(const host_type &, const value &fetched, void *target)
{
    std::int64_t integer = fetched.integer;
    if (fetched.kind != value_kind::integer) {
        OCINumber number;
        if (const int code = whole_part(fetched, number))
            return failed(code);
        if (!number_to_int64(number, &integer))
            return failed(ora_integer_overflow);
    }
    if (integer < std::numeric_limits<T>::min() || integer > std::numeric_limits<T>::max())
        return failed(ora_integer_overflow);
    return store(static_cast<T>(integer), target);
}

template <class T> written write_unsigned(const host_type &, const value &fetched, void *target)
{
    OCINumber number;
    std::uint64_t integer = 0;
    if (const int code = whole_part(fetched, number))
        return failed(code);
    if (!number_to_uint64(number, &integer) || integer > std::numeric_limits<T>::max())
        return failed(ora_integer_overflow);
    return store(static_cast<T>(integer), target);
}

int to_double(const value &fetched, double &real)
{
    real = fetched.kind == value_kind::real ? fetched.real : static_cast<double>(fetched.integer);
    if (fetched.kind == value_kind::integer || fetched.kind == value_kind::real)
        return 0;
    OCINumber number;
    const int code = to_number(fetched, number);
    if (code == 0)
        real = number_to_double(number);
    return code;
}

template <class T> written write_real(const host_type &, const value &fetched, void *target)
{
    double real = 0;
    if (const int code = to_double(fetched, real))
        return failed(code);
    if (std::isfinite(real) && std::abs(real) > static_cast<double>(std::numeric_limits<T>::max()))
        return failed(ora_numeric_overflow);
    return store(static_cast<T>(real), target);
}

written write_number(const host_type &host, const value &fetched, void *target)
{
    OCINumber number;
    if (const int code = to_number(fetched, number))
        return failed(code);
    ub1 bytes[number_num_max];
    const std::size_t length = number_to_num(number, bytes);
    if (length > host.size)
        return failed(ora_numeric_overflow);
    std::memcpy(target, bytes, length);
    return {.stored = length, .whole = length};
}

written write_counted_number(const host_type &, const value &fetched, void *target)
{
    OCINumber number;
    if (const int code = to_number(fetched, number))
        return failed(code);
    number_to_vnu(number, static_cast<ub1 *>(target));
    return {.stored = number_vnu_size, .whole = number_vnu_size};
}

// --- Dates

int to_date(const value &fetched, civil_time &time)
{
    if (fetched.kind != value_kind::text)
        return ora_inconsistent_types;
    const bool is_date = date_from_iso(fetched.bytes, &time) || date_from_default_text(fetched.bytes, &time);
    return is_date ? 0 : ora_not_a_date;
}

written write_date(const host_type &, const value &fetched, void *target)
{
    civil_time time{};
    if (const int code = to_date(fetched, time))
        return failed(code);
    date_to_dat(time, static_cast<ub1 *>(target));
    return {.stored = 7, .whole = 7};
}

written write_oci_date(const host_type &, const value &fetched, void *target)
{
    civil_time time{};
    if (const int code = to_date(fetched, time))
        return failed(code);
    OCIDate date;
    date_to_ocidate(time, &date);
    return store(date, target);
}

// --- Text

constexpr char hex_digits[] = "0123456789ABCDEF";

std::string to_hex(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += hex_digits[byte >> 4];
        text += hex_digits[byte & 15];
    }
    return text;
}

// Copies what fits into `room` bytes, whole characters only.
written copy_text(charset set, std::string_view utf8, void *target, std::size_t room)
{
    std::string converted;
    if (set == charset::utf16 || set == charset::latin1) {
        append_from_utf8(set, utf8, &converted);
        utf8 = converted;
    }
    const std::size_t stored = utf8.size() <= room ? utf8.size() : cut(set, utf8, room);
    std::memcpy(target, utf8.data(), stored);
    return {.stored = stored, .whole = utf8.size()};
}

written write_text(const host_type &host, const value &fetched, void *target)
{
    char room[number_text_max];
    std::string scratch;
    const written result = copy_text(host.set, to_text(fetched, room, scratch), target, host.size);
    if (is_padded(host))
        write_blanks(host, target, result.stored);
    return result;
}

written write_padded_text(const host_type &host, const value &fetched, void *target)
{
    written result = write_text(host, fetched, target);
    write_blanks(host, target, result.stored);
    result.stored = host.size;
    result.whole = std::max(result.whole, host.size);
    return result;
}

host_type without_terminator(const host_type &host)
{
    return {host.type, host.size - (host.set == charset::utf16 ? 2 : 1), host.set, host.has_length};
}

void terminate(const host_type &host, void *target, std::size_t length)
{
    std::memset(static_cast<char *>(target) + length, 0, host.set == charset::utf16 ? 2 : 1);
}

written write_terminated_text(const host_type &host, const value &fetched, void *target)
{
    const written result = write_text(without_terminator(host), fetched, target);
    terminate(host, target, result.stored);
    return result;
}

written write_padded_terminated_text(const host_type &host, const value &fetched, void *target)
{
    const written result = write_padded_text(without_terminator(host), fetched, target);
    terminate(host, target, result.stored);
    return result;
}

// --- Bytes

int hex_value(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool from_hex(std::string_view text, std::string &bytes)
{
    if (text.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = hex_value(text[i]), low = hex_value(text[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes += static_cast<char>(high * 16 + low);
    }
    return true;
}

written write_bytes(const host_type &host, const value &fetched, void *target)
{
    std::string scratch;
    std::string_view bytes = fetched.bytes;
    if (fetched.kind == value_kind::text) {
        if (!from_hex(fetched.bytes, scratch))
            return failed(ora_invalid_hex);
        bytes = scratch;
    } else if (fetched.kind != value_kind::blob) {
        return failed(ora_inconsistent_types);
    }
    const std::size_t stored = std::min(bytes.size(), host.size);
    std::memcpy(target, bytes.data(), stored);
    return {.stored = stored, .whole = bytes.size()};
}

// The locator gets a copy of the value: the row may change while the program reads.
written write_locator(const host_type &host, const value &fetched, void *target)
{
    lob_locator *locator = locator_in(target);
    if (!locator)
        return failed(ora_invalid_locator);
    char room[number_text_max];
    std::string scratch;
    const auto bytes = fetched.kind == value_kind::blob ? fetched.bytes : to_text(fetched, room, scratch);
    locator->point_to(std::make_shared<lob>(host.type == SQLT_CLOB, bytes));
    return {.stored = sizeof locator, .whole = sizeof locator};
}

host_writer integer_writer(std::size_t size)
{
    switch (size) {
    case 1:
        return write_signed<std::int8_t>;
    case 2:
        return write_signed<std::int16_t>;
    case 4:
        return write_signed<std::int32_t>;
    case 8:
        return write_signed<std::int64_t>;
    default:
        return nullptr;
    }
}

host_writer unsigned_writer(std::size_t size)
{
    switch (size) {
    case 1:
        return write_unsigned<std::uint8_t>;
    case 2:
        return write_unsigned<std::uint16_t>;
    case 4:
        return write_unsigned<std::uint32_t>;
    case 8:
        return write_unsigned<std::uint64_t>;
    default:
        return nullptr;
    }
}

host_writer real_writer(std::size_t size)
{
    return size == sizeof(float) ? write_real<float> : size == sizeof(double) ? write_real<double> : nullptr;
}

} // namespace

std::string_view to_text(const value &fetched, char (&room)[number_text_max], std::string &scratch)
{
    switch (fetched.kind) {
    case value_kind::integer:
        return {room, static_cast<std::size_t>(std::to_chars(room, room + sizeof room, fetched.integer).ptr -
                                               room)};
    case value_kind::real:
        return {room, real_to_chars(fetched.real, room)};
    case value_kind::number: {
        OCINumber number;
        if (number_from_value(fetched, &number) == 0)
            return {room, number_to_chars(number, room, sizeof room)};
        return scratch = to_hex(fetched.bytes);
    }
    case value_kind::blob:
        return scratch = to_hex(fetched.bytes);
    default:
        return fetched.bytes;
    }
}

void write_blanks(const host_type &host, void *target, std::size_t from)
{
    auto *bytes = static_cast<char *>(target);
    if (host.set != charset::utf16) {
        std::memset(bytes + from, ' ', host.size - from);
        return;
    }
    for (constexpr char16_t blank = u' '; from + 2 <= host.size; from += 2)
        std::memcpy(bytes + from, &blank, sizeof blank);
}

host_writer find_writer(const host_type &host)
{
    const std::size_t terminator = host.set == charset::utf16 ? 2 : 1;
    switch (host.type) {
    case SQLT_CHR:
    case SQLT_LNG:
        return write_text;
    case SQLT_AFC:
        return write_padded_text;
    case SQLT_STR:
        return host.size >= terminator ? write_terminated_text : nullptr;
    case SQLT_AVC:
        return host.size >= terminator ? write_padded_terminated_text : nullptr;
    case SQLT_INT:
        return integer_writer(host.size);
    case SQLT_UIN:
        return unsigned_writer(host.size);
    case SQLT_FLT:
        return real_writer(host.size);
    case SQLT_BFLOAT:
    case SQLT_IBFLOAT:
        return host.size == sizeof(float) ? write_real<float> : nullptr;
    case SQLT_BDOUBLE:
    case SQLT_IBDOUBLE:
        return host.size == sizeof(double) ? write_real<double> : nullptr;
    case SQLT_NUM:
        return write_number;
    case SQLT_VNU:
        return host.size >= number_vnu_size ? write_counted_number : nullptr;
    case SQLT_DAT:
        return host.size >= 7 ? write_date : nullptr;
    case SQLT_ODT:
        return host.size >= sizeof(OCIDate) ? write_oci_date : nullptr;
    case SQLT_BIN:
    case SQLT_LBI:
        return write_bytes;
    case SQLT_CLOB:
    case SQLT_BLOB:
        return host.size == sizeof(void *) ? write_locator : nullptr;
    case SQLT_VCS:
    case SQLT_LVC:
    case SQLT_VBI:
    case SQLT_LVB:
        return find_counted_writer(host);
    default:
        return find_descriptor_writer(host.type);
    }
}

} // namespace sqlite_oci
