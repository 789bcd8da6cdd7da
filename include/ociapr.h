/* The calls of release 7, under the name that applications include them by. */
#ifndef OCIAPR_H
#define OCIAPR_H

#include "oci_v7.h"

#endif
