// Values that an application binds.
#include "handles/call.h"
#include "lobs/lob.h"
#include "values/date.h"
#include "values/stored_number.h"
#include "variables/host_value.h"

#include <cmath>
#include <cstring>

namespace sqlite_oci
{
namespace
{

template <class T> T load(const void *source)
{
    T result;
    std::memcpy(&result, source, sizeof result);
    return result;
}

value integer_value(std::int64_t integer)
{
    return {.kind = value_kind::integer, .integer = integer, .bytes = {}};
}

value real_value(double real)
{
    if (std::isnan(real))
        fail(1722, "NaN cannot be stored: SQLite has no such number");
    return {.kind = value_kind::real, .real = real, .bytes = {}};
}

// As the server does, an empty text is taken for null.
value bytes_value(value_kind kind, std::string_view bytes)
{
    return {.kind = bytes.empty() ? value_kind::null : kind, .bytes = bytes};
}

value text_value(charset set, std::string_view bytes, std::string &scratch)
{
    if (set != charset::utf8 && set != charset::us7ascii) {
        scratch.clear();
        append_utf8(set, bytes, &scratch);
        bytes = scratch;
    }
    return bytes_value(value_kind::text, bytes);
}

value read_text(const host_type &host, const void *source, std::size_t length, std::string &scratch)
{
    const value text = text_value(host.set, {static_cast<const char *>(source), length}, scratch);
    if (!is_padded(host))
        return text;
    // Nobody says where the text ends: the blanks behind it are those that fill the variable.
    return bytes_value(value_kind::text, text.bytes.substr(0, text.bytes.find_last_not_of(' ') + 1));
}

value read_terminated_text(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const auto *bytes = static_cast<const char *>(source);
    std::size_t length = 0;
    std::size_t terminator = 1;
    if (host.set == charset::utf16) {
        terminator = 2;
        while (length + 2 <= host.size && (bytes[length] || bytes[length + 1]))
            length += 2;
    } else {
        length = strnlen(bytes, host.size);
    }
    if (length + terminator > host.size)
        fail(1480, "a bound text of type %u has no terminator within its %zu bytes", host.type, host.size);
    return text_value(host.set, {bytes, length}, scratch);
}

value read_bytes(const host_type &, const void *source, std::size_t length, std::string &)
{
    return bytes_value(value_kind::blob, {static_cast<const char *>(source), length});
}

template <class T> value read_integer(const host_type &, const void *source, std::size_t, std::string &)
{
    return integer_value(static_cast<std::int64_t>(load<T>(source)));
}

template <class T> value read_real(const host_type &, const void *source, std::size_t, std::string &)
{
    return real_value(static_cast<double>(load<T>(source)));
}

value number_value(const OCINumber &number, std::string &scratch)
{
    const stored_number stored = store_number(number);
    scratch = stored.view();
    return {.kind = stored.kind, .integer = stored.integer, .real = stored.real, .bytes = scratch};
}

value read_unsigned_long(const host_type &, const void *source, std::size_t, std::string &scratch)
{
    OCINumber number;
    number_from_uint64(load<std::uint64_t>(source), &number);
    return number_value(number, scratch);
}

value read_number(const host_type &, const void *source, std::size_t length, std::string &scratch)
{
    OCINumber number;
    if (!number_from_num(static_cast<const ub1 *>(source), length, &number))
        fail(1722, "the bytes of an SQLT_NUM bind are no number");
    return number_value(number, scratch);
}

value read_counted_number(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    OCINumber number;
    if (!number_from_vnu(static_cast<const ub1 *>(source), host.size, &number))
        fail(1722, "the bytes of an SQLT_VNU bind are no number");
    return number_value(number, scratch);
}

value date_value(const civil_time &time, std::string &scratch)
{
    if (!date_is_valid(time))
        fail(1841, "a bound date does not exist");
    scratch = date_to_iso(time);
    return bytes_value(value_kind::text, scratch);
}

value read_date(const host_type &, const void *source, std::size_t, std::string &scratch)
{
    civil_time time{};
    if (!date_from_dat(static_cast<const ub1 *>(source), &time))
        fail(1841, "the bytes of an SQLT_DAT bind are no date");
    return date_value(time, scratch);
}

value read_oci_date(const host_type &, const void *source, std::size_t, std::string &scratch)
{
    return date_value(date_from_ocidate(load<OCIDate>(source)), scratch);
}

// A LOB without content is a value, not null, and of the kind that it is bound as.
value read_locator(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const lob_locator *locator = locator_in(source);
    if (!locator)
        fail(ora_invalid_locator, "the bound pointer is no LOB locator of this library");
    const auto bound = locator->value();
    const std::scoped_lock lock(bound->mutex);
    scratch = bound->current().bytes(); // another thread may write to it while the statement runs
    const bool is_text = scratch.empty() ? host.type == SQLT_CLOB : bound->is_text;
    return {.kind = is_text ? value_kind::text : value_kind::blob, .bytes = scratch};
}

host_reader integer_reader(std::size_t size)
{
    switch (size) {
    case 1:
        return read_integer<std::int8_t>;
    case 2:
        return read_integer<std::int16_t>;
    case 4:
        return read_integer<std::int32_t>;
    case 8:
        return read_integer<std::int64_t>;
    default:
        return nullptr;
    }
}

host_reader unsigned_reader(std::size_t size)
{
    switch (size) {
    case 1:
        return read_integer<std::uint8_t>;
    case 2:
        return read_integer<std::uint16_t>;
    case 4:
        return read_integer<std::uint32_t>;
    case 8:
        return read_unsigned_long;
    default:
        return nullptr;
    }
}

host_reader real_reader(std::size_t size)
{
    return size == sizeof(float) ? read_real<float> : size == sizeof(double) ? read_real<double> : nullptr;
}

} // namespace

host_reader find_reader(const host_type &host)
{
    switch (host.type) {
    case SQLT_CHR:
    case SQLT_LNG:
    case SQLT_AFC:
        return read_text;
    case SQLT_STR:
    case SQLT_AVC:
        return read_terminated_text;
    case SQLT_INT:
        return integer_reader(host.size);
    case SQLT_UIN:
        return unsigned_reader(host.size);
    case SQLT_FLT:
        return real_reader(host.size);
    case SQLT_BFLOAT:
    case SQLT_IBFLOAT:
        return host.size == sizeof(float) ? read_real<float> : nullptr;
    case SQLT_BDOUBLE:
    case SQLT_IBDOUBLE:
        return host.size == sizeof(double) ? read_real<double> : nullptr;
    case SQLT_NUM:
        return read_number;
    case SQLT_VNU:
        return host.size >= 2 ? read_counted_number : nullptr;
    case SQLT_DAT:
        return host.size >= 7 ? read_date : nullptr;
    case SQLT_ODT:
        return host.size >= sizeof(OCIDate) ? read_oci_date : nullptr;
    case SQLT_BIN:
    case SQLT_LBI:
        return read_bytes;
    case SQLT_CLOB:
    case SQLT_BLOB:
        return host.size == sizeof(void *) ? read_locator : nullptr;
    case SQLT_VCS:
    case SQLT_LVC:
    case SQLT_VBI:
    case SQLT_LVB:
        return find_counted_reader(host);
    default:
        return find_descriptor_reader(host.type);
    }
}

} // namespace sqlite_oci
