// Wide characters, which are code points, and strings of them.
#include "calls/nls_call.h"

#include <cwchar>
#include <cwctype>

#include <locale.h>

namespace sqlite_oci
{
namespace
{

// Unicode's classes and cases; the program's own locale is left alone.
locale_t unicode()
{
    static const locale_t instance = [] {
        const locale_t made = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return made ? made : newlocale(LC_CTYPE_MASK, "C", nullptr);
    }();
    return instance;
}

using class_test = int (*)(wint_t, locale_t);

int is_of_class(void *env, OCIWchar character, class_test test)
{
    return nls_value(env, 0, [&](const environment &) { return test(character, unicode()) != 0 ? 1 : 0; });
}

// Columns that a character takes on a terminal.
std::size_t columns_of(char32_t character)
{
    const locale_t before = uselocale(unicode());
    const int columns = wcwidth(static_cast<wchar_t>(character));
    uselocale(before);
    return columns < 0 ? 0 : static_cast<std::size_t>(columns);
}

// Ends the text with a zero; returns its length.
std::size_t put(OCIWchar *target, std::u32string_view text)
{
    std::memmove(target, text.data(), text.size() * sizeof *target);
    target[text.size()] = 0;
    return text.size();
}

std::size_t append(void *env, OCIWchar *target, const OCIWchar *source, std::size_t most, bool behind)
{
    return nls_value(env, std::size_t{0}, [&](const environment &) -> std::size_t {
        if (!target || !source)
            return 0;
        const std::size_t before = behind ? terminated(target).size() : 0;
        return before + put(target + before, terminated(source).substr(0, most));
    });
}

constexpr std::size_t all = static_cast<std::size_t>(-1);

} // namespace

char32_t fold_case(char32_t character, ub4 flag)
{
    if (flag & OCI_NLS_UPPERCASE)
        return static_cast<char32_t>(towupper_l(character, unicode()));
    return flag & OCI_NLS_LOWERCASE ? static_cast<char32_t>(towlower_l(character, unicode())) : character;
}

int compare_wide(std::u32string_view a, std::u32string_view b, int flag)
{
    std::u32string first(a), second(b);
    if (flag & OCI_NLS_CASE_INSENSITIVE)
        for (std::u32string *const text : {&first, &second})
            for (char32_t &character : *text)
                character = fold_case(character, OCI_NLS_LOWERCASE);
    const int order = first.compare(second);
    return (order > 0) - (order < 0);
}

} // namespace sqlite_oci

using namespace sqlite_oci;

extern "C" {

SQLITE_OCI_EXPORT int OCIWideCharIsAlnum(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswalnum_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsAlpha(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswalpha_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsCntrl(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswcntrl_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsDigit(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswdigit_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsGraph(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswgraph_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsLower(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswlower_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsPrint(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswprint_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsPunct(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswpunct_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsSpace(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswspace_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsUpper(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswupper_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsXdigit(void *envhp, OCIWchar wc)
{
    return is_of_class(envhp, wc, iswxdigit_l);
}

SQLITE_OCI_EXPORT int OCIWideCharIsSingleByte(void *envhp, OCIWchar wc)
{
    return OCIWideCharMultiByteLength(envhp, wc) == 1;
}

SQLITE_OCI_EXPORT OCIWchar OCIWideCharToLower(void *envhp, OCIWchar wc)
{
    return nls_value(envhp, wc,
                     [&](const environment &) -> OCIWchar { return fold_case(wc, OCI_NLS_LOWERCASE); });
}

SQLITE_OCI_EXPORT OCIWchar OCIWideCharToUpper(void *envhp, OCIWchar wc)
{
    return nls_value(envhp, wc,
                     [&](const environment &) -> OCIWchar { return fold_case(wc, OCI_NLS_UPPERCASE); });
}

SQLITE_OCI_EXPORT size_t OCIWideCharDisplayLength(void *envhp, OCIWchar wc)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &) { return columns_of(wc); });
}

SQLITE_OCI_EXPORT size_t OCIWideCharMultiByteLength(void *envhp, OCIWchar wc)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &env) {
        const char32_t character = wc;
        return from_wide(env, {&character, 1}).size();
    });
}

SQLITE_OCI_EXPORT int OCIWideCharStrcmp(void *envhp, const OCIWchar *wstr1, const OCIWchar *wstr2, int flag)
{
    return nls_value(envhp, 0, [&](const environment &) {
        return compare_wide(terminated(wstr1), terminated(wstr2), flag);
    });
}

SQLITE_OCI_EXPORT int OCIWideCharStrncmp(void *envhp, const OCIWchar *wstr1, size_t len1,
                                         const OCIWchar *wstr2, size_t len2, int flag)
{
    return nls_value(envhp, 0, [&](const environment &) {
        return compare_wide(terminated(wstr1).substr(0, len1), terminated(wstr2).substr(0, len2), flag);
    });
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrcat(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr)
{
    return append(envhp, wdststr, wsrcstr, all, true);
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrncat(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr, size_t n)
{
    return append(envhp, wdststr, wsrcstr, n, true);
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrcpy(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr)
{
    return append(envhp, wdststr, wsrcstr, all, false);
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrncpy(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr, size_t n)
{
    return append(envhp, wdststr, wsrcstr, n, false);
}

SQLITE_OCI_EXPORT OCIWchar *OCIWideCharStrchr(void *envhp, const OCIWchar *wstr, OCIWchar wc)
{
    return nls_value(envhp, static_cast<OCIWchar *>(nullptr), [&](const environment &) {
        const std::size_t at = terminated(wstr).find(wc);
        return at == all ? nullptr : const_cast<OCIWchar *>(wstr) + at;
    });
}

SQLITE_OCI_EXPORT OCIWchar *OCIWideCharStrrchr(void *envhp, const OCIWchar *wstr, OCIWchar wc)
{
    return nls_value(envhp, static_cast<OCIWchar *>(nullptr), [&](const environment &) {
        const std::size_t at = terminated(wstr).rfind(wc);
        return at == all ? nullptr : const_cast<OCIWchar *>(wstr) + at;
    });
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrlen(void *envhp, const OCIWchar *wstr)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &) { return terminated(wstr).size(); });
}

SQLITE_OCI_EXPORT size_t OCIWideCharStrCaseConversion(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr,
                                                      ub4 flag)
{
    return nls_value(envhp, std::size_t{0}, [&](const environment &) -> std::size_t {
        if (!wdststr)
            return 0;
        std::u32string text(terminated(wsrcstr));
        for (char32_t &character : text)
            character = fold_case(character, flag);
        return put(wdststr, text);
    });
}

} // extern "C"
