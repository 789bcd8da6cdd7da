/* Numbers, dates, strings, raws and collections, under the name that applications include them by. */
#ifndef ORL_H
#define ORL_H

#include "oci_collection.h"
#include "oci_datetime.h"
#include "oci_number.h"
#include "oro.h"

#endif
