// Locale data: that of AMERICAN_AMERICA, the only locale.
#include "calls/nls_call.h"
#include "text/text_scan.h"
#include "values/date.h"
#include "values/date_model.h"

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace sqlite_oci;

namespace
{

struct locale_item {
    ub2 item;
    std::string_view text;
};

constexpr locale_item locale_items[] = {
    {OCI_NLS_YES, "yes"},
    {OCI_NLS_NO, "no"},
    {OCI_NLS_AM, "AM"},
    {OCI_NLS_PM, "PM"},
    {OCI_NLS_AD, "AD"},
    {OCI_NLS_BC, "BC"},
    {OCI_NLS_DECIMAL, "."},
    {OCI_NLS_GROUP, ","},
    {OCI_NLS_DEBIT, "-"},
    {OCI_NLS_CREDIT, ""},
    {OCI_NLS_DATEFORMAT, date_default_format},
    {OCI_NLS_INT_CURRENCY, "USD"},
    {OCI_NLS_LOC_CURRENCY, "$"},
    {OCI_NLS_LANGUAGE, "AMERICAN"},
    {OCI_NLS_ABLANGUAGE, "US"},
    {OCI_NLS_TERRITORY, "AMERICA"},
    {OCI_NLS_LINGUISTIC_NAME, "BINARY"},
    {OCI_NLS_CALENDAR, "GREGORIAN"},
    {OCI_NLS_DUAL_CURRENCY, "$"},
    {OCI_NLS_WRITINGDIR, "0"}, // from left to right
    {OCI_NLS_ABTERRITORY, "US"},
    {OCI_NLS_DDATEFORMAT, "Day, Month DD, YYYY"},
    {OCI_NLS_DTIMEFORMAT, "HH:MI:SS AM"},
    {OCI_NLS_SFDATEFORMAT, "MM/DD/YYYY"},
    {OCI_NLS_SFTIMEFORMAT, "HH:MI AM"},
    {OCI_NLS_NUMGROUPING, "3"},
    {OCI_NLS_LISTSEP, ","},
    {OCI_NLS_MONDECIMAL, "."},
    {OCI_NLS_MONGROUP, ","},
    {OCI_NLS_MONGROUPING, "3"},
    {OCI_NLS_INT_CURRENCYSEP, " "},
};

struct named_charset {
    ub2 id;
    std::string_view name;
};

constexpr named_charset named_charsets[] = {
    {1, "US7ASCII"}, {31, "WE8ISO8859P1"}, {871, "UTF8"}, {873, "AL32UTF8"}, {OCI_UTF16ID, "UTF16"},
};

std::string capitalized(std::string_view name)
{
    std::string result(name);
    std::transform(result.begin() + 1, result.end(), result.begin() + 1, lower);
    return result;
}

// Names count from `first`, which is Monday or January; abbreviations follow the names.
template <std::size_t count>
std::string name_of(const std::string_view (&names)[count], std::size_t index, std::size_t shift)
{
    const std::string name = capitalized(names[(index + shift) % count]);
    return index < count ? name : name.substr(0, name_abbreviation);
}

std::string locale_text(const environment &env, ub2 item)
{
    if (item >= OCI_NLS_DAYNAME1 && item <= OCI_NLS_ABDAYNAME7)
        return name_of(day_names, item - std::size_t{OCI_NLS_DAYNAME1}, 1);
    if (item >= OCI_NLS_MONTHNAME1 && item <= OCI_NLS_ABMONTHNAME12)
        return name_of(month_names, item - std::size_t{OCI_NLS_MONTHNAME1}, 0);
    if (item == OCI_NLS_CHARACTER_SET)
        return charset_name(env.set);
    const auto *known = std::find_if(std::begin(locale_items), std::end(locale_items),
                                     [&](const locale_item &one) { return one.item == item; });
    if (known == std::end(locale_items))
        fail(24315, "locale data have no item %u", item);
    return std::string(known->text);
}

sb4 locale_number(const environment &env, ub2 item)
{
    switch (item) {
    case OCI_NLS_CHARSET_MAXBYTESZ:
        return static_cast<sb4>(charset_max_bytes(env.set));
    case OCI_NLS_CHARSET_FIXEDWIDTH: // 0 where characters differ in width
        return charset_max_bytes(env.set) == 1 ? 1 : 0;
    case OCI_NLS_CHARSET_ID:
        return charset_id(env.set);
    case OCI_NLS_NCHARSET_ID:
        return charset_id(env.national);
    default:
        fail(24315, "locale data have no number %u", item);
    }
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCINlsGetInfo(void *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item)
{
    return served(errhp, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        env.copy_out(locale_text(env, item), buf, buflen);
        return OCI_SUCCESS;
    });
}

SQLITE_OCI_EXPORT sword OCINlsNumericInfoGet(void *envhp, OCIError *errhp, sb4 *val, ub2 item)
{
    return served(errhp, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        if (!val)
            fail(24315, "there is no place for the item's value");
        *val = locale_number(env, item);
        return OCI_SUCCESS;
    });
}

// 0 for a name that is not known.
SQLITE_OCI_EXPORT ub2 OCINlsCharSetNameToId(void *envhp, const OraText *name)
{
    const environment *env = nls_environment(envhp);
    if (!env || !name)
        return 0;
    try {
        const std::string wanted = env->terminated_text_in(name);
        for (const named_charset &known : named_charsets)
            if (equal_ignoring_case(known.name, wanted))
                return known.id;
    } catch (const std::exception &) {
        // No memory: the name remains unknown.
    }
    return 0;
}

SQLITE_OCI_EXPORT sword OCINlsCharSetIdToName(void *envhp, OraText *buf, size_t buflen, ub2 id)
{
    return served(nullptr, [&](call_errors) {
        const environment &env = required_nls_environment(envhp);
        for (const named_charset &known : named_charsets) {
            if (known.id != id)
                continue;
            env.copy_out(known.name, buf, buflen);
            return OCI_SUCCESS;
        }
        fail(12715, "character set %u is not supported", id);
    });
}

} // extern "C"
