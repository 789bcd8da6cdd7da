/* What programs of release 7 include beside ociapr.h. */
#ifndef OCIDEM_H
#define OCIDEM_H

#include "ociapr.h"
#include "ocidfn.h"

#endif
