/*
 * Types of the OCI, release 11g, for Linux x86-64: scalars, handles and descriptors, structures, enumerations
 * and callbacks.
 *
 * Applications may define, before the first OCI header:
 *   OCI_NO_TEXT     no type `text`, for programs that use this word themselves
 *   OCI_NO_BOOLEAN  no type `boolean` and no TRUE and FALSE
 * The headers themselves use OraText and int in their place.
 */
#ifndef OCI_TYPES_H
#define OCI_TYPES_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

/* Every OCI header puts its declarations between these two, for C linkage under C++. */
#ifdef __cplusplus
#    define OCI_BEGIN_DECLARATIONS extern "C" {
#    define OCI_END_DECLARATIONS }
#else
#    define OCI_BEGIN_DECLARATIONS
#    define OCI_END_DECLARATIONS
#endif

/* Words of older applications. */
#ifndef dvoid
#    define dvoid void
#endif
#ifndef CONST
#    define CONST const
#endif

/* Greatest and least values of the scalar types. MIN...MAXVAL and MAX...MINVAL are what every platform has.
 */
#define UB1MAXVAL 255
#define SB1MAXVAL 127
#define SB1MINVAL (-128)
#define UB2MAXVAL 65535
#define SB2MAXVAL 32767
#define SB2MINVAL (-32768)
#define UB4MAXVAL 4294967295U
#define SB4MAXVAL 2147483647
#define SB4MINVAL (-2147483647 - 1)
#define UB8MAXVAL UINT64_MAX
#define SB8MAXVAL INT64_MAX
#define SB8MINVAL INT64_MIN
#define ORAUB8MAXVAL UB8MAXVAL
#define ORASB8MAXVAL SB8MAXVAL
#define ORASB8MINVAL SB8MINVAL
#define UWORDMAXVAL UB4MAXVAL
#define SWORDMAXVAL SB4MAXVAL
#define SWORDMINVAL SB4MINVAL
#define EWORDMAXVAL SB4MAXVAL
#define EWORDMINVAL SB4MINVAL
#define UBIG_ORAMAXVAL UINT64_MAX
#define SBIG_ORAMAXVAL INT64_MAX
#define SBIG_ORAMINVAL INT64_MIN
#define MINUB1MAXVAL UB1MAXVAL
#define MAXUB1MINVAL 0
#define MINSB1MAXVAL SB1MAXVAL
#define MAXSB1MINVAL (-127)
#define MINUB2MAXVAL UB2MAXVAL
#define MAXUB2MINVAL 0
#define MINSB2MAXVAL SB2MAXVAL
#define MAXSB2MINVAL (-32767)
#define MINUB4MAXVAL UB4MAXVAL
#define MAXUB4MINVAL 0
#define MINSB4MAXVAL SB4MAXVAL
#define MAXSB4MINVAL (-2147483647)
#define UB1BITS 8
#define UB1MASK 255

OCI_BEGIN_DECLARATIONS

/* Integers: u is unsigned, s signed, the digit the size in bytes. */
typedef unsigned char ub1;
typedef signed char sb1;
typedef unsigned short ub2;
typedef signed short sb2;
typedef unsigned int ub4;
typedef signed int sb4;
typedef uint64_t oraub8;
typedef int64_t orasb8;
typedef oraub8 ub8;
typedef orasb8 sb8;

/* Integers of the machine's word; most calls return an sword. */
typedef unsigned int uword;
typedef signed int sword;
typedef int eword;
typedef unsigned long ubig_ora;
typedef signed long sbig_ora;

/* Bytes of text in the client's character set. OCIWchar has 4 bytes whatever the compiler's wchar_t has. */
typedef unsigned char oratext;
typedef oratext OraText;
typedef ub4 OCIWchar;

/* Units of UTF-16. */
typedef ub2 utext;

#ifndef OCI_NO_TEXT
typedef oratext text;
#endif

#ifndef OCI_NO_BOOLEAN
typedef int boolean;
#    ifndef TRUE
#        define TRUE 1
#    endif
#    ifndef FALSE
#        define FALSE 0
#    endif
#endif

