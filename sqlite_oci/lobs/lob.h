// Large objects: values that programs reach through locators, a part at a time.
#pragma once

#include "connections/connection.h"
#include "handles/call.h"
#include "lobs/lob_changes.h"
#include "lobs/lob_errors.h"
#include "lobs/lob_transfer.h"
#include "values/value.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace sqlite_oci
{

// A value behind one or more locators, which threads and sessions may share: what is here needs the mutex.
struct lob {
    lob(bool is_text_lob, std::string_view bytes) : is_text(is_text_lob), content(is_text_lob, bytes) {}

    // The content as it is now, in a call on the connection that locked its row; in others, as it was seen
    // last. Throws ORA-22922 when its row is gone.
    lob_content &current();

    std::mutex mutex; // taken after a connection's and after a locator's

    const bool is_text;
    lob_content content;
    bool is_temporary = false;

    // --- Of a row that was selected for update
    std::optional<lob_cell> cell;
    std::weak_ptr<connection> on;
    bool is_locked = false;
    bool was_changed = false; // in this transaction
    bool is_pending = false;  // changed, and not yet written to the row
    bool is_lost = false;     // nobody can tell its value any more
    std::uint64_t since =
        0; // see lob_changes::moment(): when its row was read, and when its content was the row's
    std::uint64_t as_of = 0;
};

struct lob_locator final : object {
    static constexpr ub4 handle_kind = OCI_DTYPE_LOB;
    using object::object;

    // Lets the locator stand for another value, or for none.
    void point_to(std::shared_ptr<lob> other);
    std::shared_ptr<lob> value_or_null() const;

    // Throws ORA-22275 for a locator that stands for nothing.
    std::shared_ptr<lob> value() const;

    mutable std::mutex mutex; // of all below; taken after a connection's

    // point_to for who holds the mutex.
    void set_target(std::shared_ptr<lob> other);

    std::shared_ptr<lob> target; // null while not initialized
    ub1 open_mode = 0;           // OCI_LOB_READONLY or OCI_LOB_READWRITE while open
    bool is_buffered = false;    // as the program says
    std::optional<lob_read> reading;
    std::optional<lob_write> writing;
};

// The locator that an element of an array of locators holds, or null for what is none of this library's.
lob_locator *locator_in(const void *element);

} // namespace sqlite_oci
