#ifndef DKOMSQL_INTERRUPT_H
#define DKOMSQL_INTERRUPT_H

#include "session.h"

namespace dkomsql
{

/// Lets Ctrl-C (SIGINT) set a flag, which long work looks at, and break the call that a BreakOnInterrupt
/// watches over, instead of ending the program. When Ctrl-C is typed again and again without effect it ends
/// the program all the same.
void catch_interrupts();

bool interrupted();
void clear_interrupt();

/// While it lives, Ctrl-C breaks the call that runs on the session, which then fails with ORA-01013.
class BreakOnInterrupt
{
public:
    explicit BreakOnInterrupt(const Session &session);
    ~BreakOnInterrupt();
    BreakOnInterrupt(const BreakOnInterrupt &) = delete;
    BreakOnInterrupt &operator=(const BreakOnInterrupt &) = delete;
};

} // namespace dkomsql

#endif