/* Life time of memory and objects, code of a data type, null indicator. */
typedef ub2 OCIDuration;
typedef ub2 OCITypeCode;
typedef sb2 OCIInd;

/* Property, mark status and copy flag of an object; element of a type description segment. */
typedef ub1 OCIObjectPropId;
typedef uword OCIObjectMarkStatus;
typedef ub1 OCIObjectCopyFlag;
typedef ub4 OCIPicklerTdsElement;

/* Handles, in the order of their type numbers. */
typedef struct OCIEnv OCIEnv;
typedef struct OCIError OCIError;
typedef struct OCISvcCtx OCISvcCtx;
typedef struct OCIStmt OCIStmt;
typedef struct OCIBind OCIBind;
typedef struct OCIDefine OCIDefine;
typedef struct OCIDescribe OCIDescribe;
typedef struct OCIServer OCIServer;
typedef struct OCISession OCISession;
typedef OCISession OCIAuthInfo;
typedef struct OCITrans OCITrans;
typedef struct OCIComplexObject OCIComplexObject;
typedef struct OCISecurity OCISecurity;
typedef struct OCISubscription OCISubscription;
typedef struct OCIDirPathCtx OCIDirPathCtx;
typedef struct OCIDirPathColArray OCIDirPathColArray;
typedef struct OCIDirPathStream OCIDirPathStream;
typedef struct OCIProcess OCIProcess;
typedef struct OCIDirPathFuncCtx OCIDirPathFuncCtx;
typedef struct OCICPool OCICPool;
typedef struct OCISPool OCISPool;
typedef struct OCIAdmin OCIAdmin;
typedef struct OCIEvent OCIEvent;

/* Descriptors, in the order of their type numbers. */
typedef struct OCILobLocator OCILobLocator;
typedef OCILobLocator OCIClobLocator;
typedef OCILobLocator OCIBlobLocator;
typedef OCILobLocator OCIBFileLocator;
typedef struct OCISnapshot OCISnapshot;
typedef struct OCIResult OCIResult;
typedef struct OCIParam OCIParam;
typedef struct OCIRowid OCIRowid;
typedef struct OCIComplexObjectComp OCIComplexObjectComp;
typedef struct OCIAQEnqOptions OCIAQEnqOptions;
typedef struct OCIAQDeqOptions OCIAQDeqOptions;
typedef struct OCIAQMsgProperties OCIAQMsgProperties;
typedef struct OCIAQAgent OCIAQAgent;
typedef struct OCIInterval OCIInterval;
typedef struct OCIAQNfyDescriptor OCIAQNfyDescriptor;
typedef struct OCIDateTime OCIDateTime;
typedef struct OCIUcb OCIUcb;
typedef struct OCIServerDNs OCIServerDNs;
typedef struct OCIAQListenOpts OCIAQListenOpts;
typedef struct OCIAQLisMsgProps OCIAQLisMsgProps;

/* Object values, collections, references and type descriptors. Varrays and nested tables are collections. */
typedef struct OCIString OCIString;
typedef struct OCIRaw OCIRaw;
typedef struct OCIRef OCIRef;
typedef struct OCIColl OCIColl;
typedef OCIColl OCIArray;
typedef OCIColl OCITable;
typedef struct OCIIter OCIIter;
typedef struct OCIType OCIType;
typedef struct OCITypeElem OCITypeElem;
typedef struct OCITypeMethod OCITypeMethod;
typedef struct OCITypeIter OCITypeIter;
typedef struct OCIAnyData OCIAnyData;
typedef struct OCIAnyDataSet OCIAnyDataSet;

/* Pickler contexts and images. */
typedef struct OCIPicklerTdsCtx OCIPicklerTdsCtx;
typedef struct OCIPicklerTds OCIPicklerTds;
typedef struct OCIPicklerImage OCIPicklerImage;
typedef struct OCIPicklerFdo OCIPicklerFdo;

