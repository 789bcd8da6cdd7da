#include "callbacks.h"

namespace
{

/* The manager's handle of a backend's, of whichever backend. */
omx_handle *find_in_any(ub1 family, const omx_handle *env, const void *own)
{
    for (unsigned int backend = 0; backend < omx_backend_count; backend++)
        if (omx_handle *h = omx_find_wrapped(family, env, backend, own))
            return h;
    return nullptr;
}

sb4 on_failover(void *svcctx, void * /*envctx*/, void *fo_ctx, ub4 fo_type, ub4 fo_event)
{
    const omx_attributes *server = (const omx_attributes *)fo_ctx;
    omx_handle *env = server->handle->env;
    omx_handle *svch = svcctx ? find_in_any(OCI_HTYPE_SVCCTX, env, svcctx) : nullptr;
    return server->failover.callback_function(svch, env, server->failover.fo_ctx, fo_type, fo_event);
}

/*
 * The backend's descriptor of the notification gets a handle for the time of the call. A subscription of
 * changes yields descriptors of changes, all others those of queues.
 */
ub4 on_notify(void *context, OCISubscription * /*own*/, void *payload, ub4 payload_length, void *descriptor,
              ub4 mode)
{
    const omx_attributes *subscription = (const omx_attributes *)context;
    if (!subscription->notify)
        return OCI_SUCCESS;
    omx_handle *h = subscription->handle;
    ub4 space = OCI_SUBSCR_NAMESPACE_AQ;
    if (omx_calls.OCIAttrGet[h->run])
        omx_calls.OCIAttrGet[h->run](h->backend[h->run], OCI_HTYPE_SUBSCRIPTION, &space, nullptr,
                                     OCI_ATTR_SUBSCR_NAMESPACE, nullptr);
    const ub4 type = space == OCI_SUBSCR_NAMESPACE_DBCHANGE ? OCI_DTYPE_CHDES : OCI_DTYPE_AQNFY_DESCRIPTOR;
    omx_handle *wrapped = descriptor ? omx_wrap(type, h->env, h->run, descriptor, nullptr) : nullptr;
    const ub4 result = subscription->notify(subscription->notify_context, (OCISubscription *)(void *)h,
                                            payload, payload_length, wrapped, mode);
    if (wrapped && omx_claim(wrapped))
        omx_release(wrapped);
    return result;
}

void on_event(void *context, OCIEvent *own)
{
    omx_handle *env = (omx_handle *)context;
    const omx_environment *environment = omx_environment_of(env);
    if (!environment->event_callback)
        return;
    omx_handle *event = omx_wrap(OCI_HTYPE_EVENT, env, env->run, own, nullptr);
    environment->event_callback(environment->event_context, (OCIEvent *)(void *)event);
    if (event && omx_claim(event))
        omx_release(event);
}

sword set_attribute(omx_handle *h, unsigned int backend, ub4 attribute, void *value, ub4 size,
                    omx_handle *errh)
{
    return omx_calls.OCIAttrSet[backend](h->backend[backend], h->type, value, size, attribute,
                                         omx_own<OCIError>(errh, backend));
}

} // namespace

OCIFocbkStruct *omx_failover_for(omx_handle *srvh, const OCIFocbkStruct *program)
{
    omx_attributes *server = omx_attributes_of(srvh);
    if (!server)
        return nullptr;
    server->failover = program ? *program : OCIFocbkStruct{nullptr, nullptr};
    if (!server->failover.callback_function)
        return nullptr;
    server->backend_failover = {on_failover, server};
    return &server->backend_failover;
}

OCIFocbkStruct omx_failover_of(omx_handle *srvh)
{
    const omx_attributes *server = (const omx_attributes *)srvh->extra;
    return server ? server->failover : OCIFocbkStruct{nullptr, nullptr};
}

/* The backend's context is always the manager's: with it the callback finds the program's. */
sword omx_set_callback(omx_handle *h, unsigned int backend, attribute_kind kind, void *value, ub4 size,
                       ub4 attribute, omx_handle *errh)
{
    if (kind == attribute_kind::event || kind == attribute_kind::event_ctx) {
        omx_environment *environment = omx_environment_of(h);
        if (kind == attribute_kind::event_ctx) {
            environment->event_context = value;
            return OCI_SUCCESS;
        }
        environment->event_callback = (OCIEventCallback)value;
        const sword rc = set_attribute(h, backend, OCI_ATTR_EVTCTX, h, 0, errh);
        return omx_succeeded(rc) ? set_attribute(h, backend, attribute, (void *)on_event, size, errh) : rc;
    }
    omx_attributes *subscription = omx_attributes_of(h);
    if (!subscription)
        return omx_no_memory(errh);
    if (kind == attribute_kind::notify_ctx) {
        subscription->notify_context = value;
        return OCI_SUCCESS;
    }
    subscription->notify = (OCISubscriptionNotify)value;
    const sword rc = set_attribute(h, backend, OCI_ATTR_SUBSCR_CTX, subscription, 0, errh);
    return omx_succeeded(rc) ? set_attribute(h, backend, attribute, (void *)on_notify, size, errh) : rc;
}

void *omx_callback_of(omx_handle *h, attribute_kind kind)
{
    if (kind == attribute_kind::event)
        return (void *)omx_environment_of(h)->event_callback;
    if (kind == attribute_kind::event_ctx)
        return omx_environment_of(h)->event_context;
    const omx_attributes *subscription = (const omx_attributes *)h->extra;
    if (!subscription)
        return nullptr;
    return kind == attribute_kind::notify ? (void *)subscription->notify : subscription->notify_context;
}
