// Large objects: values that programs reach through locators, a part at a time.
#pragma once

#include "connections/connection.h"
#include "handles/call.h"
#include "lobs/lob_changes.h"
#include "lobs/lob_transfer.h"
#include "values/value.h"

#include <memory>
#include <optional>
#include <string>

namespace sqlite_oci
{

enum lob_error : int {
    ora_lob_not_open = 22289,
    ora_lob_already_open = 22293,
    ora_lob_read_only = 22294,
    ora_lob_row_not_locked = 22920,
    ora_no_such_lob = 22922,
    ora_bad_lob_argument = 24801,
};

// A value behind one or more locators.
struct lob {
    lob(bool is_text, std::string_view bytes) : content(is_text, bytes) {}

    // The content as it is now. Throws ORA-22922 when its row is gone.
    lob_content &current();

    lob_content content;
    bool is_temporary = false;

    // --- Of a row that was selected for update
    std::optional<lob_cell> cell;
    std::weak_ptr<connection> on;
    bool is_locked = false;
    bool was_changed = false; // in this transaction
    bool is_pending = false;  // changed, and not yet written to the row
    bool is_stale = false;    // the change was rolled back
};

struct lob_locator final : object {
    static constexpr ub4 handle_kind = OCI_DTYPE_LOB;
    using object::object;

    // Lets the locator stand for another value, or for none.
    void point_to(std::shared_ptr<lob> other)
    {
        target = std::move(other);
        reading.reset();
        writing.reset();
        open_mode = 0;
    }

    // Throws ORA-22275 for a locator that stands for nothing.
    lob &value() const;

    // Throws what forbids to write through the locator on this connection.
    void check_writable(const connection &by) const;

    std::shared_ptr<lob> target; // null while not initialized
    ub1 open_mode = 0;           // OCI_LOB_READONLY or OCI_LOB_READWRITE while open
    std::optional<lob_read> reading;
    std::optional<lob_write> writing;
};

// The locator that an element of an array of locators holds, or null for what is none of this library's.
lob_locator *locator_in(const void *element);

} // namespace sqlite_oci
