/* Type descriptors, under the name that applications include them by. */
#ifndef ORT_H
#define ORT_H

#include "oci_object_type.h"
#include "oro.h"

#endif