/* XML values, their document trees, and the XML context. */
typedef struct OCIXMLType OCIXMLType;
typedef struct OCIDOMDocument OCIDOMDocument;
typedef struct xmlctx xmlctx;

/* Messages, files, external procedures and threads. */
typedef struct OCIMsg OCIMsg;
typedef struct OCIFileObject OCIFileObject;
typedef struct OCIExtProcContext OCIExtProcContext;
typedef struct OCIThreadMutex OCIThreadMutex;
typedef struct OCIThreadKey OCIThreadKey;
typedef struct OCIThreadId OCIThreadId;
typedef struct OCIThreadHandle OCIThreadHandle;

/* Security: wallets, personas, identities and the blocks of data they work on. */
typedef struct nzttWallet nzttWallet;
typedef struct nzttPersona nzttPersona;
typedef struct nzttPersonaDesc nzttPersonaDesc;
typedef struct nzttIdentity nzttIdentity;
typedef struct nzttIdentityDesc nzttIdentityDesc;
typedef struct nzttProtInfo nzttProtInfo;
typedef struct nzttBufferBlock nzttBufferBlock;

/* Cursor and logon data areas of OCI release 7; this library only hands their addresses on. */
struct cda_def;
typedef struct cda_def Cda_Def;
typedef struct cda_def Lda_Def;

/* Decimal number: a length byte, an exponent byte and up to 20 base-100 digits, in the server's own form. */
#define OCI_NUMBER_SIZE 22
typedef struct OCINumber {
    ub1 OCINumberPart[OCI_NUMBER_SIZE];
} OCINumber;

/* Time of day, 24 hours. */
typedef struct OCITime {
    ub1 OCITimeHH;
    ub1 OCITimeMI;
    ub1 OCITimeSS;
} OCITime;

/* Date and time of day; years before our era are negative. */
typedef struct OCIDate {
    sb2 OCIDateYYYY;
    ub1 OCIDateMM;
    ub1 OCIDateDD;
    OCITime OCIDateTime;
} OCIDate;

/* Global transaction identifier of the X/Open XA interface; formatID -1 is the null identifier. Lengths are
 * in bytes. Include the XA header, if any, before this one. */
#ifndef XA_H
typedef struct xid_t {
    long formatID;
    long gtrid_length;
    long bqual_length;
    char data[128];
} XID;
#endif

/* Extent of a type look-up. */
typedef enum OCITypeGetOpt { OCI_TYPEGET_HEADER = 0, OCI_TYPEGET_ALL = 1 } OCITypeGetOpt;

/* Visibility of a method. */
typedef enum OCITypeEncap { OCI_TYPEENCAP_PRIVATE = 0, OCI_TYPEENCAP_PUBLIC = 1 } OCITypeEncap;

/* Kinds and purity of a method, as bits. */
typedef enum OCITypeMethodFlag {
    OCI_TYPEMETHOD_INLINE = 0x0001,
    OCI_TYPEMETHOD_CONSTANT = 0x0002,
    OCI_TYPEMETHOD_VIRTUAL = 0x0004,
    OCI_TYPEMETHOD_CONSTRUCTOR = 0x0008,
    OCI_TYPEMETHOD_DESTRUCTOR = 0x0010,
    OCI_TYPEMETHOD_OPERATOR = 0x0020,
    OCI_TYPEMETHOD_SELFISH = 0x0040,
    OCI_TYPEMETHOD_MAP = 0x0080,
    OCI_TYPEMETHOD_ORDER = 0x0100,
    OCI_TYPEMETHOD_RNDS = 0x0200,
    OCI_TYPEMETHOD_WNDS = 0x0400,
    OCI_TYPEMETHOD_RNPS = 0x0800,
    OCI_TYPEMETHOD_WNPS = 0x1000,
    OCI_TYPEMETHOD_ABSTRACT = 0x2000,
    OCI_TYPEMETHOD_OVERRIDING = 0x4000,
    OCI_TYPEMETHOD_PIPELINED = 0x8000
} OCITypeMethodFlag;

