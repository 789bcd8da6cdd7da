/* The scalar types and their limits, under the name that applications include them by. */
#ifndef ORATYPES_H
#define ORATYPES_H

#include "oci_types.h"

#endif
