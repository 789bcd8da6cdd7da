// The entry points that this library does not serve. Names only: their types come from the prototypes.
#pragma once

// clang-format off

// Calls that return a status: OCI_ERROR.
#define UNSERVED_CALLS(X) \
    X(OCIAQDeq) X(OCIAQDeqArray) X(OCIAQEnq) X(OCIAQEnqArray) X(OCIAQListen) X(OCIAQListen2) \
    X(OCIAnyDataAccess) X(OCIAnyDataAttrGet) X(OCIAnyDataAttrSet) X(OCIAnyDataBeginCreate) \
    X(OCIAnyDataCollAddElem) X(OCIAnyDataCollGetElem) X(OCIAnyDataConvert) X(OCIAnyDataDestroy) \
    X(OCIAnyDataEndCreate) X(OCIAnyDataGetCurrAttrNum) X(OCIAnyDataGetType) X(OCIAnyDataIsNull) \
    X(OCIAnyDataSetAddInstance) X(OCIAnyDataSetBeginCreate) X(OCIAnyDataSetDestroy) \
    X(OCIAnyDataSetEndCreate) X(OCIAnyDataSetGetCount) X(OCIAnyDataSetGetInstance) X(OCIAnyDataSetGetType) \
    X(OCIAppCtxClearAll) X(OCIAppCtxSet) X(OCIBindObject) X(OCICacheFlush) X(OCICacheFlushRefresh) \
    X(OCICacheFree) X(OCICacheGetObjects) X(OCICacheRefresh) X(OCICacheRegister) X(OCICacheUnmark) \
    X(OCICacheUnpin) X(OCICollAppend) X(OCICollAssign) X(OCICollAssignElem) X(OCICollGetElem) \
    X(OCICollGetElemArray) X(OCICollIsLocator) X(OCICollSize) X(OCICollTrim) \
    X(OCIDBShutdown) X(OCIDBStartup) \
    X(OCIDOMFree) X(OCIDefineObject) X(OCIDirPathAbort) X(OCIDirPathColArrayEntryGet) \
    X(OCIDirPathColArrayEntrySet) X(OCIDirPathColArrayReset) X(OCIDirPathColArrayRowGet) \
    X(OCIDirPathColArrayToStream) X(OCIDirPathDataSave) X(OCIDirPathFinish) X(OCIDirPathFlushRow) \
    X(OCIDirPathLoadStream) X(OCIDirPathPrepare) X(OCIDirPathStreamReset) X(OCIDurationBegin) \
    X(OCIDurationEnd) X(OCIDurationGetParent) X(OCIExtractFromFile) X(OCIExtractFromList) \
    X(OCIExtractFromStr) X(OCIExtractInit) X(OCIExtractReset) X(OCIExtractSetKey) X(OCIExtractSetNumKeys) \
    X(OCIExtractTerm) X(OCIExtractToBool) X(OCIExtractToInt) X(OCIExtractToList) X(OCIExtractToOCINum) \
    X(OCIExtractToStr) X(OCIFEnvCreate) X(OCIFileClose) X(OCIFileExists) X(OCIFileFlush) \
    X(OCIFileGetLength) X(OCIFileInit) X(OCIFileOpen) X(OCIFileRead) X(OCIFileSeek) X(OCIFileTerm) \
    X(OCIFileWrite) X(OCIFormatInit) X(OCIFormatString) X(OCIFormatTChar) X(OCIFormatTDouble) \
    X(OCIFormatTDvoid) X(OCIFormatTEb1) X(OCIFormatTEb2) X(OCIFormatTEb4) X(OCIFormatTEnd) \
    X(OCIFormatTEword) X(OCIFormatTSb1) X(OCIFormatTSb2) X(OCIFormatTSb4) X(OCIFormatTSbig_ora) \
    X(OCIFormatTSword) X(OCIFormatTText) X(OCIFormatTUb1) X(OCIFormatTUb2) X(OCIFormatTUb4) \
    X(OCIFormatTUbig_ora) X(OCIFormatTUword) X(OCIFormatTerm) X(OCIInitEventHandle) X(OCIIterCreate) \
    X(OCIIterDelete) X(OCIIterGetCurrent) X(OCIIterInit) X(OCIIterNext) X(OCIIterPrev) X(OCIKerbAttrSet) \
    X(OCILdaToSvcCtx) X(OCILobArrayRead) X(OCILobArrayWrite) \
    X(OCILobFileClose) X(OCILobFileCloseAll) X(OCILobFileExists) \
    X(OCILobFileGetName) X(OCILobFileIsOpen) X(OCILobFileOpen) X(OCILobFileSetName) \
    X(OCILobLoadFromFile) X(OCILobLoadFromFile2) \
    X(OCIMemorySetCurrentIDs) X(OCIMessageClose) X(OCIMessageOpen) X(OCIObjectAlwaysLatest) \
    X(OCIObjectArrayPin) X(OCIObjectCopy) X(OCIObjectExists) X(OCIObjectFlush) X(OCIObjectFlushRefresh) \
    X(OCIObjectGetAttr) X(OCIObjectGetInd) X(OCIObjectGetNewOID) X(OCIObjectGetObjectRef) \
    X(OCIObjectGetPrimaryKeyTypeRef) X(OCIObjectGetProperty) X(OCIObjectGetTypeRef) X(OCIObjectIsDirtied) \
    X(OCIObjectIsDirty) X(OCIObjectIsLoaded) X(OCIObjectIsLocked) X(OCIObjectLock) X(OCIObjectLockNoWait) \
    X(OCIObjectMakeObjectRef) X(OCIObjectMarkDelete) X(OCIObjectMarkDeleteByRef) X(OCIObjectMarkUpdate) \
    X(OCIObjectNotAlwaysLatest) X(OCIObjectPin) X(OCIObjectPinCountReset) X(OCIObjectPinTable) \
    X(OCIObjectRefresh) X(OCIObjectSetAttr) X(OCIObjectSetData) X(OCIObjectUnmark) X(OCIObjectUnmarkByRef) \
    X(OCIObjectUnpin) X(OCIPStreamClose) X(OCIPStreamFromXMLType) X(OCIPStreamRead) X(OCIParamSet) \
    X(OCIPicklerFdoFree) X(OCIPicklerFdoInit) X(OCIPicklerImageAddNullScalar) X(OCIPicklerImageAddScalar) \
    X(OCIPicklerImageCollAddScalar) X(OCIPicklerImageCollBegin) X(OCIPicklerImageCollBeginScan) \
    X(OCIPicklerImageCollEnd) X(OCIPicklerImageCollGetScalar) X(OCIPicklerImageCollGetScalarSize) \
    X(OCIPicklerImageFree) X(OCIPicklerImageGenerate) X(OCIPicklerImageGetScalar) \
    X(OCIPicklerImageGetScalarSize) X(OCIPicklerImageInit) X(OCIPicklerTdsAddAttr) \
    X(OCIPicklerTdsCreateElement) X(OCIPicklerTdsCreateElementChar) X(OCIPicklerTdsCreateElementNumber) \
    X(OCIPicklerTdsCreateElementRaw) X(OCIPicklerTdsCreateElementVarchar) X(OCIPicklerTdsCtxFree) \
    X(OCIPicklerTdsCtxInit) X(OCIPicklerTdsFree) X(OCIPicklerTdsGenerate) X(OCIPicklerTdsGetAttr) \
    X(OCIPicklerTdsInit) X(OCIRefAssign) X(OCIRefFromHex) X(OCIRefToHex) X(OCIResultSetToStmt) \
    X(OCISecurityAbortIdentity) X(OCISecurityClosePersona) X(OCISecurityCloseWallet) \
    X(OCISecurityCreateIdentity) X(OCISecurityCreatePersona) X(OCISecurityCreateWallet) \
    X(OCISecurityDeEnvelope) X(OCISecurityDecrypt) X(OCISecurityDestroyWallet) X(OCISecurityEncrypt) \
    X(OCISecurityEncryptExpansion) X(OCISecurityEnvelope) X(OCISecurityFreeIdentity) \
    X(OCISecurityGetIdentity) X(OCISecurityGetProtection) X(OCISecurityHash) X(OCISecurityHashExpansion) \
    X(OCISecurityInitBlock) X(OCISecurityInitialize) X(OCISecurityKeyedHash) \
    X(OCISecurityKeyedHashExpansion) X(OCISecurityOpenPersona) X(OCISecurityOpenWallet) \
    X(OCISecurityPKDecrypt) X(OCISecurityPKEncryptExpansion) X(OCISecurityPurgeBlock) \
    X(OCISecurityRandomBytes) X(OCISecurityRandomNumber) X(OCISecurityRemoveIdentity) \
    X(OCISecurityRemovePersona) X(OCISecurityReuseBlock) X(OCISecuritySeedRandom) X(OCISecuritySetBlock) \
    X(OCISecuritySetProtection) X(OCISecuritySign) X(OCISecuritySignDetExpansion) \
    X(OCISecuritySignDetached) X(OCISecuritySignExpansion) X(OCISecurityStorePersona) \
    X(OCISecurityStoreTrustedIdentity) X(OCISecurityTerminate) X(OCISecurityValidate) X(OCISecurityVerify) \
    X(OCISecurityVerifyDetached) X(OCISecurity_PKEncrypt) X(OCISharedLibInit) X(OCIStmtBindByName) \
    X(OCIStmtBindByPos) X(OCISubscriptionDisable) X(OCISubscriptionEnable) X(OCISubscriptionPost) \
    X(OCISubscriptionRegister) X(OCISubscriptionUnRegister) X(OCISvcCtxToLda) X(OCITableDelete) \
    X(OCITableExists) X(OCITableFirst) X(OCITableLast) X(OCITableNext) X(OCITablePrev) X(OCITableSize) \
    X(OCITransDetach) X(OCITransForget) X(OCITransMultiPrepare) X(OCITransPrepare) X(OCITypeAddAttr) \
    X(OCITypeArrayByName) X(OCITypeArrayByRef) X(OCITypeAttrByName) X(OCITypeAttrNext) \
    X(OCITypeBeginCreate) X(OCITypeByName) X(OCITypeByRef) X(OCITypeCollElem) X(OCITypeCollExtTypeCode) \
    X(OCITypeCollSize) X(OCITypeElemParameterizedType) X(OCITypeElemType) X(OCITypeEndCreate) \
    X(OCITypeIterFree) X(OCITypeIterNew) X(OCITypeIterSet) X(OCITypeMethodByName) X(OCITypeMethodMap) \
    X(OCITypeMethodNext) X(OCITypeMethodOrder) X(OCITypeParamByName) X(OCITypeParamByPos) \
    X(OCITypeParamPos) X(OCITypeResult) X(OCITypeSetBuiltin) X(OCITypeSetCollection) X(OCITypeVTInit) \
    X(OCITypeVTInsert) X(OCITypeVTSelect) X(OCIUserCallbackGet) X(OCIUserCallbackRegister) \
    X(OCIXMLTypeCreateFromSrc) X(OCIXMLTypeExists) X(OCIXMLTypeExtract) X(OCIXMLTypeGetDOM) \
    X(OCIXMLTypeGetFromDOM) X(OCIXMLTypeGetSchema) X(OCIXMLTypeIsSchemaBased) X(OCIXMLTypeNew) \
    X(OCIXMLTypeTransform) X(OCIXMLTypeValidate) X(obindps) X(obndra) X(obndrn) X(obndrv) X(obreak) X(ocan) \
    X(ociepgoe) X(oclose) X(ocof) X(ocom) X(ocon) X(odefin) X(odefinps) X(odescr) X(odessp) X(oerhms) \
    X(oermsg) X(oexec) X(oexfet) X(oexn) X(ofen) X(ofetch) X(oflng) X(ogetpi) X(ognfd) X(olog) X(ologof) \
    X(onbclr) X(onbset) X(onbtst) X(oopen) X(oopt) X(oparse) X(opinit) X(orol) X(osetpi)

