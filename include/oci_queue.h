/* Message queues and subscriptions to notifications. */
#ifndef OCI_QUEUE_H
#define OCI_QUEUE_H

#include "oci_types.h"

OCI_BEGIN_DECLARATIONS

/* Enqueue, dequeue and listen, for one message or many. */
sword OCIAQEnq(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQEnqOptions *enqopt,
               OCIAQMsgProperties *msgprop, OCIType *payload_tdo, void **payload, void **payload_ind,
               OCIRaw **msgid, ub4 flags);
sword OCIAQEnqArray(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQEnqOptions *enqopt,
                    ub4 *iters, OCIAQMsgProperties **msgprop, OCIType *payload_tdo, void **payload,
                    void **payload_ind, OCIRaw **msgid, void *ctxp, OCICallbackAQEnq enqcbfp, ub4 flags);
sword OCIAQDeq(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQDeqOptions *deqopt,
               OCIAQMsgProperties *msgprop, OCIType *payload_tdo, void **payload, void **payload_ind,
               OCIRaw **msgid, ub4 flags);
sword OCIAQDeqArray(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQDeqOptions *deqopt,
                    ub4 *iters, OCIAQMsgProperties **msgprop, OCIType *payload_tdo, void **payload,
                    void **payload_ind, OCIRaw **msgid, void *ctxp, OCICallbackAQDeq deqcbfp, ub4 flags);
sword OCIAQListen(OCISvcCtx *svchp, OCIError *errhp, OCIAQAgent **agent_list, ub4 num_agents, sb4 wait,
                  OCIAQAgent **agent, ub4 flags);
sword OCIAQListen2(OCISvcCtx *svchp, OCIError *errhp, OCIAQAgent **agent_list, ub4 num_agents,
                   OCIAQListenOpts *lopts, OCIAQAgent **agent, OCIAQLisMsgProps *lmops, ub4 flags);

/* Subscriptions. */
sword OCISubscriptionRegister(OCISvcCtx *svchp, OCISubscription **subscrhpp, ub2 count, OCIError *errhp,
                              ub4 mode);
sword OCISubscriptionUnRegister(OCISvcCtx *svchp, OCISubscription *subscrhp, OCIError *errhp, ub4 mode);
sword OCISubscriptionPost(OCISvcCtx *svchp, OCISubscription **subscrhpp, ub2 count, OCIError *errhp,
                          ub4 mode);
sword OCISubscriptionEnable(OCISubscription *subscrhp, OCIError *errhp, ub4 mode);
sword OCISubscriptionDisable(OCISubscription *subscrhp, OCIError *errhp, ub4 mode);

OCI_END_DECLARATIONS

#endif
