/* Language support: locale data, character sets, and strings of wide or multibyte characters. */
#ifndef OCI_NLS_H
#define OCI_NLS_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Locale data and names of character sets. */
sword OCINlsGetInfo(void *envhp, OCIError *errhp, OraText *buf, size_t buflen, ub2 item);
sword OCINlsNumericInfoGet(void *envhp, OCIError *errhp, sb4 *val, ub2 item);
ub2 OCINlsCharSetNameToId(void *envhp, const OraText *name);
sword OCINlsCharSetIdToName(void *envhp, OraText *buf, size_t buflen, ub2 id);
sword OCINlsNameMap(void *envhp, OraText *buf, size_t buflen, const OraText *srcbuf, ub4 flag);
sword OCINlsEnvironmentVariableGet(void *valp, size_t size, ub2 item, ub2 charset, size_t *rsize);

/* Conversion between multibyte and wide characters. */
sword OCIMultiByteToWideChar(void *envhp, OCIWchar *dst, const OraText *src, size_t *rsize);
sword OCIMultiByteInSizeToWideChar(void *envhp, OCIWchar *dst, size_t dstsz, const OraText *src, size_t srcsz,
                                   size_t *rsize);
sword OCIWideCharToMultiByte(void *envhp, OraText *dst, const OCIWchar *src, size_t *rsize);
sword OCIWideCharInSizeToMultiByte(void *envhp, OraText *dst, size_t dstsz, const OCIWchar *src, size_t srcsz,
                                   size_t *rsize);

/* Conversion between character sets. */
sword OCICharSetToUnicode(void *envhp, ub2 *dst, size_t dstlen, const OraText *src, size_t srclen,
                          size_t *rsize);
sword OCIUnicodeToCharSet(void *envhp, OraText *dst, size_t dstlen, const ub2 *src, size_t srclen,
                          size_t *rsize);
sword OCINlsCharSetConvert(void *envhp, OCIError *errhp, ub2 dstid, void *dstp, size_t dstlen, ub2 srcid,
                           const void *srcp, size_t srclen, size_t *rsize);
int OCICharSetConversionIsReplacementUsed(void *envhp);

/* Properties and case of a wide character. */
int OCIWideCharIsAlnum(void *envhp, OCIWchar wc);
int OCIWideCharIsAlpha(void *envhp, OCIWchar wc);
int OCIWideCharIsCntrl(void *envhp, OCIWchar wc);
int OCIWideCharIsDigit(void *envhp, OCIWchar wc);
int OCIWideCharIsGraph(void *envhp, OCIWchar wc);
int OCIWideCharIsLower(void *envhp, OCIWchar wc);
int OCIWideCharIsPrint(void *envhp, OCIWchar wc);
int OCIWideCharIsPunct(void *envhp, OCIWchar wc);
int OCIWideCharIsSpace(void *envhp, OCIWchar wc);
int OCIWideCharIsUpper(void *envhp, OCIWchar wc);
int OCIWideCharIsXdigit(void *envhp, OCIWchar wc);
int OCIWideCharIsSingleByte(void *envhp, OCIWchar wc);
OCIWchar OCIWideCharToLower(void *envhp, OCIWchar wc);
OCIWchar OCIWideCharToUpper(void *envhp, OCIWchar wc);
size_t OCIWideCharDisplayLength(void *envhp, OCIWchar wc);
size_t OCIWideCharMultiByteLength(void *envhp, OCIWchar wc);

/* Strings of wide characters; lengths are in characters. */
int OCIWideCharStrcmp(void *envhp, const OCIWchar *wstr1, const OCIWchar *wstr2, int flag);
int OCIWideCharStrncmp(void *envhp, const OCIWchar *wstr1, size_t len1, const OCIWchar *wstr2, size_t len2,
                       int flag);
size_t OCIWideCharStrcat(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr);
size_t OCIWideCharStrncat(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr, size_t n);
size_t OCIWideCharStrcpy(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr);
size_t OCIWideCharStrncpy(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr, size_t n);
OCIWchar *OCIWideCharStrchr(void *envhp, const OCIWchar *wstr, OCIWchar wc);
OCIWchar *OCIWideCharStrrchr(void *envhp, const OCIWchar *wstr, OCIWchar wc);
size_t OCIWideCharStrlen(void *envhp, const OCIWchar *wstr);
size_t OCIWideCharStrCaseConversion(void *envhp, OCIWchar *wdststr, const OCIWchar *wsrcstr, ub4 flag);

/* Strings of multibyte characters; lengths are in bytes. */
int OCIMultiByteStrcmp(void *envhp, const OraText *str1, const OraText *str2, int flag);
int OCIMultiByteStrncmp(void *envhp, const OraText *str1, size_t len1, OraText *str2, size_t len2, int flag);
size_t OCIMultiByteStrcat(void *envhp, OraText *dststr, const OraText *srcstr);
size_t OCIMultiByteStrncat(void *envhp, OraText *dststr, const OraText *srcstr, size_t n);
size_t OCIMultiByteStrcpy(void *envhp, OraText *dststr, const OraText *srcstr);
size_t OCIMultiByteStrncpy(void *envhp, OraText *dststr, const OraText *srcstr, size_t n);
size_t OCIMultiByteStrlen(void *envhp, const OraText *str);
size_t OCIMultiByteStrnDisplayLength(void *envhp, const OraText *str1, size_t n);
size_t OCIMultiByteStrCaseConversion(void *envhp, OraText *dststr, const OraText *srcstr, ub4 flag);

OCI_END_DECLARATIONS

#endif
