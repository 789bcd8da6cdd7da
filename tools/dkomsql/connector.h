#ifndef DKOMSQL_CONNECTOR_H
#define DKOMSQL_CONNECTOR_H

#include <memory>
#include <string>

#include "credentials.h"
#include "session.h"

namespace dkomsql
{

/// Makes connections, and remembers for whom.
class Connector
{
public:
    explicit Connector(PasswordSource passwords) : passwords_(std::move(passwords)) {}

    /// Connects to the target, without a user for the user of the last connection. Throws UserError whose
    /// text says why there is no connection.
    std::unique_ptr<Session> connect(const ConnectTarget &target);

private:
    PasswordSource passwords_;
    Credentials credentials_;
};

} // namespace dkomsql

#endif
