#ifndef DKOMSQL_USER_ERROR_H
#define DKOMSQL_USER_ERROR_H

#include <stdexcept>

namespace dkomsql
{

/// Something that the user asked for and that cannot be done; what() says why.
class UserError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace dkomsql

#endif
