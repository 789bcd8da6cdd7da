#ifndef DKOM_SCRUB_DECLARATION_H
#define DKOM_SCRUB_DECLARATION_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dkom_scrub
{

/// Fixed words of the libraries: ASCII without quotes, one line.
bool is_plain(std::string_view text);

/// A parameter of a declaration.
struct Parameter {
    std::string name;
    std::string before;   ///< what stands in front of its value in an argument record: "\n\tname="
    bool is_text = false; ///< its value is shown as text
};

/// "OCIServerAttach(OCIServer *srvhp, ..., CONST OraText *dblink, ...)" taken apart.
struct Declaration {
    bool is_plain = false;
    std::vector<Parameter> parameters;
};

/// Declarations that were met. There are as many as functions, so each is taken apart once.
class Declarations
{
public:
    const Declaration &of(std::string_view text, bool is_extended);

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };

    std::unordered_map<std::string, Declaration, Hash, std::equal_to<>> known_[2];
};

} // namespace dkom_scrub

#endif
