/* Data types and the areas of release 7, under the name that applications include them by. */
#ifndef OCIDFN_H
#define OCIDFN_H

#include "oci_data_types.h"
#include "oci_types.h"

#endif
