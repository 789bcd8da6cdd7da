/* Checks that hold in C99 and C++20 alike: layouts, numbers of constants, and flags that can be combined. */
#ifndef TESTS_HEADERS_CHECKS_H
#define TESTS_HEADERS_CHECKS_H

#include "oci.h"

#include <stddef.h>
#include <stdio.h>

/* Applications test constants in preprocessor conditions, which know neither casts nor enumerators. */
#if OCI_ERROR != -1 || OCI_HTYPE_LAST < OCI_HTYPE_FIRST || OCI_DURATION_INVALID != 0xFFFF ||                 \
    OCI_IND_NULL != -1 || UB4MAXVAL != 0xFFFFFFFF || SB4MINVAL != -2147483648 || OCI_MAJOR_VERSION != 11
#    error "constants are not plain integers"
#endif

/* Where a member of the type is placed behind a char. */
#ifdef __cplusplus
#    define ALIGNMENT(type) alignof(type)
#else
#    define ALIGNMENT(type)                                                                                  \
        offsetof(                                                                                            \
            struct {                                                                                         \
                char before;                                                                                 \
                type member;                                                                                 \
            },                                                                                               \
            member)
#endif

/* An initializer for an array, as a macro for the sake of short lines. */
#define LIST(...)                                                                                            \
    {                                                                                                        \
        __VA_ARGS__                                                                                          \
    }

struct constant {
    const char *name;
    long value;
    long expected;
};

#define CONSTANT(expression, expected) LIST(#expression, (long)(expression), expected)
#define LAYOUT(type, size, alignment) CONSTANT(sizeof(type), size), CONSTANT(ALIGNMENT(type), alignment)
#define SCALAR(type, size) LAYOUT(type, size, size)
#define SIGNED(type) CONSTANT((type)-1 < (type)1, 1)
#define UNSIGNED(type) CONSTANT((type)-1 < (type)1, 0)
#define MEMBER(type, member, offset) CONSTANT(offsetof(type, member), offset)

/* For the sizes of members. */
static const XID any_xid = {0, 0, 0, {0}};

/* Types that travel between callers and libraries; enumerations do so as a machine word. */
static const struct constant layouts[] = LIST(
    SCALAR(ub1, 1), SCALAR(sb1, 1), SCALAR(ub2, 2), SCALAR(sb2, 2), SCALAR(ub4, 4), SCALAR(sb4, 4),
    SCALAR(ub8, 8), SCALAR(sb8, 8), SCALAR(oraub8, 8), SCALAR(orasb8, 8), SCALAR(uword, 4), SCALAR(sword, 4),
    SCALAR(eword, 4), SCALAR(ubig_ora, 8), SCALAR(sbig_ora, 8), SCALAR(OraText, 1), SCALAR(OCIWchar, 4),
    SCALAR(boolean, 4), SCALAR(OCIDuration, 2), SCALAR(OCITypeCode, 2), SCALAR(OCIInd, 2),
    SCALAR(OCIObjectPropId, 1), SCALAR(OCIObjectMarkStatus, 4), SCALAR(OCIObjectCopyFlag, 1),
    SCALAR(OCIPicklerTdsElement, 4), SCALAR(OCITypeGetOpt, 4), SCALAR(OCITypeEncap, 4),
    SCALAR(OCITypeMethodFlag, 4), SCALAR(OCITypeParamMode, 4), SCALAR(OCIPinOpt, 4), SCALAR(OCILockOpt, 4),
    SCALAR(OCIMarkOpt, 4), SCALAR(OCIRefreshOpt, 4), SCALAR(OCIObjectProperty, 4), SCALAR(OCIObjectEvent, 4),
    SCALAR(OCIObjectLifetime, 4), SCALAR(ocixmldbpname, 4), SCALAR(nzttces, 4), SCALAR(nzttcef, 4),
    SCALAR(nzttIdentType, 4), SCALAR(nzttCipherType, 4), SCALAR(nztttdufmt, 4), UNSIGNED(ub1), UNSIGNED(ub2),
    UNSIGNED(utext), SCALAR(utext, 2), UNSIGNED(ub4), UNSIGNED(ub8), UNSIGNED(oraub8), UNSIGNED(uword),
    UNSIGNED(ubig_ora), UNSIGNED(OraText), SIGNED(sb1), SIGNED(sb2), SIGNED(sb4), SIGNED(sb8), SIGNED(orasb8),
    SIGNED(sword), SIGNED(sbig_ora), SIGNED(OCIInd), LAYOUT(OCINumber, 22, 1), LAYOUT(OCITime, 3, 1),
    MEMBER(OCITime, OCITimeHH, 0), MEMBER(OCITime, OCITimeMI, 1), MEMBER(OCITime, OCITimeSS, 2),
    LAYOUT(OCIDate, 8, 2), MEMBER(OCIDate, OCIDateYYYY, 0), MEMBER(OCIDate, OCIDateMM, 2),
    MEMBER(OCIDate, OCIDateDD, 3), MEMBER(OCIDate, OCIDateTime, 4), LAYOUT(XID, 152, 8),
    MEMBER(XID, formatID, 0), MEMBER(XID, gtrid_length, 8), MEMBER(XID, bqual_length, 16),
    MEMBER(XID, data, 24), LAYOUT(OCIFocbkStruct, 16, 8), MEMBER(OCIFocbkStruct, callback_function, 0),
    MEMBER(OCIFocbkStruct, fo_ctx, 8), LAYOUT(ocixmldbparam, 16, 8),
    MEMBER(ocixmldbparam, name_ocixmldbparam, 0), MEMBER(ocixmldbparam, value_ocixmldbparam, 8),
    CONSTANT(sizeof any_xid.formatID, 8), CONSTANT(sizeof any_xid.gtrid_length, 8),
    CONSTANT(sizeof any_xid.bqual_length, 8), CONSTANT(sizeof any_xid.data, 128));

