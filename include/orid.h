/* Attributes of objects by name, under the name that applications include them by. */
#ifndef ORID_H
#define ORID_H

#include "oci_object.h"
#include "oro.h"

#endif
