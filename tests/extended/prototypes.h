/*
 * What the prototypes say about handles, for all types of handles.
 */
#ifndef EXTENDED_PROTOTYPES_H
#define EXTENDED_PROTOTYPES_H

#include "signature.h"

namespace recording
{

// The types that the exact edition serves stand in signature.h.
#define OPAQUE(c_type, oci_type) template <> inline constexpr int opaque_type<c_type> = oci_type;
OPAQUE(OCITrans, OCI_HTYPE_TRANS)
OPAQUE(OCIComplexObject, OCI_HTYPE_COMPLEXOBJECT)
OPAQUE(OCISecurity, OCI_HTYPE_SECURITY)
OPAQUE(OCISubscription, OCI_HTYPE_SUBSCRIPTION)
OPAQUE(OCIDirPathCtx, OCI_HTYPE_DIRPATH_CTX)
OPAQUE(OCIDirPathColArray, OCI_HTYPE_DIRPATH_COLUMN_ARRAY)
OPAQUE(OCIDirPathStream, OCI_HTYPE_DIRPATH_STREAM)
OPAQUE(OCICPool, OCI_HTYPE_CPOOL)
OPAQUE(OCISPool, OCI_HTYPE_SPOOL)
OPAQUE(OCIAdmin, OCI_HTYPE_ADMIN)
OPAQUE(OCIEvent, OCI_HTYPE_EVENT)
OPAQUE(OCIResult, OCI_DTYPE_RSET)
OPAQUE(OCIParam, OCI_DTYPE_PARAM)
OPAQUE(OCIRowid, OCI_DTYPE_ROWID)
OPAQUE(OCIAQEnqOptions, OCI_DTYPE_AQENQ_OPTIONS)
OPAQUE(OCIAQDeqOptions, OCI_DTYPE_AQDEQ_OPTIONS)
OPAQUE(OCIAQMsgProperties, OCI_DTYPE_AQMSG_PROPERTIES)
OPAQUE(OCIAQAgent, OCI_DTYPE_AQAGENT)
OPAQUE(OCIInterval, OCI_DTYPE_INTERVAL_DS)
OPAQUE(OCIDateTime, OCI_DTYPE_TIMESTAMP)
OPAQUE(OCIUcb, OCI_DTYPE_UCB)
OPAQUE(OCIAQListenOpts, OCI_DTYPE_AQLIS_OPTIONS)
OPAQUE(OCIAQLisMsgProps, OCI_DTYPE_AQLIS_MSG_PROPERTIES)
#undef OPAQUE

/* The handle type of a variable or an array of handles; 0: the parameter is none. */
template <class T> constexpr int variable_type()
{
    if constexpr (std::is_pointer_v<T>)
        return handle_type<std::remove_cv_t<std::remove_pointer_t<T>>>();
    else
        return 0;
}

template <class R, class... A> std::vector<int> variable_types(R (*)(A...))
{
    return {variable_type<A>()...};
}

template <class R, class... A> std::vector<int> variable_types(R (*)(A..., ...))
{
    return {variable_type<A>()...};
}

} // namespace recording

#endif
