/* XML values, their documents and the XML context. */
#ifndef OCI_XML_H
#define OCI_XML_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* XML context on a database connection. */
xmlctx *OCIXmlDbInitXmlCtx(OCIEnv *envhp, OCISvcCtx *svchp, OCIError *errhp, ocixmldbparam *params,
                           ub4 num_params);
void OCIXmlDbFreeXmlCtx(xmlctx *xctx);

/* XML values. */
sword OCIXMLTypeNew(OCISvcCtx *svchp, OCIError *errhp, OCIDuration dur, OraText *elname, ub4 elname_Len,
                    OraText *schemaURL, ub4 schemaURL_Len, OCIXMLType **retInstance);
sword OCIXMLTypeCreateFromSrc(OCISvcCtx *svchp, OCIError *errhp, OCIDuration dur, ub1 src_type, void *src_ptr,
                              sb4 ind, OCIXMLType **retInstance);
sword OCIXMLTypeExists(OCIError *errhp, OCIXMLType *doc, OraText *xpathexpr, ub4 xpathexpr_Len,
                       OraText *nsmap, ub4 nsmap_Len, int *retval);
sword OCIXMLTypeExtract(OCIError *errhp, OCIXMLType *doc, OCIDuration dur, OraText *xpathexpr,
                        ub4 xpathexpr_Len, OraText *nsmap, ub4 nsmap_Len, OCIXMLType **retDoc);
sword OCIXMLTypeTransform(OCIError *errhp, OCIDuration dur, OCIXMLType *doc, OCIXMLType *xsldoc,
                          OCIXMLType **retDoc);
sword OCIXMLTypeValidate(OCIError *errhp, OCIXMLType *doc, OraText *schemaURL, ub4 schemaURL_Len,
                         int *retval);
sword OCIXMLTypeIsSchemaBased(OCIError *errhp, OCIXMLType *doc, int *retval);
sword OCIXMLTypeGetSchema(OCIError *errhp, OCIXMLType *doc, OCIXMLType **schemadoc, OraText **schemaURL,
                          ub4 *schemaURL_Len, OraText **rootelem, ub4 *rootelem_Len);

/* Document trees of XML values. */
sword OCIXMLTypeGetDOM(OCIError *errhp, OCIXMLType *doc, OCIDuration dur, OCIDOMDocument **retDom);
sword OCIXMLTypeGetFromDOM(OCIError *errhp, OCIDOMDocument *domdoc, OCIXMLType **retXMLType);
sword OCIDOMFree(OCIError *errhp, OCIDOMDocument *domdoc);

/* Reading an XML value as a stream. */
sword OCIPStreamFromXMLType(OCIError *errhp, void *pstream, OCIXMLType *xmltype, ub4 mode);
sword OCIPStreamRead(OCIError *errhp, void *pstream, ub1 *buf, oraub8 *len, ub4 mode);
sword OCIPStreamClose(OCIError *errhp, void *pstream);

OCI_END_DECLARATIONS

#endif