/* Passing mode of a parameter. */
typedef enum OCITypeParamMode {
    OCI_TYPEPARAM_IN = 0,
    OCI_TYPEPARAM_OUT = 1,
    OCI_TYPEPARAM_INOUT = 2,
    OCI_TYPEPARAM_BYREF = 3,
    OCI_TYPEPARAM_OUTNCPY = 4,
    OCI_TYPEPARAM_INOUTNCPY = 5
} OCITypeParamMode;

/* Freshness wanted of a pinned object. */
typedef enum OCIPinOpt {
    OCI_PIN_DEFAULT = 1,
    OCI_PIN_ANY = 3,
    OCI_PIN_RECENT = 4,
    OCI_PIN_LATEST = 5
} OCIPinOpt;

/* Lock taken with a pin. */
typedef enum OCILockOpt { OCI_LOCK_NONE = 1, OCI_LOCK_X = 2, OCI_LOCK_X_NOWAIT = 3 } OCILockOpt;

/* Mark put on an object. */
typedef enum OCIMarkOpt { OCI_MARK_DEFAULT = 1, OCI_MARK_NONE = 1, OCI_MARK_UPDATE = 2 } OCIMarkOpt;

/* Objects refreshed with the cache. */
typedef enum OCIRefreshOpt { OCI_REFRESH_LOADED = 1 } OCIRefreshOpt;

/* Objects wanted from the cache. */
typedef enum OCIObjectProperty {
    OCI_OBJECTPROP_DIRTIED = 1,
    OCI_OBJECTPROP_LOADED = 2,
    OCI_OBJECTPROP_LOCKED = 3
} OCIObjectProperty;

/* Events of the cache that call an application back. */
typedef enum OCIObjectEvent {
    OCI_OBJECTEVENT_BEFORE_FLUSH = 1,
    OCI_OBJECTEVENT_AFTER_FLUSH = 2,
    OCI_OBJECTEVENT_BEFORE_REFRESH = 3,
    OCI_OBJECTEVENT_AFTER_REFRESH = 4,
    OCI_OBJECTEVENT_WHEN_MARK_UPDATED = 5,
    OCI_OBJECTEVENT_WHEN_MARK_DELETED = 6,
    OCI_OBJECTEVENT_WHEN_UNMARK = 7,
    OCI_OBJECTEVENT_WHEN_LOCK = 8
} OCIObjectEvent;

/* Kind of an instance. */
typedef enum OCIObjectLifetime {
    OCI_OBJECT_PERSISTENT = 1,
    OCI_OBJECT_TRANSIENT = 2,
    OCI_OBJECT_VALUE = 3
} OCIObjectLifetime;

/* One parameter of an XML context. */
typedef enum ocixmldbpname { XCTXINIT_OCIDUR = 1, XCTXINIT_ERRHDL = 2 } ocixmldbpname;

typedef struct ocixmldbparam {
    ocixmldbpname name_ocixmldbparam;
    void *value_ocixmldbparam;
} ocixmldbparam;

/* State of a cryptographic engine between the pieces of its input. */
typedef enum nzttces { NZTTCES_CONTINUE = 1, NZTTCES_END = 2, NZTTCES_RESET = 3 } nzttces;

/* Function of a cryptographic engine. */
typedef enum nzttcef {
    NZTTCEF_DETACHEDSIGNATURE = 1,
    NZTTCEF_SIGNATURE = 2,
    NZTTCEF_ENVELOPING = 3,
    NZTTCEF_PKENCRYPTION = 4,
    NZTTCEF_ENCRYPTION = 5,
    NZTTCEF_KEYEDHASH = 6,
    NZTTCEF_HASH = 7,
    NZTTCEF_RANDOM = 8
} nzttcef;

