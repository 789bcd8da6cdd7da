/* Large objects and external files. Offsets count from 1; the calls ending in 2 take 64-bit lengths. */
#ifndef OCI_LOB_H
#define OCI_LOB_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Locators: copies, comparison and character set. */
sword OCILobAssign(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *src_locp, OCILobLocator **dst_locpp);
sword OCILobLocatorAssign(OCISvcCtx *svchp, OCIError *errhp, const OCILobLocator *src_locp,
                          OCILobLocator **dst_locpp);
sword OCILobLocatorIsInit(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, int *is_initialized);
sword OCILobIsEqual(OCIEnv *envhp, const OCILobLocator *x, const OCILobLocator *y, int *is_equal);
sword OCILobCharSetForm(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, ub1 *csfrm);
sword OCILobCharSetId(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *locp, ub2 *csid);

/* Opening and closing, length, chunk size and storage limit. */
sword OCILobOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub1 mode);
sword OCILobClose(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp);
sword OCILobIsOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, int *flag);
sword OCILobGetLength(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *lenp);
sword OCILobGetLength2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *lenp);
sword OCILobGetChunkSize(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *chunksizep);
sword OCILobGetStorageLimit(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp, oraub8 *limitp);

/* Reading and writing, in one piece, by streaming or through a callback. */
sword OCILobRead(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, void *bufp,
                 ub4 bufl, void *ctxp, OCICallbackLobRead cbfp, ub2 csid, ub1 csfrm);
sword OCILobRead2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp,
                  oraub8 *char_amtp, oraub8 offset, void *bufp, oraub8 bufl, ub1 piece, void *ctxp,
                  OCICallbackLobRead2 cbfp, ub2 csid, ub1 csfrm);
sword OCILobArrayRead(OCISvcCtx *svchp, OCIError *errhp, ub4 *array_iter, OCILobLocator **lobp_arr,
                      oraub8 *byte_amt_arr, oraub8 *char_amt_arr, oraub8 *offset_arr, void **bufp_arr,
                      oraub8 *bufl_arr, ub1 piece, void *ctxp, OCICallbackLobArrayRead cbfp, ub2 csid,
                      ub1 csfrm);
sword OCILobWrite(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amtp, ub4 offset, void *bufp,
                  ub4 buflen, ub1 piece, void *ctxp, OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm);
sword OCILobWrite2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *byte_amtp,
                   oraub8 *char_amtp, oraub8 offset, void *bufp, oraub8 buflen, ub1 piece, void *ctxp,
                   OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm);
sword OCILobArrayWrite(OCISvcCtx *svchp, OCIError *errhp, ub4 *array_iter, OCILobLocator **lobp_arr,
                       oraub8 *byte_amt_arr, oraub8 *char_amt_arr, oraub8 *offset_arr, void **bufp_arr,
                       oraub8 *bufl_arr, ub1 piece, void *ctxp, OCICallbackLobArrayWrite cbfp, ub2 csid,
                       ub1 csfrm);
sword OCILobWriteAppend(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp, ub4 *amtp, void *bufp,
                        ub4 bufl, ub1 piece, void *ctxp, OCICallbackLobWrite cbfp, ub2 csid, ub1 csfrm);
sword OCILobWriteAppend2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *lobp, oraub8 *byte_amtp,
                         oraub8 *char_amtp, void *bufp, oraub8 bufl, ub1 piece, void *ctxp,
                         OCICallbackLobWrite2 cbfp, ub2 csid, ub1 csfrm);

/* Changes made on the server. */
sword OCILobAppend(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp, OCILobLocator *src_locp);
sword OCILobCopy(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp, OCILobLocator *src_locp,
                 ub4 amount, ub4 dst_offset, ub4 src_offset);
sword OCILobCopy2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp, OCILobLocator *src_locp,
                  oraub8 amount, oraub8 dst_offset, oraub8 src_offset);
sword OCILobErase(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 *amount, ub4 offset);
sword OCILobErase2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 *amount, oraub8 offset);
sword OCILobTrim(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 newlen);
sword OCILobTrim2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, oraub8 newlen);
sword OCILobLoadFromFile(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp, OCILobLocator *src_filep,
                         ub4 amount, ub4 dst_offset, ub4 src_offset);
sword OCILobLoadFromFile2(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *dst_locp,
                          OCILobLocator *src_filep, oraub8 amount, oraub8 dst_offset, oraub8 src_offset);

/* Buffering in the client. */
sword OCILobEnableBuffering(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp);
sword OCILobDisableBuffering(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp);
sword OCILobFlushBuffer(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub4 flag);

/* Temporary large objects. */
sword OCILobCreateTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp, ub2 csid, ub1 csfrm,
                            ub1 lobtype, int cache, OCIDuration duration);
sword OCILobFreeTemporary(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *locp);
sword OCILobIsTemporary(OCIEnv *envhp, OCIError *errhp, OCILobLocator *locp, int *is_temporary);

/* External files (BFILE), named by a directory alias and a file name. */
sword OCILobFileOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *filep, ub1 mode);
sword OCILobFileClose(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *filep);
sword OCILobFileCloseAll(OCISvcCtx *svchp, OCIError *errhp);
sword OCILobFileIsOpen(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *filep, int *flag);
sword OCILobFileExists(OCISvcCtx *svchp, OCIError *errhp, OCILobLocator *filep, int *flag);
sword OCILobFileGetName(OCIEnv *envhp, OCIError *errhp, const OCILobLocator *filep, OraText *dir_alias,
                        ub2 *d_length, OraText *filename, ub2 *f_length);
sword OCILobFileSetName(OCIEnv *envhp, OCIError *errhp, OCILobLocator **filepp, const OraText *dir_alias,
                        ub2 d_length, const OraText *filename, ub2 f_length);

OCI_END_DECLARATIONS

#endif
