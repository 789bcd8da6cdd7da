/* Direct path loads, under the name that applications include them by. */
#ifndef OCI8DP_H
#define OCI8DP_H

#include "oci_direct_path.h"

#endif
