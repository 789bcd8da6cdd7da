#ifndef DKOMSQL_LINE_EDITOR_H
#define DKOMSQL_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dkomsql
{

class TypedHistory;

/// What the Tab key may put in place of the end of a line.
struct Completion {
    std::size_t start = 0;               ///< byte of the line from which on it is replaced
    std::vector<std::string> candidates; ///< all begin alike with what stands there, but perhaps for case
};

/// Tells what may stand at the end of `line`, the text in front of the cursor, which `rest` is behind.
using Completer = std::function<Completion(std::string_view line, std::string_view rest)>;

/// Reads lines from the terminal with editing, history and completion. What is pasted goes into the line as
/// it is, tabs included.
class LineEditor
{
public:
    LineEditor(const TypedHistory &history, Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /// The next line without its line feed; nothing at the end of the input, and after Ctrl-C (see
    /// interrupted()).
    std::optional<std::string> read_line(const std::string &prompt);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace dkomsql

#endif