/* Constants that callers and libraries exchange most, each with its published number. */
static const struct constant constants[] = LIST(
    CONSTANT(OCI_SUCCESS, 0), CONSTANT(OCI_SUCCESS_WITH_INFO, 1), CONSTANT(OCI_NEED_DATA, 99),
    CONSTANT(OCI_NO_DATA, 100), CONSTANT(OCI_ERROR, -1), CONSTANT(OCI_INVALID_HANDLE, -2),
    CONSTANT(OCI_STILL_EXECUTING, -3123), CONSTANT(OCI_CONTINUE, -24200), CONSTANT(OCI_ROWCBK_DONE, -24201),
    CONSTANT(OCI_HTYPE_FIRST, 1), CONSTANT(OCI_HTYPE_AUTHINFO, 9), CONSTANT(OCI_HTYPE_LAST, 29),
    CONSTANT(OCI_DTYPE_FIRST, 50), CONSTANT(OCI_ATTR_ENV, 5), CONSTANT(OCI_ATTR_SERVER, 6),
    CONSTANT(OCI_ATTR_SESSION, 7), CONSTANT(OCI_ATTR_TRANS, 8), CONSTANT(OCI_ATTR_ROW_COUNT, 9),
    CONSTANT(OCI_ATTR_PREFETCH_ROWS, 11), CONSTANT(OCI_ATTR_PARAM_COUNT, 18), CONSTANT(OCI_ATTR_ROWID, 19),
    CONSTANT(OCI_ATTR_USERNAME, 22), CONSTANT(OCI_ATTR_PASSWORD, 23), CONSTANT(OCI_ATTR_STMT_TYPE, 24),
    CONSTANT(OCI_ATTR_XID, 27), CONSTANT(OCI_ATTR_CHARSET_ID, 31), CONSTANT(OCI_ATTR_CHARSET_FORM, 32),
    CONSTANT(OCI_ATTR_FOCBK, 43), CONSTANT(OCI_ATTR_NUM_DML_ERRORS, 73), CONSTANT(OCI_ATTR_PARAM, 124),
    CONSTANT(OCI_ATTR_PARSE_ERROR_OFFSET, 129), CONSTANT(OCI_ATTR_SERVER_STATUS, 143),
    CONSTANT(OCI_ATTR_SERVER_DNS, 160), CONSTANT(OCI_ATTR_STMTCACHESIZE, 176),
    CONSTANT(OCI_ATTR_BIND_COUNT, 190), CONSTANT(OCI_ATTR_ROWS_FETCHED, 197),
    CONSTANT(OCI_ATTR_NCHARSET_ID, 262), CONSTANT(OCI_ATTR_APPCTX_LIST, 274),
    CONSTANT(OCI_ATTR_CHAR_SIZE, 286), CONSTANT(OCI_ATTR_CHNF_REGHANDLE, 414),
    CONSTANT(OCI_ATTR_DRIVER_NAME, 424), CONSTANT(OCI_CRED_RDBMS, 1), CONSTANT(OCI_CRED_EXT, 2),
    CONSTANT(OCI_CPOOL_REINITIALIZE, 0x111), CONSTANT(OCI_BATCH_ERRORS, 0x80),
    CONSTANT(OCI_DESCRIBE_ONLY, 0x10), CONSTANT(OCI_COMMIT_ON_SUCCESS, 0x20),
    CONSTANT(OCI_STMT_SCROLLABLE_READONLY, 0x08), CONSTANT(OCI_DATA_AT_EXEC, 0x02),
    CONSTANT(OCI_NTV_SYNTAX, 1), CONSTANT(OCI_FETCH_NEXT, 0x02), CONSTANT(OCI_ONE_PIECE, 0),
    CONSTANT(OCI_LAST_PIECE, 3), CONSTANT(OCI_PTYPE_TABLE, 1), CONSTANT(OCI_PTYPE_DATABASE, 18),
    CONSTANT(OCI_FO_ERROR, 0x10), CONSTANT(OCI_FO_RETRY, 25410), CONSTANT(OCI_DURATION_SESSION, 10),
    CONSTANT(OCI_DURATION_INVALID, 0xFFFF), CONSTANT(OCI_IND_NULL, -1), CONSTANT(OCI_UTF16ID, 1000),
    CONSTANT(OCI_ERROR_MAXMSG_SIZE, 1024), CONSTANT(SQLT_CHR, 1), CONSTANT(SQLT_NUM, 2),
    CONSTANT(SQLT_INT, 3), CONSTANT(SQLT_FLT, 4), CONSTANT(SQLT_STR, 5), CONSTANT(SQLT_VNU, 6),
    CONSTANT(SQLT_LNG, 8), CONSTANT(SQLT_DAT, 12), CONSTANT(SQLT_BIN, 23), CONSTANT(SQLT_UIN, 68),
    CONSTANT(SQLT_AFC, 96), CONSTANT(SQLT_IBDOUBLE, 101), CONSTANT(SQLT_RDD, 104), CONSTANT(SQLT_NTY, 108),
    CONSTANT(SQLT_CLOB, 112), CONSTANT(SQLT_BLOB, 113), CONSTANT(SQLT_RSET, 116), CONSTANT(SQLT_ODT, 156),
    CONSTANT(SQLT_TIMESTAMP, 187), CONSTANT(SQLT_TIMESTAMP_LTZ, 232), CONSTANT(SQLCS_IMPLICIT, 1),
    CONSTANT(SQLCS_NCHAR, 2), CONSTANT(OCI_TYPECODE_OBJECT, 108), CONSTANT(OCI_TYPECODE_VARRAY, 247),
    CONSTANT(OCI_TYPEGET_ALL, 1), CONSTANT(OCI_TYPEMETHOD_PIPELINED, 0x8000), CONSTANT(OCI_PIN_ANY, 3),
    CONSTANT(OCI_LOCK_NONE, 1), CONSTANT(OCI_MARK_UPDATE, 2), CONSTANT(OCI_OBJECT_VALUE, 3),
    CONSTANT(OCI_OBJECTPROP_MARKSTATUS, 7));

