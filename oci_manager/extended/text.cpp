#include "text.h"

#include <string.h>

namespace
{

constexpr ub4 replacement = 0xfffd;

ub4 unit_at(const ub1 *text)
{
    ub2 unit;
    memcpy(&unit, text, sizeof unit);
    return unit;
}

bool is_high(ub4 unit)
{
    return (unit & 0xfc00) == 0xd800;
}

bool is_low(ub4 unit)
{
    return (unit & 0xfc00) == 0xdc00;
}

/* Writes one character as UTF-8 and returns its length. */
size_t put_utf8(ub4 code, char *into)
{
    if (code < 0x80) {
        into[0] = (char)code;
        return 1;
    }
    if (code < 0x800) {
        into[0] = (char)(0xc0 | code >> 6);
        into[1] = (char)(0x80 | (code & 0x3f));
        return 2;
    }
    if (code < 0x10000) {
        into[0] = (char)(0xe0 | code >> 12);
        into[1] = (char)(0x80 | (code >> 6 & 0x3f));
        into[2] = (char)(0x80 | (code & 0x3f));
        return 3;
    }
    into[0] = (char)(0xf0 | code >> 18);
    into[1] = (char)(0x80 | (code >> 12 & 0x3f));
    into[2] = (char)(0x80 | (code >> 6 & 0x3f));
    into[3] = (char)(0x80 | (code & 0x3f));
    return 4;
}

/* Takes one character of UTF-8 and returns how many bytes it has. */
size_t take_utf8(const ub1 *text, size_t length, ub4 *code)
{
    static constexpr ub4 smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const ub1 first = text[0];
    *code = first;
    if (first < 0x80)
        return 1;
    const size_t count = first >= 0xf0 && first < 0xf8 ? 4 : first >= 0xe0 ? 3 : first >= 0xc0 ? 2 : 0;
    *code = replacement;
    if (count == 0 || first >= 0xf8 || count > length)
        return 1;
    ub4 value = first & (0xffU >> (count + 1));
    for (size_t i = 1; i < count; i++) {
        if ((text[i] & 0xc0) != 0x80)
            return 1;
        value = value << 6 | (text[i] & 0x3f);
    }
    if (value >= smallest[count] && value < 0x110000 && !is_high(value) && !is_low(value))
        *code = value;
    return count;
}

} // namespace

size_t omx_utf16_length(const ub1 *text, size_t limit)
{
    size_t length = 0;
    while (length + 2 <= limit && unit_at(text + length) != 0)
        length += 2;
    return length;
}

size_t omx_to_utf8(const ub1 *text, size_t length, char *into, size_t room)
{
    size_t written = 0;
    for (size_t i = 0; i + 2 <= length; i += 2) {
        ub4 code = unit_at(text + i);
        if (is_high(code) && i + 4 <= length && is_low(unit_at(text + i + 2))) {
            code = 0x10000 + ((code & 0x3ff) << 10 | (unit_at(text + i + 2) & 0x3ff));
            i += 2;
        } else if (is_high(code) || is_low(code)) {
            code = replacement;
        }
        char character[4];
        const size_t count = put_utf8(code, character);
        if (written + count >= room)
            break;
        memcpy(into + written, character, count);
        written += count;
    }
    if (room)
        into[written] = '\0';
    return written;
}

size_t omx_to_utf16(const char *text, size_t length, ub1 *into, size_t room)
{
    size_t written = 0;
    for (size_t i = 0; i < length;) {
        ub4 code = 0;
        i += take_utf8((const ub1 *)text + i, length - i, &code);
        ub2 units[2] = {(ub2)code, 0};
        size_t count = sizeof(ub2);
        if (code >= 0x10000) {
            units[0] = (ub2)(0xd800 | (code - 0x10000) >> 10);
            units[1] = (ub2)(0xdc00 | (code & 0x3ff));
            count = sizeof units;
        }
        if (written + count > room)
            break;
        memcpy(into + written, units, count);
        written += count;
    }
    return written;
}

void omx_text::convert(void)
{
    const size_t needed = (size_t)length / 2 * 3 + 1;
    copy = needed <= sizeof room ? room : (char *)malloc(needed);
    length = copy ? (ub4)omx_to_utf8((const ub1 *)text, length, copy, needed) : 0;
    text = (const OraText *)copy;
}
