#ifndef DKOMSQL_INTERRUPT_H
#define DKOMSQL_INTERRUPT_H

#include <csignal>

#include "session.h"

namespace dkomsql
{

/// While it lives, Ctrl-C (SIGINT) sets a flag, which long work looks at, and breaks the call that a
/// BreakOnInterrupt watches over, instead of ending the program. When Ctrl-C is typed again and again without
/// effect it ends the program all the same.
class CatchInterrupts
{
public:
    CatchInterrupts();
    ~CatchInterrupts();
    CatchInterrupts(const CatchInterrupts &) = delete;
    CatchInterrupts &operator=(const CatchInterrupts &) = delete;

private:
    struct sigaction before_ {
    };
};

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
