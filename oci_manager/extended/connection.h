/*
 * How a service context follows its server.
 */
#ifndef OMX_CONNECTION_H
#define OMX_CONNECTION_H

#include "handle.h"

/* Lets a service context and its transaction run where its server is attached. */
void omx_follow_server(omx_handle *svch);

#endif
