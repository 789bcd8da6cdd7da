// How a NUMBER is kept in a database, in one form for each value, so that equal numbers are equal values:
//   an integer      where it is one of 64 bits,
//   a real          where the shortest decimal that reads back as this real is the number,
//   a blob          of the bytes of SQLT_NUM otherwise.
// Integers and reals sort as numbers do, and blobs sort among themselves; but SQLite puts blobs behind all
// others.
#pragma once

#include "values/number.h"
#include "values/value.h"

namespace sqlite_oci
{

struct stored_number {
    value_kind kind = value_kind::null; // integer, real or number
    std::int64_t integer = 0;
    double real = 0;
    ub1 bytes[number_num_max] = {};
    std::size_t length = 0;

    std::string_view view() const { return {reinterpret_cast<const char *>(bytes), length}; }
};

stored_number store_number(const OCINumber &number);

// Any value that is a number or the text of one, bytes of SQLT_NUM among them. Returns 0 or an ORA- number.
int number_from_value(const value &from, OCINumber *number);

} // namespace sqlite_oci