/* Type of an identity, cipher of a persona, format of protected data. */
typedef enum nzttIdentType { NZTTIDENTTYPE_X509v1 = 1, NZTTIDENTTYPE_SYMMETRIC = 2 } nzttIdentType;
typedef enum nzttCipherType {
    NZTTCIPHERTYPE_RSA = 1,
    NZTTCIPHERTYPE_DES = 2,
    NZTTCIPHERTYPE_RC4 = 3
} nzttCipherType;
typedef enum nztttdufmt { NZTTTDUFMT_PKCS7 = 1, NZTTTDUFMT_RSAPAD = 2, NZTTTDUFMT_ORACLEv1 = 3 } nztttdufmt;

/* Callbacks that give the buffers of dynamic binds and defines. */
typedef sb4 (*OCICallbackInBind)(void *ictxp, OCIBind *bindp, ub4 iter, ub4 index, void **bufpp, ub4 *alenp,
                                 ub1 *piecep, void **indpp);
typedef sb4 (*OCICallbackOutBind)(void *octxp, OCIBind *bindp, ub4 iter, ub4 index, void **bufpp,
                                  ub4 **alenpp, ub1 *piecep, void **indpp, ub2 **rcodepp);
typedef sb4 (*OCICallbackDefine)(void *octxp, OCIDefine *defnp, ub4 iter, void **bufpp, ub4 **alenpp,
                                 ub1 *piecep, void **indpp, ub2 **rcodepp);

/* Callbacks that take or give the pieces of large objects; lengths are in bytes. */
typedef sb4 (*OCICallbackLobRead)(void *ctxp, const void *bufp, ub4 len, ub1 piece);
typedef sb4 (*OCICallbackLobWrite)(void *ctxp, void *bufp, ub4 *lenp, ub1 *piecep);
typedef sb4 (*OCICallbackLobRead2)(void *ctxp, const void *bufp, oraub8 len, ub1 piece, void **changed_bufpp,
                                   oraub8 *changed_lenp);
typedef sb4 (*OCICallbackLobWrite2)(void *ctxp, void *bufp, oraub8 *lenp, ub1 *piecep, void **changed_bufpp,
                                    oraub8 *changed_lenp);
typedef sb4 (*OCICallbackLobArrayRead)(void *ctxp, ub4 array_iter, const void *bufp, oraub8 len, ub1 piece,
                                       void **changed_bufpp, oraub8 *changed_lenp);
typedef sb4 (*OCICallbackLobArrayWrite)(void *ctxp, ub4 array_iter, void *bufp, oraub8 *lenp, ub1 *piecep,
                                        void **changed_bufpp, oraub8 *changed_lenp);

/* Callbacks of queues and notifications. */
typedef sb4 (*OCICallbackAQEnq)(void *ctxp, void **payload, void **payload_ind);
typedef sb4 (*OCICallbackAQDeq)(void *ctxp, void **payload, void **payload_ind);
typedef ub4 (*OCISubscriptionNotify)(void *pCtx, OCISubscription *pSubscrHp, void *pPayload, ub4 iPayloadLen,
                                     void *pDescriptor, ub4 iMode);
typedef void (*OCIEventCallback)(void *evtctx, OCIEvent *eventhp);

/* Failover callback and its registration, the value of OCI_ATTR_FOCBK. */
typedef sb4 (*OCICallbackFailover)(void *svcctx, void *envctx, void *fo_ctx, ub4 fo_type, ub4 fo_event);

typedef struct OCIFocbkStruct {
    OCICallbackFailover callback_function;
    void *fo_ctx;
} OCIFocbkStruct;

/* Callbacks around OCI calls, and the one that registers them in each new environment. */
typedef sword (*OCIUserCallback)(void *ctxp, void *hndlp, ub4 type, ub4 fcode, ub4 when, sword returnCode,
                                 sb4 *errnop, va_list arglist);
typedef sword (*OCIEnvCallbackType)(OCIEnv *env, ub4 mode, size_t xtramem_sz, void *usrmemp, OCIUcb *ucbDesc);

/* Called with a thread's value of a key when the thread ends. */
typedef void (*OCIThreadKeyDestFunc)(void *);

OCI_END_DECLARATIONS

#endif
