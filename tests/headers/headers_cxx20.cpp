// The OCI headers in C++20: the same checks as in C, identity of types, and C linkage.
#include "checks.h"
#include "linked_names.h"

#include <type_traits>

namespace
{

template <typename A, typename B> constexpr bool same = std::is_same_v<A, B>;

static_assert(same<OraText, oratext>);
static_assert(same<text, oratext>);
static_assert(same<boolean, int>);
static_assert(same<CONST dvoid *, const void *>);
static_assert(same<OCIAuthInfo, OCISession>);
static_assert(same<OCIClobLocator, OCILobLocator>);
static_assert(same<OCIBlobLocator, OCILobLocator>);
static_assert(same<OCIBFileLocator, OCILobLocator>);
static_assert(same<OCIArray, OCIColl>);
static_assert(same<OCITable, OCIColl>);
static_assert(same<Lda_Def, cda_def>);
static_assert(same<Cda_Def, cda_def>);
static_assert(same<XID, xid_t>);

// Generations of the OCI differ in these signatures; a library that expects another one reads rubbish.
static_assert(
    same<decltype(OCIStringAssignText), sword(OCIEnv *, OCIError *, const OraText *, ub4, OCIString **)>);
static_assert(same<decltype(OCIDateTimeFromArray), sword(void *, OCIError *, const ub1 *, ub4, ub1,
                                                         OCIDateTime *, const OCIInterval *, ub1)>);
static_assert(same<decltype(OCIStmtPrepare2), sword(OCISvcCtx *, OCIStmt **, OCIError *, const OraText *, ub4,
                                                    const OraText *, ub4, ub4, ub4)>);
static_assert(same<decltype(OCIStmtRelease), sword(OCIStmt *, OCIError *, const OraText *, ub4, ub4)>);
static_assert(same<decltype(OCITypeByRef),
                   sword(OCIEnv *, OCIError *, const OCIRef *, OCIDuration, OCITypeGetOpt, OCIType **)>);
static_assert(
    same<decltype(OCILobIsEqual), sword(OCIEnv *, const OCILobLocator *, const OCILobLocator *, int *)>);

// Entry points that return something other than a status.
static_assert(same<decltype(OCIClientVersion), void(sword *, sword *, sword *, sword *, sword *)>);
static_assert(same<decltype(OCIThreadProcessInit), void()>);
static_assert(same<decltype(OCIThreadIsMulti), int()>);
static_assert(same<decltype(ociepacm), void *(OCIExtProcContext *, size_t)>);
static_assert(same<decltype(ociepmsg), size_t(OCIExtProcContext *, int, OraText *, size_t)>);
static_assert(same<decltype(OCIMessageGet), OraText *(OCIMsg *, ub4, OraText *, size_t)>);
static_assert(same<decltype(OCINlsCharSetNameToId), ub2(void *, const OraText *)>);
static_assert(same<decltype(OCICollMax), sb4(OCIEnv *, const OCIColl *)>);

} // namespace

// The linker finds an entry point only under its unmangled name.
using entry_point = void (*)();
#define ADDRESS(name) reinterpret_cast<entry_point>(&(name)),
entry_point entry_points[] = {LINKED_NAMES(ADDRESS)};

int main()
{
    return run_checks() == 0 ? 0 : 1;
}
