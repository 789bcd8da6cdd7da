/* The prototypes, under the name that applications include them by. */
#ifndef OCIAP_H
#define OCIAP_H

#include "oci.h"

#endif
