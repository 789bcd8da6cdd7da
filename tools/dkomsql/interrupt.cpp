#include "interrupt.h"

#include <atomic>

namespace dkomsql
{

namespace
{

constexpr int most_interrupts = 3; // while a call runs: a database may be slow to break it

volatile std::sig_atomic_t interrupts_seen = 0;
std::atomic<const Session *> breakable = nullptr;

/// The exact edition knows a handle only on the thread that made it, so the handler is the place to break
/// from: it runs on that thread, in the middle of the call. The libraries take no lock for it. (At trace
/// levels above 10 the record of the call is written from here as well; that is why the window is kept to the
/// calls that can last.)
void on_interrupt(int signal_number)
{
    const Session *session = breakable.load();
    interrupts_seen = interrupts_seen + 1;
    if (interrupts_seen > (session != nullptr ? most_interrupts : 1)) {
        std::signal(signal_number, SIG_DFL);
        std::raise(signal_number);
        return;
    }
    if (session != nullptr)
        OCIBreak(session->service(), session->break_error());
}

} // namespace

CatchInterrupts::CatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = on_interrupt; // without SA_RESTART: a read of the terminal has to return
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &before_);
}

CatchInterrupts::~CatchInterrupts()
{
    sigaction(SIGINT, &before_, nullptr);
}

bool interrupted()
{
    return interrupts_seen != 0;
}

void clear_interrupt()
{
    interrupts_seen = 0;
}

BreakOnInterrupt::BreakOnInterrupt(const Session &session)
{
    breakable = &session;
}

BreakOnInterrupt::~BreakOnInterrupt()
{
    breakable = nullptr;
}

} // namespace dkomsql
