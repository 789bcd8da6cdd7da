// The OCINumber calls that convert from and to integers, reals and texts.
#include "calls/number_call.h"

#include <cstring>
#include <limits>
#include <string>

using namespace sqlite_oci;

namespace
{

template <class T> T read(const void *from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T> sword write(T value, void *to)
{
    std::memcpy(to, &value, sizeof value);
    return OCI_SUCCESS;
}

bool is_integer_length(uword length)
{
    return length == 1 || length == 2 || length == 4 || length == 8;
}

std::int64_t read_signed(const void *from, uword length)
{
    switch (length) {
    case 1:
        return read<std::int8_t>(from);
    case 2:
        return read<std::int16_t>(from);
    case 4:
        return read<std::int32_t>(from);
    default:
        return read<std::int64_t>(from);
    }
}

std::uint64_t read_unsigned(const void *from, uword length)
{
    switch (length) {
    case 1:
        return read<std::uint8_t>(from);
    case 2:
        return read<std::uint16_t>(from);
    case 4:
        return read<std::uint32_t>(from);
    default:
        return read<std::uint64_t>(from);
    }
}

// The low bytes of a value that was found to fit; the machine is little-endian.
sword write_integer(std::uint64_t value, uword length, void *to)
{
    std::memcpy(to, &value, length);
    return OCI_SUCCESS;
}

sword integer_out_of_range(OCIError *err, const OCINumber &number, uword length)
{
    bool negative = number_sign(number) < 0;
    return raise_error(err, negative ? underflow : overflow, "%s does not fit an integer of %u bytes",
                       number_to_text(number).c_str(), length);
}

sword to_signed(OCIError *err, const OCINumber &number, uword length, void *to)
{
    std::int64_t value = 0;
    const std::int64_t most = std::numeric_limits<std::int64_t>::max() >> (64 - 8 * length);
    if (!number_to_int64(number, &value) || value > most || value < -most - 1)
        return integer_out_of_range(err, number, length);
    return write_integer(static_cast<std::uint64_t>(value), length, to);
}

sword to_unsigned(OCIError *err, const OCINumber &number, uword length, void *to)
{
    std::uint64_t value = 0;
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * length);
    bool fits = number_to_uint64(number, &value);
    if (!fits && number_sign(number) < 0)
        return raise_error(err, negative_as_unsigned, "%s is negative and cannot be an unsigned integer",
                           number_to_text(number).c_str());
    if (!fits || value > most)
        return integer_out_of_range(err, number, length);
    return write_integer(value, length, to);
}

sword refuse_integer_arguments(OCIError *err, uword length, uword flag)
{
    if (!is_integer_length(length))
        return raise_error(err, bad_integer_length,
                           "an integer of %u bytes is not supported: use 1, 2, 4 or 8", length);
    return raise_error(err, unknown_sign_flag, "%u is neither OCI_NUMBER_SIGNED nor OCI_NUMBER_UNSIGNED",
                       flag);
}

bool is_sign_flag(uword flag)
{
    return flag == OCI_NUMBER_SIGNED || flag == OCI_NUMBER_UNSIGNED;
}

sword refuse_real_length(OCIError *err, uword length)
{
    return raise_error(err, bad_real_length,
                       "a floating-point number of %u bytes is not supported: use 4, 8 or %zu", length,
                       sizeof(long double));
}

sword to_real(OCIError *err, const OCINumber &number, uword length, void *to)
{
    if (!number_is_valid(number))
        return refuse_invalid(err);
    switch (length) {
    case sizeof(float):
        return write(number_to_float(number), to);
    case sizeof(double):
        return write(number_to_double(number), to);
    case sizeof(long double):
        return write(number_to_long_double(number), to);
    default:
        return refuse_real_length(err, length);
    }
}

// Reads the NLS parameters of a call; false after recording what is wrong with them.
bool read_nls(OCIError *err, std::string_view parameters, number_locale *locale)
{
    if (number_locale_from_nls(parameters, locale))
        return true;
    raise_error(err, invalid_nls, "the NLS parameters \"%.*s\" are not understood", shown(parameters),
                parameters.data());
    return false;
}

sword refuse_format(OCIError *err, std::string_view format)
{
    return raise_error(err, invalid_format, "\"%.*s\" is not a number format for this conversion",
                       shown(format), format.data());
}

sword copy_text(OCIError *err, const std::string &text, ub4 *size, OraText *buffer)
{
    if (text.size() > *size)
        return raise_error(err, buffer_too_small, "a buffer of %u bytes is too small for a text of %zu",
                           *size, text.size());
    std::memcpy(buffer, text.data(), text.size());
    if (text.size() < *size)
        buffer[text.size()] = '\0';
    *size = static_cast<ub4>(text.size());
    return OCI_SUCCESS;
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCINumberFromInt(OCIError *err, const void *inum, uword inum_length,
                                         uword inum_s_flag, OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(inum, number))
            return refuse_null(err);
        if (!is_integer_length(inum_length) || !is_sign_flag(inum_s_flag))
            return refuse_integer_arguments(err, inum_length, inum_s_flag);
        if (inum_s_flag == OCI_NUMBER_SIGNED)
            number_from_int64(read_signed(inum, inum_length), number);
        else
            number_from_uint64(read_unsigned(inum, inum_length), number);
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberToInt(OCIError *err, const OCINumber *number, uword rsl_length,
                                       uword rsl_flag, void *rsl)
{
    return with_error_handle(err, [&] {
        if (any_null(number, rsl))
            return refuse_null(err);
        if (!is_integer_length(rsl_length) || !is_sign_flag(rsl_flag))
            return refuse_integer_arguments(err, rsl_length, rsl_flag);
        if (!number_is_valid(*number))
            return refuse_invalid(err);
        return rsl_flag == OCI_NUMBER_SIGNED ? to_signed(err, *number, rsl_length, rsl)
                                             : to_unsigned(err, *number, rsl_length, rsl);
    });
}

SQLITE_OCI_EXPORT sword OCINumberFromReal(OCIError *err, const void *rnum, uword rnum_length,
                                          OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(rnum, number))
            return refuse_null(err);
        bool fits = false;
        bool zero = false;
        switch (rnum_length) {
        case sizeof(float):
            fits = number_from_float(read<float>(rnum), number);
            zero = read<float>(rnum) == 0;
            break;
        case sizeof(double):
            fits = number_from_double(read<double>(rnum), number);
            zero = read<double>(rnum) == 0;
            break;
        case sizeof(long double):
            fits = number_from_long_double(read<long double>(rnum), number);
            zero = read<long double>(rnum) == 0;
            break;
        default:
            return refuse_real_length(err, rnum_length);
        }
        if (!fits)
            return raise_error(err, overflow,
                               "the value is not a number or has a magnitude of 1e126 or more");
        return report(err, number_is_zero(*number) && !zero ? number_status::underflow : number_status::ok);
    });
}

