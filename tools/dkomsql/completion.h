#ifndef DKOMSQL_COMPLETION_H
#define DKOMSQL_COMPLETION_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "line_editor.h"

namespace dkomsql
{

class Shell;

/// Knows what may stand at the end of what is typed: commands and their arguments, words of SQL, tables, and
/// columns of the tables that the statement names.
class SqlCompletion
{
public:
    explicit SqlCompletion(const Shell &shell) : shell_(shell) {}

    /// Completes `line`, in front of `rest` and behind the lines of the statement that were typed before it.
    Completion complete(const std::string &before, std::string_view line, std::string_view rest);

private:
    std::vector<std::string> names(const std::string &query, const std::string &pattern);
    std::vector<std::string> tables();
    std::vector<std::string> columns_of(const std::vector<std::string> &tables);

    const Shell &shell_;
    std::size_t known_definitions_ = 0;
    std::map<std::string, std::vector<std::string>> known_; // by query and pattern
};

} // namespace dkomsql

#endif