/* Greatest values: of a type of n bits, and one more is outside of it. */
static const struct constant limits[] = LIST(
    CONSTANT(UB1MAXVAL == (ub1)-1, 1), CONSTANT(UB2MAXVAL == (ub2)-1, 1), CONSTANT(UB4MAXVAL == (ub4)-1, 1),
    CONSTANT(UB8MAXVAL == (ub8)-1, 1), CONSTANT(SB1MAXVAL - SB1MINVAL, 255),
    CONSTANT(SB2MAXVAL - SB2MINVAL, 65535), CONSTANT(SB4MAXVAL == (sb4)(UB4MAXVAL >> 1), 1),
    CONSTANT(SB4MINVAL + SB4MAXVAL, -1), CONSTANT(SB8MINVAL + SB8MAXVAL, -1),
    CONSTANT(MINUB4MAXVAL, 4294967295L), CONSTANT(MAXSB4MINVAL, -2147483647L));

/* Constants numbered without gaps, and flags that are combined with |: single bits, each used once. */
struct group {
    const char *name;
    long first; /* the first number; -1 for flags */
    const long *values;
    size_t count;
};

static const long handle_types[] = LIST(
    OCI_HTYPE_ENV, OCI_HTYPE_ERROR, OCI_HTYPE_SVCCTX, OCI_HTYPE_STMT, OCI_HTYPE_BIND, OCI_HTYPE_DEFINE,
    OCI_HTYPE_DESCRIBE, OCI_HTYPE_SERVER, OCI_HTYPE_SESSION, OCI_HTYPE_TRANS, OCI_HTYPE_COMPLEXOBJECT,
    OCI_HTYPE_SECURITY, OCI_HTYPE_SUBSCRIPTION, OCI_HTYPE_DIRPATH_CTX, OCI_HTYPE_DIRPATH_COLUMN_ARRAY,
    OCI_HTYPE_DIRPATH_STREAM, OCI_HTYPE_PROC, OCI_HTYPE_DIRPATH_FN_CTX, OCI_HTYPE_DIRPATH_FN_COL_ARRAY,
    OCI_HTYPE_XADSESSION, OCI_HTYPE_XADTABLE, OCI_HTYPE_XADFIELD, OCI_HTYPE_XADGRANULE, OCI_HTYPE_XADRECORD,
    OCI_HTYPE_XADIO, OCI_HTYPE_CPOOL, OCI_HTYPE_SPOOL, OCI_HTYPE_ADMIN, OCI_HTYPE_EVENT);

