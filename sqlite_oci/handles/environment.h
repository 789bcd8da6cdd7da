// Environments, which own everything that was allocated from them, and error handles.
#pragma once

#include "handles/program_memory.h"
#include "handles/registry.h"
#include "text/charset.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sqlite_oci
{

// One entry of an error handle. `text` is UTF-8 and carries the "ORA-NNNNN: " prefix.
struct error_record {
    int code;
    std::string text;
    ub4 row = 0; // of an array execution: the row that failed
};

// "ORA-NNNNN: text" with its number.
error_record make_record(int code, std::string_view text);

struct environment final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_ENV;

    program_memory memory;

    environment(ub4 creation_mode, charset text_set, charset national_set);
    ~environment() override;

    // Takes the object over; it lives until release() or the environment's end.
    template <class T> T *adopt(std::unique_ptr<T> child, ub4 child_kind)
    {
        make_handle(*child, child_kind);
        T *plain = child.get();
        const std::scoped_lock lock(children_mutex_);
        children_.emplace(plain, owned<object>(child.release()));
        return plain;
    }

    // Ends an adopted object; false if it was none.
    bool release(object *child);

    // Text that an application passed, as UTF-8. An application behind a layer that knows only 8-bit text may
    // pass such text in a UTF-16 environment; any text of SQL in UTF-16 has bytes that are zero, 8-bit text
    // has none, so the two are told apart by that.
    std::string text_in(const void *bytes, std::size_t length) const;

    // The same of a text up to its terminator, which is two bytes wide in UTF-16 unless the text is narrow.
    std::string terminated_text_in(const void *bytes) const;

    // UTF-8 in the environment's own character set.
    std::string text_out(std::string_view text) const { return from_utf8(set, text); }

    // Writes UTF-8 in the environment's own character set, with a terminator of its width. Throws ORA-01877
    // when it does not fit.
    void copy_out(std::string_view text, void *target, std::size_t room) const;

    // A character set number given with a bind, define or LOB call; 0 is the environment's own.
    charset set_from_id(ub2 id) const;

    const ub4 mode;
    const charset set;
    const charset national;
    std::atomic<bool> has_replaced{false}; // a character, in the last conversion between character sets
    std::vector<error_record> records;     // of calls that have no error handle

private:
    std::mutex children_mutex_;
    std::unordered_map<object *, owned<object>> children_;
};

struct error_handle final : object {
    static constexpr ub4 handle_kind = OCI_HTYPE_ERROR;
    using object::object;

    void set(error_record record);

    // Records a number alone, in place of what was there. May be called in a signal handler.
    void note(int code) noexcept { noted_ = code; }
    int noted() const { return noted_; }

    std::vector<error_record> records;
    std::vector<error_record> batch; // one for each failed row of the last array execution

private:
    std::atomic<int> noted_{0};
};

// Live environments, for the process's whole life; the owner of all that applications allocate.
void keep_environment(std::unique_ptr<environment> env);
bool free_environment(environment *env);

} // namespace sqlite_oci
