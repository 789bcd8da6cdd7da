#ifndef DKOMSQL_HISTORY_H
#define DKOMSQL_HISTORY_H

#include <filesystem>
#include <string>

struct history;

namespace dkomsql
{

/// Where the history of typed statements is kept: below XDG_STATE_HOME, or ~/.local/state. Empty when there
/// is no home directory.
std::filesystem::path history_file();

/// The typed entries of this shell, which begin with those of the file. Several shells may share the file.
class TypedHistory
{
public:
    /// An empty path keeps the history in memory only.
    explicit TypedHistory(std::filesystem::path path);
    ~TypedHistory();
    TypedHistory(const TypedHistory &) = delete;
    TypedHistory &operator=(const TypedHistory &) = delete;

    /// Remembers an entry of one or more lines, and adds it to the file.
    void remember(const std::string &entry);

    /// For the line editor.
    struct ::history *get() const { return entries_; }

private:
    void add_to_file(const std::string &entry) const;

    std::filesystem::path path_;
    struct ::history *entries_;
};

} // namespace dkomsql

#endif