static const long descriptor_types[] =
    LIST(OCI_DTYPE_LOB, OCI_DTYPE_SNAP, OCI_DTYPE_RSET, OCI_DTYPE_PARAM, OCI_DTYPE_ROWID,
         OCI_DTYPE_COMPLEXOBJECTCOMP, OCI_DTYPE_FILE, OCI_DTYPE_AQENQ_OPTIONS, OCI_DTYPE_AQDEQ_OPTIONS,
         OCI_DTYPE_AQMSG_PROPERTIES, OCI_DTYPE_AQAGENT, OCI_DTYPE_LOCATOR, OCI_DTYPE_INTERVAL_YM,
         OCI_DTYPE_INTERVAL_DS, OCI_DTYPE_AQNFY_DESCRIPTOR, OCI_DTYPE_DATE, OCI_DTYPE_TIME, OCI_DTYPE_TIME_TZ,
         OCI_DTYPE_TIMESTAMP, OCI_DTYPE_TIMESTAMP_TZ, OCI_DTYPE_TIMESTAMP_LTZ, OCI_DTYPE_UCB, OCI_DTYPE_SRVDN,
         OCI_DTYPE_SIGNATURE, OCI_DTYPE_RESERVED_1, OCI_DTYPE_AQLIS_OPTIONS, OCI_DTYPE_AQLIS_MSG_PROPERTIES,
         OCI_DTYPE_CHDES, OCI_DTYPE_TABLE_CHDES, OCI_DTYPE_ROW_CHDES, OCI_DTYPE_CQDES, OCI_DTYPE_LOB_REGION);

static const long parameter_attributes[] =
    LIST(OCI_ATTR_DATA_SIZE, OCI_ATTR_DATA_TYPE, OCI_ATTR_DISP_SIZE, OCI_ATTR_NAME, OCI_ATTR_PRECISION,
         OCI_ATTR_SCALE, OCI_ATTR_IS_NULL, OCI_ATTR_TYPE_NAME, OCI_ATTR_SCHEMA_NAME, OCI_ATTR_SUB_NAME,
         OCI_ATTR_POSITION);

static const long statement_types[] =
    LIST(OCI_STMT_UNKNOWN, OCI_STMT_SELECT, OCI_STMT_UPDATE, OCI_STMT_DELETE, OCI_STMT_INSERT,
         OCI_STMT_CREATE, OCI_STMT_DROP, OCI_STMT_ALTER, OCI_STMT_BEGIN, OCI_STMT_DECLARE, OCI_STMT_CALL);

