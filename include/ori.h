/* Objects and the cache, under the name that applications include them by. */
#ifndef ORI_H
#define ORI_H

#include "oci_object.h"
#include "oro.h"

#endif
