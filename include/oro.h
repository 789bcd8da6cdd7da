/* Object types, under the name that applications include them by. */
#ifndef ORO_H
#define ORO_H

#include "oci_constants.h"
#include "oci_types.h"

#endif
