/*
 * The OCI functions that this library exports, once: X(name, family, routing).
 *
 * The linker's export list is made from these rows, and the tests and the routing table in the documentation
 * are checked against them. A new call needs its function and a row here.
 *
 * Routing:
 *   twin_creation  Oracle, then Dravik; there is no wrapper to route by yet
 *   in_turn        each backend whose bit the wrapper has, Oracle first
 *   by_twin        each backend that holds a twin
 *   attach         Oracle first, Dravik only after Oracle refused
 *   exclusive      one backend by the wrapper's bits, Oracle first
 *   untracked      as exclusive, without recording who reported
 *   last_error     the backend that reported last
 *   oracle_routed  Oracle only; a wrapper without Oracle's bit stops the process
 *   oracle         Oracle's entry point, no wrapper
 *   refused        stops the process
 */
#ifndef OM_EXPORTED_CALLS_H
#define OM_EXPORTED_CALLS_H

// clang-format off
#define OM_EXPORTED_CALLS(X) \
    X(OCIEnvCreate,           environment, twin_creation) \
    X(OCIEnvNlsCreate,        environment, twin_creation) \
    X(OCIEnvInit,             environment, twin_creation) \
    X(OCIInitialize,          environment, twin_creation) \
    X(OCIClientVersion,       environment, oracle) \
    X(OCISharedLibInit,       environment, oracle) \
    X(OCIHandleAlloc,         handle,      in_turn) \
    X(OCIHandleFree,          handle,      by_twin) \
    X(OCIDescriptorAlloc,     handle,      in_turn) \
    X(OCIDescriptorFree,      handle,      by_twin) \
    X(OCIServerAttach,        connection,  attach) \
    X(OCIServerDetach,        connection,  exclusive) \
    X(OCISessionBegin,        connection,  exclusive) \
    X(OCISessionEnd,          connection,  exclusive) \
    X(OCIErrorGet,            error,       last_error) \
    X(OCIAttrSet,             attribute,   in_turn) \
    X(OCIAttrGet,             attribute,   exclusive) \
    X(OCIStmtPrepare,         statement,   in_turn) \
    X(OCIStmtPrepare2,        statement,   oracle_routed) \
    X(OCIStmtExecute,         statement,   exclusive) \
    X(OCIStmtFetch,           statement,   in_turn) \
    X(OCIStmtFetch2,          statement,   in_turn) \
    X(OCIBindByPos,           bind,        in_turn) \
    X(OCIBindByName,          bind,        in_turn) \
    X(OCIBindDynamic,         bind,        oracle_routed) \
    X(OCIBindArrayOfStruct,   bind,        oracle_routed) \
    X(OCIDefineByPos,         define,      in_turn) \
    X(OCIDefineDynamic,       define,      oracle_routed) \
    X(OCIDefineArrayOfStruct, define,      oracle_routed) \
    X(OCIDescribeAny,         describe,    oracle_routed) \
    X(OCIParamGet,            describe,    in_turn) \
    X(OCIParamSet,            describe,    in_turn) \
    X(OCITransStart,          transaction, oracle_routed) \
    X(OCITransCommit,         transaction, exclusive) \
    X(OCITransRollback,       transaction, exclusive) \
    X(OCIServerVersion,       connection,  oracle) \
    X(OCIBreak,               connection,  untracked) \
    X(OCILobGetLength,        lob,         exclusive) \
    X(OCILobGetLength2,       lob,         exclusive) \
    X(OCILobRead,             lob,         exclusive) \
    X(OCILobRead2,            lob,         exclusive) \
    X(OCILobWrite,            lob,         exclusive) \
    X(OCILobWrite2,           lob,         exclusive) \
    X(OCILobAssign,           lob,         refused) \
    X(OCINlsGetInfo,          language,    oracle) \
    X(OCINumberFromInt,       number,      oracle) \
    X(OCINumberFromReal,      number,      oracle) \
    X(OCINumberFromText,      number,      oracle) \
    X(OCINumberToInt,         number,      oracle) \
    X(OCINumberToReal,        number,      oracle) \
    X(OCINumberToText,        number,      oracle) \
    X(OCIDateAssign,          date,        oracle) \
    X(OCIDateToText,          date,        oracle) \
    X(OCIDateFromText,        date,        oracle) \
    X(OCIDateCompare,         date,        oracle) \
    X(OCIDateAddMonths,       date,        oracle) \
    X(OCIDateAddDays,         date,        oracle) \
    X(OCIDateLastDay,         date,        oracle) \
    X(OCIDateDaysBetween,     date,        oracle) \
    X(OCIDateZoneToZone,      date,        oracle) \
    X(OCIDateNextDay,         date,        oracle) \
    X(OCIDateCheck,           date,        oracle) \
    X(OCIDateSysDate,         date,        oracle) \
    X(OCIDirPathColArrayEntrySet, direct_path, refused) \
    X(OCIDirPathColArrayReset, direct_path, refused) \
    X(OCIDirPathColArrayToStream, direct_path, refused) \
    X(OCIDirPathFinish,       direct_path, refused) \
    X(OCIDirPathLoadStream,   direct_path, refused) \
    X(OCIDirPathPrepare,      direct_path, refused) \
    X(OCIDirPathStreamReset,  direct_path, refused)

/* The library's own functions and thread-local variables. */
#define OM_EXPORTED_FUNCTIONS(X) \
    X(initLog) \
    X(writeLog) \
    X(init_oci_manager) \
    X(deinit_oci_manager) \
    X(get_attr_type) \
    X(oci_table_load) \
    X(func_table_initialize) \
    X(func_table_init_once)
#define OM_EXPORTED_VARIABLES(X) \
    X(hdl_list_tbl) \
    X(LOG_LVL) \
    X(cLogInit) \
    X(cLogRoot) \
    X(cLogDate) \
    X(cLogFileName) \
    X(lStandardSec)
// clang-format on

#endif
