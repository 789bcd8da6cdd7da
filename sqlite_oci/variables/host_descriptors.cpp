// Values that pass through descriptors: times, intervals, rows, and texts of variable length.
#include "variables/descriptors.h"
#include "variables/host_value.h"
#include "variables/long_bytes.h"

#include <algorithm>
#include <cstring>

namespace sqlite_oci
{
namespace
{

written failed(int code)
{
    return {.error = code};
}

constexpr written pointer_written{.stored = sizeof(void *), .whole = sizeof(void *)};

value text_in(std::string text, std::string &scratch)
{
    scratch = std::move(text);
    return {.kind = scratch.empty() ? value_kind::null : value_kind::text, .bytes = scratch};
}

[[noreturn]] void refuse_descriptor(ub2 type)
{
    fail(ora_invalid_descriptor, "the bound pointer of type %u is no descriptor of this library", type);
}

// --- Times

value read_datetime(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const datetime_descriptor *held = find_datetime(pointer_in(source));
    if (!held)
        refuse_descriptor(host.type);
    if (const int code = timestamp_check(held->time))
        fail(code, "%s (in a bound datetime)", interval_error_text(code));
    return text_in(timestamp_to_text(held->time, stored_type(*held)), scratch);
}

// Dates are kept as texts of the same form.
written write_datetime(const host_type &, const value &fetched, void *target)
{
    datetime_descriptor *into = find_datetime(pointer_in(target));
    if (!into)
        return failed(ora_invalid_descriptor);
    if (fetched.kind != value_kind::text)
        return failed(ora_inconsistent_types);
    timestamp time;
    if (!timestamp_from_text(fetched.bytes, &time) && !date_from_default_text(fetched.bytes, &time.local))
        return failed(ora_not_a_date);
    const int code = assign(*into, time);
    return code ? failed(code) : pointer_written;
}

// --- Intervals

value read_interval(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const interval_descriptor *held = find_interval(pointer_in(source));
    if (!held)
        refuse_descriptor(host.type);
    return text_in(interval_to_text(held->value), scratch);
}

written write_interval(const host_type &, const value &fetched, void *target)
{
    interval_descriptor *into = find_interval(pointer_in(target));
    if (!into)
        return failed(ora_invalid_descriptor);
    if (fetched.kind != value_kind::text)
        return failed(ora_inconsistent_types);
    interval read;
    if (!interval_from_text(fetched.bytes, &read))
        if (const int code = interval_from_literal(fetched.bytes, into->type(), &read))
            return failed(code);
    if (read.type != into->type())
        return failed(ora_inconsistent_types);
    into->value = read;
    return pointer_written;
}

// --- Rows

value read_rowid(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const auto *held = find<rowid_descriptor>(pointer_in(source));
    if (!held)
        refuse_descriptor(host.type);
    return text_in(held->text, scratch);
}

written write_rowid(const host_type &, const value &fetched, void *target)
{
    auto *into = find<rowid_descriptor>(pointer_in(target));
    if (!into)
        return failed(ora_invalid_descriptor);
    char room[number_text_max];
    std::string scratch;
    into->text = to_text(fetched, room, scratch);
    return pointer_written;
}

// --- Texts of variable length

value read_string(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const auto *held = find<string_value>(pointer_in(source));
    if (!held)
        refuse_descriptor(host.type);
    return text_in(to_utf8(host.set, held->bytes), scratch);
}

written write_string(const host_type &host, const value &fetched, void *target)
{
    auto *into = find<string_value>(pointer_in(target));
    if (!into)
        return failed(ora_invalid_descriptor);
    char room[number_text_max];
    std::string scratch;
    into->bytes = from_utf8(host.set, to_text(fetched, room, scratch));
    return pointer_written;
}

// --- Cursors

// Statement handles are no values of SQL: only a block that opens a cursor looks at them.
value refuse_cursor(const host_type &, const void *, std::size_t, std::string &)
{
    fail(ora_inconsistent_types, "a statement handle gets its query from BEGIN OPEN :c FOR SELECT ...; END;");
}

// What is fetched of a cursor only says that there is one: the statement opens it.
written accept_cursor(const host_type &, const value &, void *)
{
    return pointer_written;
}

// --- Variables that begin with their length

bool has_long_length(ub2 type)
{
    return type == SQLT_LVC || type == SQLT_LVB;
}

host_type counted_content(const host_type &host)
{
    const std::size_t prefix = has_long_length(host.type) ? sizeof(ub4) : sizeof(ub2);
    const bool is_text = host.type == SQLT_VCS || host.type == SQLT_LVC;
    return {static_cast<ub2>(is_text ? SQLT_CHR : SQLT_BIN), host.size - prefix, host.set};
}

template <class Length>
value read_counted(const host_type &host, const void *source, std::size_t, std::string &scratch)
{
    const host_type content = counted_content(host);
    Length length;
    std::memcpy(&length, source, sizeof length);
    const auto *bytes = static_cast<const char *>(source) + sizeof length;
    return find_reader(content)(content, bytes, std::min<std::size_t>(length, content.size), scratch);
}

template <class Length> written write_counted(const host_type &host, const value &fetched, void *target)
{
    const host_type content = counted_content(host);
    const written result =
        find_writer(content)(content, fetched, static_cast<char *>(target) + sizeof(Length));
    if (result.error)
        return result;
    const auto length = static_cast<Length>(result.stored);
    std::memcpy(target, &length, sizeof length);
    return result;
}

} // namespace

host_reader find_descriptor_reader(ub2 type)
{
    switch (type) {
    case SQLT_DATE:
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
        return read_datetime;
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
        return read_interval;
    case SQLT_RDD:
        return read_rowid;
    case SQLT_VST:
        return read_string;
    case SQLT_RSET:
        return refuse_cursor;
    default:
        return nullptr;
    }
}

host_writer find_descriptor_writer(ub2 type)
{
    switch (type) {
    case SQLT_DATE:
    case SQLT_TIMESTAMP:
    case SQLT_TIMESTAMP_TZ:
    case SQLT_TIMESTAMP_LTZ:
        return write_datetime;
    case SQLT_INTERVAL_YM:
    case SQLT_INTERVAL_DS:
        return write_interval;
    case SQLT_RDD:
        return write_rowid;
    case SQLT_VST:
        return write_string;
    case SQLT_RSET:
        return accept_cursor;
    default:
        return nullptr;
    }
}

host_reader find_counted_reader(const host_type &host)
{
    const bool is_long = has_long_length(host.type);
    if (host.size < (is_long ? sizeof(ub4) : sizeof(ub2)))
        return nullptr;
    return is_long ? read_counted<ub4> : read_counted<ub2>;
}

host_writer find_counted_writer(const host_type &host)
{
    const bool is_long = has_long_length(host.type);
    if (host.size < (is_long ? sizeof(ub4) : sizeof(ub2)))
        return nullptr;
    return is_long ? write_counted<ub4> : write_counted<ub2>;
}

} // namespace sqlite_oci
