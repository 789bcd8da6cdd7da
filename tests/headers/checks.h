/* Checks that hold in C99 and C++20 alike: layouts while compiling, values of constants while running. */
#ifndef TESTS_HEADERS_CHECKS_H
#define TESTS_HEADERS_CHECKS_H

#include "oci.h"

#include <stddef.h>
#include <stdio.h>

/* C99 has no static assertion: a negative array size stops the compiler instead. */
#define JOIN_TOKENS(left, right) left##right
#define JOIN(left, right) JOIN_TOKENS(left, right)
#define STATIC_CHECK(condition) typedef char JOIN(check_on_line_, __LINE__)[(condition) ? 1 : -1]

#define CHECK_LAYOUT(type, size, alignment)                                                                  \
    struct aligned_##type {                                                                                  \
        char before;                                                                                         \
        type member;                                                                                         \
    };                                                                                                       \
    STATIC_CHECK(sizeof(type) == (size) && offsetof(struct aligned_##type, member) == (alignment))

#define IS_SIGNED(type) ((type)-1 < (type)1)

CHECK_LAYOUT(ub1, 1, 1);
CHECK_LAYOUT(sb1, 1, 1);
CHECK_LAYOUT(ub2, 2, 2);
CHECK_LAYOUT(sb2, 2, 2);
CHECK_LAYOUT(ub4, 4, 4);
CHECK_LAYOUT(sb4, 4, 4);
CHECK_LAYOUT(ub8, 8, 8);
CHECK_LAYOUT(sb8, 8, 8);
CHECK_LAYOUT(oraub8, 8, 8);
CHECK_LAYOUT(orasb8, 8, 8);
CHECK_LAYOUT(uword, 4, 4);
CHECK_LAYOUT(sword, 4, 4);
CHECK_LAYOUT(eword, 4, 4);
CHECK_LAYOUT(ubig_ora, 8, 8);
CHECK_LAYOUT(sbig_ora, 8, 8);
CHECK_LAYOUT(OraText, 1, 1);
CHECK_LAYOUT(OCIWchar, 4, 4);
CHECK_LAYOUT(boolean, 4, 4);
CHECK_LAYOUT(OCIDuration, 2, 2);
CHECK_LAYOUT(OCITypeCode, 2, 2);
CHECK_LAYOUT(OCIInd, 2, 2);
CHECK_LAYOUT(OCIObjectPropId, 1, 1);
CHECK_LAYOUT(OCIObjectMarkStatus, 4, 4);
CHECK_LAYOUT(OCIObjectCopyFlag, 1, 1);
CHECK_LAYOUT(OCIPicklerTdsElement, 4, 4);

STATIC_CHECK(!IS_SIGNED(ub1) && !IS_SIGNED(ub2) && !IS_SIGNED(ub4) && !IS_SIGNED(ub8));
STATIC_CHECK(IS_SIGNED(sb1) && IS_SIGNED(sb2) && IS_SIGNED(sb4) && IS_SIGNED(sb8));
STATIC_CHECK(!IS_SIGNED(oraub8) && !IS_SIGNED(uword) && !IS_SIGNED(ubig_ora) && !IS_SIGNED(OraText));
STATIC_CHECK(IS_SIGNED(orasb8) && IS_SIGNED(sword) && IS_SIGNED(sbig_ora) && IS_SIGNED(OCIInd));

/* Enumerations travel as a machine word of the calling convention. */
CHECK_LAYOUT(OCITypeGetOpt, 4, 4);
CHECK_LAYOUT(OCITypeEncap, 4, 4);
CHECK_LAYOUT(OCITypeMethodFlag, 4, 4);
CHECK_LAYOUT(OCITypeParamMode, 4, 4);
CHECK_LAYOUT(OCIPinOpt, 4, 4);
CHECK_LAYOUT(OCILockOpt, 4, 4);
CHECK_LAYOUT(OCIMarkOpt, 4, 4);
CHECK_LAYOUT(OCIRefreshOpt, 4, 4);
CHECK_LAYOUT(OCIObjectProperty, 4, 4);
CHECK_LAYOUT(OCIObjectEvent, 4, 4);
CHECK_LAYOUT(OCIObjectLifetime, 4, 4);
CHECK_LAYOUT(ocixmldbpname, 4, 4);
CHECK_LAYOUT(nzttces, 4, 4);
CHECK_LAYOUT(nzttcef, 4, 4);
CHECK_LAYOUT(nzttIdentType, 4, 4);
CHECK_LAYOUT(nzttCipherType, 4, 4);
CHECK_LAYOUT(nztttdufmt, 4, 4);

CHECK_LAYOUT(OCINumber, 22, 1);

CHECK_LAYOUT(OCITime, 3, 1);
STATIC_CHECK(offsetof(OCITime, OCITimeHH) == 0);
STATIC_CHECK(offsetof(OCITime, OCITimeMI) == 1);
STATIC_CHECK(offsetof(OCITime, OCITimeSS) == 2);

CHECK_LAYOUT(OCIDate, 8, 2);
STATIC_CHECK(offsetof(OCIDate, OCIDateYYYY) == 0);
STATIC_CHECK(offsetof(OCIDate, OCIDateMM) == 2);
STATIC_CHECK(offsetof(OCIDate, OCIDateDD) == 3);
STATIC_CHECK(offsetof(OCIDate, OCIDateTime) == 4);

CHECK_LAYOUT(XID, 152, 8);
STATIC_CHECK(offsetof(XID, formatID) == 0);
STATIC_CHECK(offsetof(XID, gtrid_length) == 8);
STATIC_CHECK(offsetof(XID, bqual_length) == 16);
STATIC_CHECK(offsetof(XID, data) == 24);
STATIC_CHECK(sizeof(((XID *)0)->formatID) == 8 && sizeof(((XID *)0)->data) == 128);
STATIC_CHECK(sizeof(((XID *)0)->gtrid_length) == 8 && sizeof(((XID *)0)->bqual_length) == 8);

CHECK_LAYOUT(OCIFocbkStruct, 16, 8);
STATIC_CHECK(offsetof(OCIFocbkStruct, callback_function) == 0);
STATIC_CHECK(offsetof(OCIFocbkStruct, fo_ctx) == 8);

CHECK_LAYOUT(ocixmldbparam, 16, 8);
STATIC_CHECK(offsetof(ocixmldbparam, name_ocixmldbparam) == 0);
STATIC_CHECK(offsetof(ocixmldbparam, value_ocixmldbparam) == 8);

/* Applications test constants in preprocessor conditions, which know neither casts nor enumerators. */
#if OCI_ERROR != -1 || OCI_HTYPE_LAST < OCI_HTYPE_FIRST || OCI_DURATION_INVALID != 0xFFFF ||                 \
    OCI_IND_NULL != -1
#    error "constants are not plain integers"
#endif

/* Constants numbered without gaps. */
struct sequence {
    const char *name;
    long first;
    const long *values;
    size_t count;
};

static const long handle_types[] = {
    OCI_HTYPE_ENV,
    OCI_HTYPE_ERROR,
    OCI_HTYPE_SVCCTX,
    OCI_HTYPE_STMT,
    OCI_HTYPE_BIND,
    OCI_HTYPE_DEFINE,
    OCI_HTYPE_DESCRIBE,
    OCI_HTYPE_SERVER,
    OCI_HTYPE_SESSION,
    OCI_HTYPE_TRANS,
    OCI_HTYPE_COMPLEXOBJECT,
    OCI_HTYPE_SECURITY,
    OCI_HTYPE_SUBSCRIPTION,
    OCI_HTYPE_DIRPATH_CTX,
    OCI_HTYPE_DIRPATH_COLUMN_ARRAY,
    OCI_HTYPE_DIRPATH_STREAM,
    OCI_HTYPE_PROC,
    OCI_HTYPE_DIRPATH_FN_CTX,
    OCI_HTYPE_DIRPATH_FN_COL_ARRAY,
    OCI_HTYPE_XADSESSION,
    OCI_HTYPE_XADTABLE,
    OCI_HTYPE_XADFIELD,
    OCI_HTYPE_XADGRANULE,
    OCI_HTYPE_XADRECORD,
    OCI_HTYPE_XADIO,
    OCI_HTYPE_CPOOL,
    OCI_HTYPE_SPOOL,
    OCI_HTYPE_ADMIN,
    OCI_HTYPE_EVENT,
};

static const long descriptor_types[] = {
    OCI_DTYPE_LOB,
    OCI_DTYPE_SNAP,
    OCI_DTYPE_RSET,
    OCI_DTYPE_PARAM,
    OCI_DTYPE_ROWID,
    OCI_DTYPE_COMPLEXOBJECTCOMP,
    OCI_DTYPE_FILE,
    OCI_DTYPE_AQENQ_OPTIONS,
    OCI_DTYPE_AQDEQ_OPTIONS,
    OCI_DTYPE_AQMSG_PROPERTIES,
    OCI_DTYPE_AQAGENT,
    OCI_DTYPE_LOCATOR,
    OCI_DTYPE_INTERVAL_YM,
    OCI_DTYPE_INTERVAL_DS,
    OCI_DTYPE_AQNFY_DESCRIPTOR,
    OCI_DTYPE_DATE,
    OCI_DTYPE_TIME,
    OCI_DTYPE_TIME_TZ,
    OCI_DTYPE_TIMESTAMP,
    OCI_DTYPE_TIMESTAMP_TZ,
    OCI_DTYPE_TIMESTAMP_LTZ,
    OCI_DTYPE_UCB,
    OCI_DTYPE_SRVDN,
    OCI_DTYPE_SIGNATURE,
    OCI_DTYPE_RESERVED_1,
    OCI_DTYPE_AQLIS_OPTIONS,
    OCI_DTYPE_AQLIS_MSG_PROPERTIES,
    OCI_DTYPE_CHDES,
    OCI_DTYPE_TABLE_CHDES,
    OCI_DTYPE_ROW_CHDES,
    OCI_DTYPE_CQDES,
    OCI_DTYPE_LOB_REGION,
};

static const long parameter_attributes[] = {
    OCI_ATTR_DATA_SIZE,   OCI_ATTR_DATA_TYPE, OCI_ATTR_DISP_SIZE, OCI_ATTR_NAME,
    OCI_ATTR_PRECISION,   OCI_ATTR_SCALE,     OCI_ATTR_IS_NULL,   OCI_ATTR_TYPE_NAME,
    OCI_ATTR_SCHEMA_NAME, OCI_ATTR_SUB_NAME,  OCI_ATTR_POSITION,
};

static const long statement_types[] = {
    OCI_STMT_UNKNOWN, OCI_STMT_SELECT, OCI_STMT_UPDATE, OCI_STMT_DELETE,  OCI_STMT_INSERT, OCI_STMT_CREATE,
    OCI_STMT_DROP,    OCI_STMT_ALTER,  OCI_STMT_BEGIN,  OCI_STMT_DECLARE, OCI_STMT_CALL,
};

#define SEQUENCE(values, first)                                                                              \
    {                                                                                                        \
#        values, first, values, sizeof(values) / sizeof((values)[0])                                         \
    }

static const struct sequence sequences[] = {
    SEQUENCE(handle_types, 1),
    SEQUENCE(descriptor_types, 50),
    SEQUENCE(parameter_attributes, 1),
    SEQUENCE(statement_types, 0),
};

/* Constants that callers and libraries exchange most, each with its published number. */
struct constant {
    const char *name;
    long value;
    long expected;
};

#define CONSTANT(name, expected)                                                                             \
    {                                                                                                        \
#        name, name, expected                                                                                \
    }

static const struct constant constants[] = {
    CONSTANT(OCI_SUCCESS, 0),
    CONSTANT(OCI_SUCCESS_WITH_INFO, 1),
    CONSTANT(OCI_NEED_DATA, 99),
    CONSTANT(OCI_NO_DATA, 100),
    CONSTANT(OCI_ERROR, -1),
    CONSTANT(OCI_INVALID_HANDLE, -2),
    CONSTANT(OCI_STILL_EXECUTING, -3123),
    CONSTANT(OCI_CONTINUE, -24200),
    CONSTANT(OCI_ROWCBK_DONE, -24201),

    CONSTANT(OCI_HTYPE_FIRST, 1),
    CONSTANT(OCI_HTYPE_AUTHINFO, 9),
    CONSTANT(OCI_HTYPE_LAST, 29),
    CONSTANT(OCI_DTYPE_FIRST, 50),

    CONSTANT(OCI_ATTR_ENV, 5),
    CONSTANT(OCI_ATTR_SERVER, 6),
    CONSTANT(OCI_ATTR_SESSION, 7),
    CONSTANT(OCI_ATTR_TRANS, 8),
    CONSTANT(OCI_ATTR_ROW_COUNT, 9),
    CONSTANT(OCI_ATTR_PREFETCH_ROWS, 11),
    CONSTANT(OCI_ATTR_PARAM_COUNT, 18),
    CONSTANT(OCI_ATTR_ROWID, 19),
    CONSTANT(OCI_ATTR_USERNAME, 22),
    CONSTANT(OCI_ATTR_PASSWORD, 23),
    CONSTANT(OCI_ATTR_STMT_TYPE, 24),
    CONSTANT(OCI_ATTR_XID, 27),
    CONSTANT(OCI_ATTR_CHARSET_ID, 31),
    CONSTANT(OCI_ATTR_CHARSET_FORM, 32),
    CONSTANT(OCI_ATTR_FOCBK, 43),
    CONSTANT(OCI_ATTR_NUM_DML_ERRORS, 73),
    CONSTANT(OCI_ATTR_PARAM, 124),
    CONSTANT(OCI_ATTR_PARSE_ERROR_OFFSET, 129),
    CONSTANT(OCI_ATTR_SERVER_STATUS, 143),
    CONSTANT(OCI_ATTR_SERVER_DNS, 160),
    CONSTANT(OCI_ATTR_STMTCACHESIZE, 176),
    CONSTANT(OCI_ATTR_BIND_COUNT, 190),
    CONSTANT(OCI_ATTR_ROWS_FETCHED, 197),
    CONSTANT(OCI_ATTR_NCHARSET_ID, 262),
    CONSTANT(OCI_ATTR_APPCTX_LIST, 274),
    CONSTANT(OCI_ATTR_CHAR_SIZE, 286),
    CONSTANT(OCI_ATTR_CHNF_REGHANDLE, 414),
    CONSTANT(OCI_ATTR_DRIVER_NAME, 424),

    CONSTANT(OCI_CRED_RDBMS, 1),
    CONSTANT(OCI_CRED_EXT, 2),
    CONSTANT(OCI_CPOOL_REINITIALIZE, 0x111),
    CONSTANT(OCI_BATCH_ERRORS, 0x80),
    CONSTANT(OCI_DESCRIBE_ONLY, 0x10),
    CONSTANT(OCI_COMMIT_ON_SUCCESS, 0x20),
    CONSTANT(OCI_STMT_SCROLLABLE_READONLY, 0x08),
    CONSTANT(OCI_DATA_AT_EXEC, 0x02),
    CONSTANT(OCI_NTV_SYNTAX, 1),
    CONSTANT(OCI_FETCH_NEXT, 0x02),
    CONSTANT(OCI_ONE_PIECE, 0),
    CONSTANT(OCI_LAST_PIECE, 3),
    CONSTANT(OCI_PTYPE_TABLE, 1),
    CONSTANT(OCI_PTYPE_DATABASE, 18),
    CONSTANT(OCI_FO_ERROR, 0x10),
    CONSTANT(OCI_FO_RETRY, 25410),
    CONSTANT(OCI_DURATION_SESSION, 10),
    CONSTANT(OCI_DURATION_INVALID, 0xFFFF),
    CONSTANT(OCI_IND_NULL, -1),
    CONSTANT(OCI_UTF16ID, 1000),
    CONSTANT(OCI_ERROR_MAXMSG_SIZE, 1024),

    CONSTANT(SQLT_CHR, 1),
    CONSTANT(SQLT_NUM, 2),
    CONSTANT(SQLT_INT, 3),
    CONSTANT(SQLT_FLT, 4),
    CONSTANT(SQLT_STR, 5),
    CONSTANT(SQLT_VNU, 6),
    CONSTANT(SQLT_LNG, 8),
    CONSTANT(SQLT_DAT, 12),
    CONSTANT(SQLT_BIN, 23),
    CONSTANT(SQLT_UIN, 68),
    CONSTANT(SQLT_AFC, 96),
    CONSTANT(SQLT_IBDOUBLE, 101),
    CONSTANT(SQLT_RDD, 104),
    CONSTANT(SQLT_NTY, 108),
    CONSTANT(SQLT_CLOB, 112),
    CONSTANT(SQLT_BLOB, 113),
    CONSTANT(SQLT_RSET, 116),
    CONSTANT(SQLT_ODT, 156),
    CONSTANT(SQLT_TIMESTAMP, 187),
    CONSTANT(SQLT_TIMESTAMP_LTZ, 232),
    CONSTANT(SQLCS_IMPLICIT, 1),
    CONSTANT(SQLCS_NCHAR, 2),
    CONSTANT(OCI_TYPECODE_OBJECT, 108),
    CONSTANT(OCI_TYPECODE_VARRAY, 247),

    CONSTANT(OCI_TYPEGET_ALL, 1),
    CONSTANT(OCI_TYPEMETHOD_PIPELINED, 0x8000),
    CONSTANT(OCI_PIN_ANY, 3),
    CONSTANT(OCI_LOCK_NONE, 1),
    CONSTANT(OCI_MARK_UPDATE, 2),
    CONSTANT(OCI_OBJECT_VALUE, 3),
    CONSTANT(OCI_OBJECTPROP_MARKSTATUS, 7),
};

/* Flags that are combined with | must be single bits, each used once. */
struct flag_set {
    const char *name;
    const long *values;
    size_t count;
};

static const long environment_modes[] = {
    OCI_THREADED,
    OCI_OBJECT,
    OCI_EVENTS,
    OCI_SHARED,
    OCI_NO_UCB,
    OCI_NO_MUTEX,
    OCI_SHARED_EXT,
    OCI_ALWAYS_BLOCKING,
    OCI_USE_LDAP,
    OCI_REG_LDAPONLY,
    OCI_UTF16,
    OCI_AFC_PAD_ON,
    OCI_NEW_LENGTH_SEMANTICS,
    OCI_NO_MUTEX_STMT,
    OCI_MUTEX_ENV_ONLY,
    OCI_SUPPRESS_NLS_VALIDATION,
    OCI_MUTEX_TRY,
    OCI_NCHAR_LITERAL_REPLACE_ON,
    OCI_NCHAR_LITERAL_REPLACE_OFF,
};

static const long execute_modes[] = {
    OCI_BATCH_MODE,    OCI_EXACT_FETCH,       OCI_STMT_SCROLLABLE_READONLY,
    OCI_DESCRIBE_ONLY, OCI_COMMIT_ON_SUCCESS, OCI_NON_BLOCKING,
    OCI_BATCH_ERRORS,  OCI_PARSE_ONLY,        OCI_SHOW_DML_WARNINGS,
    OCI_RESULT_CACHE,  OCI_NO_RESULT_CACHE,
};

static const long transaction_flags[] = {
    OCI_TRANS_NEW,       OCI_TRANS_JOIN,         OCI_TRANS_RESUME,   OCI_TRANS_PROMOTE, OCI_TRANS_READONLY,
    OCI_TRANS_READWRITE, OCI_TRANS_SERIALIZABLE, OCI_TRANS_LOOSE,    OCI_TRANS_TIGHT,   OCI_TRANS_NOMIGRATE,
    OCI_TRANS_SEPARABLE, OCI_TRANS_OTSRESUME,    OCI_TRANS_TWOPHASE,
};

static const long session_get_modes[] = {
    OCI_SESSGET_SPOOL,       OCI_SESSGET_STMTCACHE,      OCI_SESSGET_CREDPROXY,
    OCI_SESSGET_CREDEXT,     OCI_SESSGET_SPOOL_MATCHANY, OCI_SESSGET_PURITY_NEW,
    OCI_SESSGET_PURITY_SELF, OCI_SESSGET_SYSDBA,         OCI_SESSGET_CPOOL,
};

#define FLAG_SET(values)                                                                                     \
    {                                                                                                        \
#        values, values, sizeof(values) / sizeof((values)[0])                                                \
    }

static const struct flag_set flag_sets[] = {
    FLAG_SET(environment_modes),
    FLAG_SET(execute_modes),
    FLAG_SET(transaction_flags),
    FLAG_SET(session_get_modes),
};

static int check_constants(void)
{
    int faults = 0;
    for (size_t i = 0; i < sizeof(constants) / sizeof(constants[0]); i++) {
        const struct constant *constant = &constants[i];
        if (constant->value != constant->expected) {
            printf("%s is %ld, expected %ld\n", constant->name, constant->value, constant->expected);
            faults++;
        }
    }
    return faults;
}

static int check_sequences(void)
{
    int faults = 0;
    for (size_t i = 0; i < sizeof(sequences) / sizeof(sequences[0]); i++) {
        const struct sequence *sequence = &sequences[i];
        for (size_t k = 0; k < sequence->count; k++) {
            if (sequence->values[k] != sequence->first + (long)k) {
                printf("%s[%zu] is %ld, expected %ld\n", sequence->name, k, sequence->values[k],
                       sequence->first + (long)k);
                faults++;
            }
        }
    }
    return faults;
}

static int check_flags(void)
{
    int faults = 0;
    for (size_t i = 0; i < sizeof(flag_sets) / sizeof(flag_sets[0]); i++) {
        long seen = 0;
        for (size_t k = 0; k < flag_sets[i].count; k++) {
            const long flag = flag_sets[i].values[k];
            if (flag <= 0 || (flag & (flag - 1)) != 0 || (seen & flag) != 0) {
                printf("%s[%zu] is 0x%lx: not a single unused bit\n", flag_sets[i].name, k,
                       (unsigned long)flag);
                faults++;
            }
            seen |= flag;
        }
    }
    return faults;
}

/* Number of faults found, each printed. */
static int run_checks(void)
{
    return check_constants() + check_sequences() + check_flags();
}

#endif
