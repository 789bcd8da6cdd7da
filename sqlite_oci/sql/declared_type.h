// The types that columns are declared with, as an OCI program sees them.
#pragma once

#include "oci.h"

#include <string>
#include <string_view>

namespace sqlite_oci
{

// A precision of 0 with this scale is NUMBER without bounds; any other precision with it is a FLOAT.
constexpr sb1 no_scale = -127;

constexpr ub2 longest_text = 4000;
constexpr ub2 longest_raw = 2000;

struct declared_type {
    ub2 type = 0;   // SQLT_...; 0: unknown
    ub1 form = 0;   // SQLCS_... of texts; 0 for all else
    ub2 length = 0; // of texts and RAW, in the unit of the declaration
    bool by_character = false;
    sb2 precision = 0; // decimal digits; of a FLOAT binary ones
    sb1 scale = 0;     // of TIMESTAMP: digits of the fraction of a second

    bool is_text() const { return type == SQLT_CHR || type == SQLT_AFC; }

    bool operator==(const declared_type &) const = default;
};

constexpr declared_type any_text{SQLT_CHR, SQLCS_IMPLICIT, longest_text};
constexpr declared_type any_number{SQLT_NUM, 0, 0, false, 0, no_scale};
constexpr declared_type any_bytes{SQLT_BIN, 0, longest_raw};

// Understands the types of servers ("NUMBER(10,2)", "VARCHAR2(20 CHAR)", "TIMESTAMP WITH TIME ZONE"), in any
// case, and takes other declarations for what SQLite makes of them.
declared_type parse_declared_type(std::string_view declaration);

// Whether a server has such a type.
bool is_declared_type(std::string_view declaration);

// The declaration of a type; empty for type 0.
std::string declared_type_text(const declared_type &type);

} // namespace sqlite_oci
