/*
 * Calls that are given arrays of handles: queues, subscriptions, global transactions, object pins.
 */
#include "written.h"

namespace
{

sword array_failure(const omx_array &array, omx_handle *errh)
{
    return array.state == OCI_ERROR ? omx_no_memory(errh) : array.state;
}

/* The agent that has a message: one of those asked for, or one that the backend has made. */
OCIAQAgent *agent_of(omx_handle *svch, ub1 backend, OCIAQAgent **agents, const omx_array &own, ub4 count,
                     OCIAQAgent *chosen)
{
    for (ub4 i = 0; agents && i < count; i++)
        if (own.own<OCIAQAgent>()[i] == chosen)
            return agents[i];
    if (omx_handle *known = omx_find_child(svch, OCI_DTYPE_AQAGENT, backend, chosen))
        return (OCIAQAgent *)(void *)known;
    return (OCIAQAgent *)(void *)omx_wrap(OCI_DTYPE_AQAGENT, svch->env, backend, chosen, svch);
}

/* Listens for messages; `call` is given the backend's array and its variable for the chosen agent. */
template <class Call>
sword listen(omx_handle *svch, omx_handle *errh, OCIAQAgent **agent_list, ub4 num_agents, OCIAQAgent **agent,
             Call call)
{
    const ub1 backend = svch->run;
    const omx_array own((void *const *)agent_list, num_agents, OCI_DTYPE_AQAGENT, backend);
    if (own.state != OCI_SUCCESS)
        return array_failure(own, errh);
    omx_handle *given = agent ? omx_find(*agent, OCI_DTYPE_AQAGENT) : nullptr;
    OCIAQAgent *chosen = omx_own<OCIAQAgent>(given, backend);
    const sword rc = omx_done(errh, backend, call(backend, own.own<OCIAQAgent>(), agent ? &chosen : nullptr));
    if (omx_succeeded(rc) && agent && chosen && chosen != omx_own<OCIAQAgent>(given, backend))
        *agent = agent_of(svch, backend, agent_list, own, num_agents, chosen);
    return rc;
}

/* Enqueues or dequeues many messages, whose properties are handles. */
template <class Call>
sword exchange(OCISvcCtx *svchp, OCIError *errhp, const void *options, ub1 options_family, const ub4 *iters,
               OCIAQMsgProperties **msgprop, Call call)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    omx_handle *opt = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh) || !omx_optional(options, options_family, &opt))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    const ub4 count = iters ? *iters : 0;
    const omx_array own((void *const *)msgprop, count, OCI_DTYPE_AQMSG_PROPERTIES, backend);
    if (own.state != OCI_SUCCESS)
        return array_failure(own, errh);
    const sword rc = omx_done(errh, backend, call(svch, errh, backend, opt, own.own<OCIAQMsgProperties>()));
    if (omx_succeeded(rc))
        omx_follow_all((void *const *)msgprop, count, backend);
    return rc;
}

/* Registers or posts subscriptions. */
template <class Call>
sword subscribe(OCISvcCtx *svchp, OCISubscription **subscrhpp, ub2 count, OCIError *errhp, Call call)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    const omx_array own((void *const *)subscrhpp, count, OCI_HTYPE_SUBSCRIPTION, backend);
    if (own.state != OCI_SUCCESS)
        return array_failure(own, errh);
    const sword rc = omx_done(errh, backend, call(svch, errh, backend, own.own<OCISubscription>()));
    if (omx_succeeded(rc))
        omx_follow_all((void *const *)subscrhpp, count, backend);
    return rc;
}

} // namespace

namespace written
{

sword OCIAQListen(OCISvcCtx *svchp, OCIError *errhp, OCIAQAgent **agent_list, ub4 num_agents, sb4 wait,
                  OCIAQAgent **agent, ub4 flags)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh))
        return OCI_INVALID_HANDLE;
    return listen(svch, errh, agent_list, num_agents, agent,
                  [&](ub1 backend, OCIAQAgent **own, OCIAQAgent **chosen) -> sword {
                      OMX_NEED(OCIAQListen, backend, errh);
                      return omx_calls.OCIAQListen[backend](omx_own<OCISvcCtx>(svch, backend),
                                                            omx_own<OCIError>(errh, backend), own, num_agents,
                                                            wait, chosen, flags);
                  });
}

sword OCIAQListen2(OCISvcCtx *svchp, OCIError *errhp, OCIAQAgent **agent_list, ub4 num_agents,
                   OCIAQListenOpts *lopts, OCIAQAgent **agent, OCIAQLisMsgProps *lmops, ub4 flags)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    omx_handle *errh = nullptr;
    omx_handle *options = nullptr;
    omx_handle *properties = nullptr;
    if (!svch || !omx_optional_error(errhp, &errh) ||
        !omx_optional(lopts, OCI_DTYPE_AQLIS_OPTIONS, &options) ||
        !omx_optional(lmops, OCI_DTYPE_AQLIS_MSG_PROPERTIES, &properties))
        return OCI_INVALID_HANDLE;
    return listen(svch, errh, agent_list, num_agents, agent,
                  [&](ub1 backend, OCIAQAgent **own, OCIAQAgent **chosen) -> sword {
                      OMX_NEED(OCIAQListen2, backend, errh);
                      return omx_calls.OCIAQListen2[backend](
                          omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), own,
                          num_agents, omx_own<OCIAQListenOpts>(options, backend), chosen,
                          omx_own<OCIAQLisMsgProps>(properties, backend), flags);
                  });
}