// Calls that return a value or nothing: zero, false or null.
#define UNSERVED_VALUES(X) \
    X(OCICollMax) X(OCIMessageGet) X(OCIRefClear) X(OCIRefHexSize) X(OCIRefIsEqual) X(OCIRefIsNull) \
    X(OCITypeAttrs) X(OCITypeCollTypeCode) X(OCITypeElemCharSetForm) X(OCITypeElemCharSetID) \
    X(OCITypeElemDefaultValue) X(OCITypeElemExtTypeCode) X(OCITypeElemFlags) X(OCITypeElemLength) \
    X(OCITypeElemName) X(OCITypeElemNumPrec) X(OCITypeElemNumScale) X(OCITypeElemParamMode) \
    X(OCITypeElemTypeCode) X(OCITypeMethodEncap) X(OCITypeMethodFlags) X(OCITypeMethodName) \
    X(OCITypeMethodOverload) X(OCITypeMethodParams) X(OCITypeMethods) X(OCITypeName) X(OCITypeSchema) \
    X(OCITypeTypeCode) X(OCITypeVersion) X(OCIXmlDbFreeXmlCtx) X(OCIXmlDbInitXmlCtx) X(ociepacm) \
    X(ociepmsg) X(sqlld2) X(sqllda)
// clang-format on
