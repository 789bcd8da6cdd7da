/* Functions with the names of entry points, for the C++ test to link with. Nothing calls them; the OCI
 * headers are left out so that only the names matter. */
#define DEFINE(name)                                                                                         \
    int name(void);                                                                                          \
    int name(void)                                                                                           \
    {                                                                                                        \
        return 0;                                                                                            \
    }

DEFINE(OCIAnyDataDestroy)
DEFINE(OCIMemoryAlloc)
DEFINE(OCIStringSize)
DEFINE(OCIDateSysDate)
DEFINE(OCIDirPathFinish)
DEFINE(OCIEnvCreate)
DEFINE(OCILobRead2)
DEFINE(OCINlsGetInfo)
DEFINE(OCINumberAdd)
DEFINE(OCIObjectNew)
DEFINE(OCITypeByName)
DEFINE(OCIPicklerTdsInit)
DEFINE(OCISessionPoolCreate)
DEFINE(OCIAQEnq)
DEFINE(OCISecurityHash)
DEFINE(OCIServerAttach)
DEFINE(OCIStmtExecute)
DEFINE(OCIThreadCreate)
DEFINE(ocom)
DEFINE(OCIXMLTypeNew)
