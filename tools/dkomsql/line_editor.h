#ifndef DKOMSQL_LINE_EDITOR_H
#define DKOMSQL_LINE_EDITOR_H

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace dkomsql
{

/// Where the history of typed statements is kept: below XDG_STATE_HOME, or ~/.local/state. Empty when there
/// is no home directory.
std::filesystem::path history_file();

/// Reads lines from the terminal with editing and history.
class LineEditor
{
public:
    /// An empty path keeps the history in memory only.
    explicit LineEditor(std::filesystem::path history_path);
    ~LineEditor();
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /// The next line without its line feed; nothing at the end of the input, and after Ctrl-C (see
    /// interrupted()).
    std::optional<std::string> read_line(const std::string &prompt);

    /// Remembers an entry of one or more lines, and writes the history file.
    void remember(const std::string &entry);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace dkomsql

#endif
