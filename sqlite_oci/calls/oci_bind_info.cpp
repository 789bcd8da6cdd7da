// What a statement's text says of its bind variables.
#include "statements/statement.h"

#include <algorithm>
#include <cstdlib>

using namespace sqlite_oci;

namespace
{

// The texts that programs get pointers to stay with the statement, apart from those of attributes.
constexpr ub4 first_name_key = 1U << 16;

OraText *given_name(statement &of, ub4 index)
{
    std::string &kept = of.given_texts[first_name_key + index];
    kept = of.env->text_out(of.text.placeholders[index].name);
    kept.append(2, '\0');
    return reinterpret_cast<OraText *>(kept.data());
}

// Whether the name stands in the text before.
bool is_repeated(const statement &of, std::size_t index)
{
    const auto &all = of.text.placeholders;
    const auto end = all.begin() + static_cast<std::ptrdiff_t>(index);
    return std::any_of(all.begin(), end, [&](const auto &one) { return one.name == all[index].name; });
}

} // namespace

extern "C" {

SQLITE_OCI_EXPORT sword OCIStmtGetBindInfo(OCIStmt *stmtp, OCIError *errhp, ub4 size, ub4 startloc,
                                           sb4 *found, OraText **bvnp, ub1 *bvnl, OraText **invp, ub1 *inpl,
                                           ub1 *dupl, OCIBind **hndl)
{
    return served(errhp, [&](call_errors errors) {
        auto &of = required<statement>(stmtp);
        if (!of.is_prepared)
            fail(24337, "the statement handle is not prepared");
        if (!found || startloc == 0 || (size && (!bvnp || !bvnl || !invp || !inpl || !dupl || !hndl)))
            fail(24315, "the arrays for bind variables, and a position from 1 on, are needed");
        const auto total = static_cast<ub4>(of.text.placeholders.size());
        const ub4 rest = startloc > total ? 0 : total - (startloc - 1);
        const ub4 told = std::min(size, rest);
        for (ub4 i = 0; i < told; ++i) {
            const ub4 index = startloc - 1 + i;
            bvnp[i] = given_name(of, index);
            bvnl[i] = static_cast<ub1>(
                std::min<std::size_t>(of.given_texts[first_name_key + index].size() - 2, UB1MAXVAL));
            invp[i] = nullptr;
            inpl[i] = 0;
            dupl[i] = is_repeated(of, index);
            const bind *bound = of.bind_at(index);
            hndl[i] = bound ? static_cast<OCIBind *>(bound->handle) : nullptr;
        }
        // Below zero where there are more than were told.
        *found = told < rest ? -static_cast<sb4>(total) : static_cast<sb4>(total);
        if (total == 0) {
            errors.set(make_record(1403, "the statement has no bind variables"));
            return OCI_NO_DATA;
        }
        return OCI_SUCCESS;
    });
}

} // extern "C"
