// Values that a program gives or takes piece by piece, between calls that return OCI_NEED_DATA.
#pragma once

#include "oci.h"

#include <cstddef>
#include <string>

namespace sqlite_oci
{

struct variable;

inline bool is_last_piece(ub1 piece)
{
    return piece == OCI_ONE_PIECE || piece == OCI_LAST_PIECE;
}

// What OCIStmtSetPieceInfo gives for the piece that is awaited.
struct given_piece {
    bool is_given = false;
    void *buffer = nullptr;
    ub4 *length = nullptr; // of a bind, bytes in the buffer; of a define, bytes of room, then those used
    ub1 piece = OCI_FIRST_PIECE;
    sb2 *indicator = nullptr;
    ub2 *code = nullptr;
};

// The piece that a statement waits for.
struct awaited_piece {
    variable *of = nullptr; // null while none is awaited
    std::size_t row = 0;
    bool is_first = true;
    bool by_execution = false; // the fetch was begun by OCIStmtExecute
};

// Where a fetch in pieces goes on.
struct fetch_position {
    std::size_t first = 0, rows = 0, wanted = 0;
    std::size_t row = 0, column = 0;
    std::string bytes; // of the value that is given in pieces
    std::size_t given = 0;
};

} // namespace sqlite_oci