static const long environment_modes[] =
    LIST(OCI_THREADED, OCI_OBJECT, OCI_EVENTS, OCI_SHARED, OCI_NO_UCB, OCI_NO_MUTEX, OCI_SHARED_EXT,
         OCI_ALWAYS_BLOCKING, OCI_USE_LDAP, OCI_REG_LDAPONLY, OCI_UTF16, OCI_AFC_PAD_ON,
         OCI_NEW_LENGTH_SEMANTICS, OCI_NO_MUTEX_STMT, OCI_MUTEX_ENV_ONLY, OCI_SUPPRESS_NLS_VALIDATION,
         OCI_MUTEX_TRY, OCI_NCHAR_LITERAL_REPLACE_ON, OCI_NCHAR_LITERAL_REPLACE_OFF);

static const long execute_modes[] =
    LIST(OCI_BATCH_MODE, OCI_EXACT_FETCH, OCI_STMT_SCROLLABLE_READONLY, OCI_DESCRIBE_ONLY,
         OCI_COMMIT_ON_SUCCESS, OCI_NON_BLOCKING, OCI_BATCH_ERRORS, OCI_PARSE_ONLY, OCI_SHOW_DML_WARNINGS,
         OCI_RESULT_CACHE, OCI_NO_RESULT_CACHE);

static const long transaction_flags[] =
    LIST(OCI_TRANS_NEW, OCI_TRANS_JOIN, OCI_TRANS_RESUME, OCI_TRANS_PROMOTE, OCI_TRANS_READONLY,
         OCI_TRANS_READWRITE, OCI_TRANS_SERIALIZABLE, OCI_TRANS_LOOSE, OCI_TRANS_TIGHT, OCI_TRANS_NOMIGRATE,
         OCI_TRANS_SEPARABLE, OCI_TRANS_OTSRESUME, OCI_TRANS_TWOPHASE);

static const long session_get_modes[] =
    LIST(OCI_SESSGET_SPOOL, OCI_SESSGET_STMTCACHE, OCI_SESSGET_CREDPROXY, OCI_SESSGET_CREDEXT,
         OCI_SESSGET_SPOOL_MATCHANY, OCI_SESSGET_PURITY_NEW, OCI_SESSGET_PURITY_SELF, OCI_SESSGET_SYSDBA,
         OCI_SESSGET_CPOOL);

#define GROUP(values, first) LIST(#values, first, values, sizeof(values) / sizeof((values)[0]))

static const struct group groups[] =
    LIST(GROUP(handle_types, 1), GROUP(descriptor_types, 50), GROUP(parameter_attributes, 1),
         GROUP(statement_types, 0), GROUP(environment_modes, -1), GROUP(execute_modes, -1),
         GROUP(transaction_flags, -1), GROUP(session_get_modes, -1));

static int check_numbers(const struct constant *constants_of_a_kind, size_t count)
{
    int faults = 0;
    for (size_t i = 0; i < count; i++) {
        const struct constant *constant = &constants_of_a_kind[i];
        if (constant->value != constant->expected) {
            printf("%s is %ld, expected %ld\n", constant->name, constant->value, constant->expected);
            faults++;
        }
    }
    return faults;
}

static int check_group(const struct group *group)
{
    int faults = 0;
    long seen = 0;
    for (size_t k = 0; k < group->count; k++) {
        const long value = group->values[k];
        const int is_unused_bit = value > 0 && (value & (value - 1)) == 0 && (seen & value) == 0;
        if (group->first < 0 ? !is_unused_bit : value != group->first + (long)k) {
            printf("%s[%zu] is %ld: out of order, or no bit of its own\n", group->name, k, value);
            faults++;
        }
        seen |= value;
    }
    return faults;
}

/* Number of faults found, each printed. */
static int run_checks(void)
{
    int faults = check_numbers(layouts, sizeof(layouts) / sizeof(layouts[0]));
    faults += check_numbers(constants, sizeof(constants) / sizeof(constants[0]));
    faults += check_numbers(limits, sizeof(limits) / sizeof(limits[0]));
    for (size_t i = 0; i < sizeof(groups) / sizeof(groups[0]); i++)
        faults += check_group(&groups[i]);
    return faults;
}

#endif
