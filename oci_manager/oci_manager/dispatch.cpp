#include "dispatch.h"

#include <limits.h>

namespace
{

/* Longest error text that is read for a trace. */
constexpr ub4 error_text_size = 8192;
constexpr size_t error_buffer_size = error_text_size + 1;

} // namespace

void utf16_2_utf8(const unsigned char *str_org, int len_org, char *str_cvt)
{
    if (str_org)
        for (int i = 0; i < len_org; i++)
            if (str_org[i])
                *str_cvt++ = (char)str_org[i];
    *str_cvt = '\0';
}

narrowed_text::narrowed_text(const OraText *source, oraub8 source_length)
{
    // Lengths that are negative where they come from arrive here as huge ones.
    const int usable = source && source_length <= INT_MAX ? (int)source_length : 0;
    text = (size_t)usable < sizeof room ? room : (char *)malloc((size_t)usable + 1);
    if (text)
        utf16_2_utf8(source, usable, text);
    length = text ? (ub4)strlen(text) : 0;
}

sword end_without_text(const char *function, om_handle_t *werrhp, ub4 target)
{
    writeLog(OM_LOG_ASSERT, __FILE__, __LINE__,
             "%s ends with OCI_ERROR: no memory for the text to give to Dravik", function);
    record_error(werrhp, target);
    return OCI_ERROR;
}

void error_probe::read(const oci_function_table_t &backend, OCIError *errhp)
{
    buffers = (char *)calloc(2, error_buffer_size);
    if (buffers)
        backend.funcs.func_OCIErrorGet(errhp, 1, nullptr, &code, (OraText *)buffers, error_text_size,
                                       OCI_HTYPE_ERROR);
}

const char *error_probe::narrowed()
{
    if (!buffers)
        return "";
    char *copy = buffers + error_buffer_size;
    utf16_2_utf8((const unsigned char *)buffers, (int)error_text_size, copy);
    return copy;
}
