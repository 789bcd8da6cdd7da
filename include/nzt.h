/* Security calls and their types, under the name that applications include them by. */
#ifndef NZT_H
#define NZT_H

#include "oci_security.h"
#include "oci_types.h"

#endif