SQLITE_OCI_EXPORT sword OCINumberToReal(OCIError *err, const OCINumber *number, uword rsl_length, void *rsl)
{
    return with_error_handle(err, [&] {
        return any_null(number, rsl) ? refuse_null(err) : to_real(err, *number, rsl_length, rsl);
    });
}

SQLITE_OCI_EXPORT sword OCINumberToRealArray(OCIError *err, const OCINumber **number, uword elems,
                                             uword rsl_length, void *rsl)
{
    return with_error_handle(err, [&] {
        if (any_null(number, rsl))
            return refuse_null(err);
        for (std::size_t i = 0; i < elems; ++i) {
            void *to = static_cast<char *>(rsl) + i * rsl_length;
            sword code = number[i] ? to_real(err, *number[i], rsl_length, to) : refuse_null(err);
            if (code != OCI_SUCCESS)
                return code;
        }
        return sword{OCI_SUCCESS};
    });
}

SQLITE_OCI_EXPORT sword OCINumberFromText(OCIError *err, const OraText *str, ub4 str_length,
                                          const OraText *fmt, ub4 fmt_length, const OraText *nls_param,
                                          ub4 nls_p_length, OCINumber *number)
{
    return with_error_handle(err, [&] {
        if (any_null(str, number))
            return refuse_null(err);
        number_locale locale;
        if (!read_nls(err, text_of(nls_param, nls_p_length), &locale))
            return sword{OCI_ERROR};
        std::string_view text = text_of(str, str_length);
        std::string_view format = fmt ? text_of(fmt, fmt_length) : "TM9";
        OCINumber value;
        number_status status = number_parse_format(text, format, locale, &value);
        switch (status) {
        case number_status::ok:
            *number = value;
            return sword{OCI_SUCCESS};
        case number_status::bad_format:
            return refuse_format(err, format);
        case number_status::malformed:
            return raise_error(err, invalid_text, "\"%.*s\" is not a number in the format \"%.*s\"",
                               shown(text), text.data(), shown(format), format.data());
        default:
            return report(err, status);
        }
    });
}

SQLITE_OCI_EXPORT sword OCINumberToText(OCIError *err, const OCINumber *number, const OraText *fmt,
                                        ub4 fmt_length, const OraText *nls_params, ub4 nls_p_length,
                                        ub4 *buf_size, OraText *buf)
{
    return with_error_handle(err, [&] {
        if (any_null(number, buf_size, buf))
            return refuse_null(err);
        number_locale locale;
        if (!read_nls(err, text_of(nls_params, nls_p_length), &locale))
            return sword{OCI_ERROR};
        std::string_view format = fmt ? text_of(fmt, fmt_length) : "TM9";
        std::string text;
        switch (number_format(*number, format, locale, &text)) {
        case number_status::ok:
            return copy_text(err, text, buf_size, buf);
        case number_status::bad_format:
            return refuse_format(err, format);
        case number_status::overflow:
            return raise_error(err, format_overflow, "%s does not fit the format \"%.*s\"",
                               number_to_text(*number).c_str(), shown(format), format.data());
        default:
            return refuse_invalid(err);
        }
    });
}

} // extern "C"
