#include "calls/lob_call.h"

namespace sqlite_oci
{

lob_call::lob_call(const std::shared_ptr<connection> &of, lob_locator &by, call_errors call_records)
    : locator(by), errors(call_records), on_(of), connection_lock_(on_->mutex())
{
    callback_scope::check(locator);
    on_->start_call();
    locator_lock_ = std::unique_lock(locator.mutex);
    value_ = locator.target;
    if (value_)
        value_lock_ = std::unique_lock(value_->mutex);
}

void lob_call::release()
{
    if (value_)
        value_lock_.unlock();
    locator_lock_.unlock();
}

void lob_call::hold()
{
    locator_lock_.lock();
    if (locator.target != value_)
        fail(ora_invalid_locator, "the locator got another value during the program's callback");
    if (value_)
        value_lock_.lock();
}

lob &lob_call::value() const
{
    if (!value_)
        throw invalid_handle{};
    return *value_;
}

void lob_call::check_unbuffered() const
{
    if (locator.is_buffered)
        fail(ora_lob_is_buffered, "cannot perform the operation with LOB buffering enabled");
}

void lob_call::check_writable() const
{
    const lob &written = value();
    if (locator.open_mode == OCI_LOB_READONLY)
        fail(ora_lob_read_only, "the LOB is open for reading only");
    if (written.is_temporary)
        return;
    if (written.cell && !written.is_locked)
        fail(ora_lob_transaction_over,
             "LOB locators cannot span transactions: select the row FOR UPDATE in the one that writes");
    if (!written.is_locked || !on_->in_transaction() || written.on.lock() != on_)
        fail(ora_lob_row_not_locked,
             "the row of the LOB is not locked: select it FOR UPDATE, by the name of its column and in the "
             "transaction that writes");
}

lob_content &lob_call::change() const
{
    lob_content &changed = content();
    locator.reading.reset();
    if (!value().is_temporary)
        lobs_of(*on_).add(value_);
    return changed;
}

void lob_call::check_break() const
{
    if (on_->break_requested())
        fail(1013, "the call was interrupted on request");
}

} // namespace sqlite_oci
