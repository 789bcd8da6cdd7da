/* Cartridge services: external procedures, memory, context, parameters, files, text and messages. */
#ifndef OCI_CARTRIDGE_H
#define OCI_CARTRIDGE_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* External procedures. The published guide names these OCIExtProcGetEnv, OCIExtProcAllocCallMemory and
 * OCIExtProcRaiseExcpWithMsg. */
sword ociepgoe(OCIExtProcContext *ctx, OCIEnv **envh, OCISvcCtx **svch, OCIError **errh);
void *ociepacm(OCIExtProcContext *ctx, size_t amount);
size_t ociepmsg(OCIExtProcContext *ctx, int errnum, OraText *errmsg, size_t msglen);

/* Memory that lives as long as a duration. */
sword OCIMemoryAlloc(void *hdl, OCIError *err, void **mem, OCIDuration dur, ub4 size, ub4 flags);
sword OCIMemoryResize(void *hdl, OCIError *err, void **mem, ub4 newsize, ub4 flags);
sword OCIMemoryFree(void *hdl, OCIError *err, void *mem);
sword OCIMemorySetCurrentIDs(void *hdl, OCIError *err, ub4 curr_session_id, ub4 curr_trans_id,
                             ub4 curr_stmt_id);

/* Values kept under a key for a duration. */
sword OCIContextGenerateKey(void *hdl, OCIError *err, ub4 *key);
sword OCIContextSetValue(void *hdl, OCIError *err, OCIDuration duration, ub1 *key, ub1 keylen,
                         void *ctx_value);
sword OCIContextGetValue(void *hdl, OCIError *err, ub1 *key, ub1 keylen, void **ctx_value);
sword OCIContextClearValue(void *hdl, OCIError *err, ub1 *key, ub1 keylen);

/* Extraction of parameters from files and strings of key=value pairs. */
sword OCIExtractInit(void *hndl, OCIError *err);
sword OCIExtractTerm(void *hndl, OCIError *err);
sword OCIExtractReset(void *hndl, OCIError *err);
sword OCIExtractSetNumKeys(void *hndl, OCIError *err, uword numkeys);
sword OCIExtractSetKey(void *hndl, OCIError *err, const OraText *name, ub1 type, ub4 flag, const void *defval,
                       const sb4 *intrange, const OraText *const *strlist);
sword OCIExtractFromFile(void *hndl, OCIError *err, ub4 flag, OraText *filename);
sword OCIExtractFromStr(void *hndl, OCIError *err, ub4 flag, OraText *input);
sword OCIExtractToInt(void *hndl, OCIError *err, OraText *keyname, uword valno, sb4 *retval);
sword OCIExtractToBool(void *hndl, OCIError *err, OraText *keyname, uword valno, ub1 *retval);
sword OCIExtractToStr(void *hndl, OCIError *err, OraText *keyname, uword valno, OraText *retval,
                      uword buflen);
sword OCIExtractToOCINum(void *hndl, OCIError *err, OraText *keyname, uword valno, OCINumber *retval);
sword OCIExtractToList(void *hndl, OCIError *err, uword *numkeys);
sword OCIExtractFromList(void *hndl, OCIError *err, uword index, OraText **name, ub1 *type, uword *numvals,
                         void ***values);

/* Files of the operating system. */
sword OCIFileInit(void *hndl, OCIError *err);
sword OCIFileTerm(void *hndl, OCIError *err);
sword OCIFileOpen(void *hndl, OCIError *err, OCIFileObject **filep, OraText *filename, OraText *path,
                  ub4 mode, ub4 create, ub4 type);
sword OCIFileClose(void *hndl, OCIError *err, OCIFileObject *filep);
sword OCIFileRead(void *hndl, OCIError *err, OCIFileObject *filep, void *bufp, ub4 bufl, ub4 *bytesread);
sword OCIFileWrite(void *hndl, OCIError *err, OCIFileObject *filep, void *bufp, ub4 buflen,
                   ub4 *byteswritten);
sword OCIFileSeek(void *hndl, OCIError *err, OCIFileObject *filep, uword origin, ubig_ora offset, sb1 dir);
sword OCIFileFlush(void *hndl, OCIError *err, OCIFileObject *filep);
sword OCIFileExists(void *hndl, OCIError *err, OraText *filename, OraText *path, ub1 *flag);
sword OCIFileGetLength(void *hndl, OCIError *err, OraText *filename, OraText *path, ubig_ora *lenp);

/* Formatted output into a buffer. The argument list holds pairs of a type tag and a value and ends with
 * the end tag. */
sword OCIFormatInit(void *hndl, OCIError *err);
sword OCIFormatTerm(void *hndl, OCIError *err);
sword OCIFormatString(void *hndl, OCIError *err, OraText *buffer, sbig_ora bufferLength,
                      sbig_ora *returnLength, const OraText *formatString, ...);

/* Type tags of the arguments. */
sword OCIFormatTUb1(void);
sword OCIFormatTUb2(void);
sword OCIFormatTUb4(void);
sword OCIFormatTUword(void);
sword OCIFormatTUbig_ora(void);
sword OCIFormatTSb1(void);
sword OCIFormatTSb2(void);
sword OCIFormatTSb4(void);
sword OCIFormatTSword(void);
sword OCIFormatTSbig_ora(void);
sword OCIFormatTEb1(void);
sword OCIFormatTEb2(void);
sword OCIFormatTEb4(void);
sword OCIFormatTEword(void);
sword OCIFormatTChar(void);
sword OCIFormatTText(void);
sword OCIFormatTDouble(void);
sword OCIFormatTDvoid(void);
sword OCIFormatTEnd(void);

/* Shorthands for a tag and its value, e.g. OCIFormatSb4(count), and for the tag that ends the list. */
#define OCIFormatUb1(value) OCIFormatTUb1(), (value)
#define OCIFormatUb2(value) OCIFormatTUb2(), (value)
#define OCIFormatUb4(value) OCIFormatTUb4(), (value)
#define OCIFormatUword(value) OCIFormatTUword(), (value)
#define OCIFormatUbig_ora(value) OCIFormatTUbig_ora(), (value)
#define OCIFormatSb1(value) OCIFormatTSb1(), (value)
#define OCIFormatSb2(value) OCIFormatTSb2(), (value)
#define OCIFormatSb4(value) OCIFormatTSb4(), (value)
#define OCIFormatSword(value) OCIFormatTSword(), (value)
#define OCIFormatSbig_ora(value) OCIFormatTSbig_ora(), (value)
#define OCIFormatEb1(value) OCIFormatTEb1(), (value)
#define OCIFormatEb2(value) OCIFormatTEb2(), (value)
#define OCIFormatEb4(value) OCIFormatTEb4(), (value)
#define OCIFormatEword(value) OCIFormatTEword(), (value)
#define OCIFormatChar(value) OCIFormatTChar(), (value)
#define OCIFormatText(value) OCIFormatTText(), (value)
#define OCIFormatDouble(value) OCIFormatTDouble(), (value)
#define OCIFormatDvoid(value) OCIFormatTDvoid(), (value)
#define OCIFormatEnd() OCIFormatTEnd()

/* Messages by number from the message files of a product. */
sword OCIMessageOpen(void *envhp, OCIError *errhp, OCIMsg **msghp, const OraText *product,
                     const OraText *facility, OCIDuration dur);
OraText *OCIMessageGet(OCIMsg *msgh, ub4 msgno, OraText *msgbuf, size_t buflen);
sword OCIMessageClose(void *envhp, OCIError *errhp, OCIMsg *msghp);

OCI_END_DECLARATIONS

#endif
