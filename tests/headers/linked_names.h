/* One entry point of each header with prototypes. */
/* clang-format off */
#define LINKED_NAMES(USE) \
    USE(OCIAnyDataDestroy) USE(OCIMemoryAlloc) USE(OCIStringSize) USE(OCIDateSysDate) \
    USE(OCIDirPathFinish) USE(OCIEnvCreate) USE(OCILobRead2) USE(OCINlsGetInfo) USE(OCINumberAdd) \
    USE(OCIObjectNew) USE(OCITypeByName) USE(OCIPicklerTdsInit) USE(OCISessionPoolCreate) \
    USE(OCIAQEnq) USE(OCISecurityHash) USE(OCIServerAttach) USE(OCIStmtExecute) USE(OCIThreadCreate) \
    USE(ocom) USE(OCIXMLTypeNew)
/* clang-format on */