sword OCIAQEnqArray(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQEnqOptions *enqopt,
                    ub4 *iters, OCIAQMsgProperties **msgprop, OCIType *payload_tdo, void **payload,
                    void **payload_ind, OCIRaw **msgid, void *ctxp, OCICallbackAQEnq enqcbfp, ub4 flags)
{
    return exchange(svchp, errhp, enqopt, OCI_DTYPE_AQENQ_OPTIONS, iters, msgprop,
                    [&](omx_handle *svch, omx_handle *errh, ub1 backend, omx_handle *options,
                        OCIAQMsgProperties **own) -> sword {
                        OMX_NEED(OCIAQEnqArray, backend, errh);
                        return omx_calls.OCIAQEnqArray[backend](
                            omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), queue_name,
                            omx_own<OCIAQEnqOptions>(options, backend), iters, own, payload_tdo, payload,
                            payload_ind, msgid, ctxp, enqcbfp, flags);
                    });
}

sword OCIAQDeqArray(OCISvcCtx *svchp, OCIError *errhp, OraText *queue_name, OCIAQDeqOptions *deqopt,
                    ub4 *iters, OCIAQMsgProperties **msgprop, OCIType *payload_tdo, void **payload,
                    void **payload_ind, OCIRaw **msgid, void *ctxp, OCICallbackAQDeq deqcbfp, ub4 flags)
{
    return exchange(svchp, errhp, deqopt, OCI_DTYPE_AQDEQ_OPTIONS, iters, msgprop,
                    [&](omx_handle *svch, omx_handle *errh, ub1 backend, omx_handle *options,
                        OCIAQMsgProperties **own) -> sword {
                        OMX_NEED(OCIAQDeqArray, backend, errh);
                        return omx_calls.OCIAQDeqArray[backend](
                            omx_own<OCISvcCtx>(svch, backend), omx_own<OCIError>(errh, backend), queue_name,
                            omx_own<OCIAQDeqOptions>(options, backend), iters, own, payload_tdo, payload,
                            payload_ind, msgid, ctxp, deqcbfp, flags);
                    });
}

sword OCISubscriptionRegister(OCISvcCtx *svchp, OCISubscription **subscrhpp, ub2 count, OCIError *errhp,
                              ub4 mode)
{
    return subscribe(svchp, subscrhpp, count, errhp,
                     [&](omx_handle *svch, omx_handle *errh, ub1 backend, OCISubscription **own) -> sword {
                         OMX_NEED(OCISubscriptionRegister, backend, errh);
                         return omx_calls.OCISubscriptionRegister[backend](
                             omx_own<OCISvcCtx>(svch, backend), own, count, omx_own<OCIError>(errh, backend),
                             mode);
                     });
}

sword OCISubscriptionPost(OCISvcCtx *svchp, OCISubscription **subscrhpp, ub2 count, OCIError *errhp, ub4 mode)
{
    return subscribe(svchp, subscrhpp, count, errhp,
                     [&](omx_handle *svch, omx_handle *errh, ub1 backend, OCISubscription **own) -> sword {
                         OMX_NEED(OCISubscriptionPost, backend, errh);
                         return omx_calls.OCISubscriptionPost[backend](
                             omx_own<OCISvcCtx>(svch, backend), own, count, omx_own<OCIError>(errh, backend),
                             mode);
                     });
}

/* Each branch reports on an error handle of its own. */
sword OCITransMultiPrepare(OCISvcCtx *svchp, ub4 numBranches, OCITrans **txns, OCIError **errhp)
{
    omx_handle *svch = omx_find(svchp, OCI_HTYPE_SVCCTX);
    if (!svch)
        return OCI_INVALID_HANDLE;
    const ub1 backend = svch->run;
    omx_handle *first = errhp && numBranches ? omx_find(errhp[0], OCI_HTYPE_ERROR) : nullptr;
    OMX_NEED(OCITransMultiPrepare, backend, first);
    const omx_array branches((void *const *)txns, numBranches, OCI_HTYPE_TRANS, backend);
    const omx_array errors((void *const *)errhp, numBranches, OCI_HTYPE_ERROR, backend);
    if (branches.state != OCI_SUCCESS || errors.state != OCI_SUCCESS)
        return array_failure(branches.state != OCI_SUCCESS ? branches : errors, first);
    const sword rc = omx_calls.OCITransMultiPrepare[backend](
        omx_own<OCISvcCtx>(svch, backend), numBranches, branches.own<OCITrans>(), errors.own<OCIError>());
    for (ub4 i = 0; rc != OCI_SUCCESS && errhp && i < numBranches; i++)
        omx_reported(omx_find(errhp[i], OCI_HTYPE_ERROR), backend);
    return rc;
}

sword OCIObjectArrayPin(OCIEnv *env, OCIError *err, OCIRef **ref_array, ub4 array_size,
                        OCIComplexObject **cor_array, ub4 cor_array_size, OCIPinOpt pin_option,
                        OCIDuration pin_duration, OCILockOpt lock, void **obj_array, ub4 *pos)
{
    omx_handle *envh = omx_find(env, OCI_HTYPE_ENV);
    omx_handle *errh = nullptr;
    if (!envh || !omx_optional_error(err, &errh))
        return OCI_INVALID_HANDLE;
    const ub1 backend = omx_connected(envh);
    OMX_NEED(OCIObjectArrayPin, backend, errh);
    const omx_array own((void *const *)cor_array, cor_array_size, OCI_HTYPE_COMPLEXOBJECT, backend);
    if (own.state != OCI_SUCCESS)
        return array_failure(own, errh);
    return omx_done(
        errh, backend,
        omx_calls.OCIObjectArrayPin[backend](omx_own<OCIEnv>(envh, backend), omx_own<OCIError>(errh, backend),
                                             ref_array, array_size, own.own<OCIComplexObject>(),
                                             cor_array_size, pin_option, pin_duration, lock, obj_array, pos));
}

} // namespace written
