#include "declaration.h"

#include <algorithm>
#include <array>
#include <utility>

#include <trace_reader/message.h>

namespace dkom_scrub
{

namespace
{

constexpr std::array<bool, 256> plain_characters = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0; c < plain.size(); c++)
        plain[c] = c < 128 && trace_reader::is_name_character(static_cast<char>(c));
    for (const char c : std::string_view(" -.,:;()[]<>=*'/!?"))
        plain[static_cast<unsigned char>(c)] = true;
    return plain;
}();

std::vector<Parameter> parameters_of(std::string_view declaration)
{
    std::vector<Parameter> parameters;
    const std::size_t open = declaration.find('(');
    if (open == std::string_view::npos)
        return parameters;
    std::string_view rest = declaration.substr(open + 1);
    while (!rest.empty()) {
        int depth = 0;
        std::size_t end = 0;
        for (; end < rest.size() && (depth > 0 || (rest[end] != ',' && rest[end] != ')')); end++)
            depth += rest[end] == '(' ? 1 : rest[end] == ')' ? -1 : 0;
        std::string_view one = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const bool is_const =
            one.find("CONST ") != std::string_view::npos || one.find("const ") != std::string_view::npos;
        const std::size_t type =
            one.find("raText *") != std::string_view::npos ? one.find("raText *") : one.find("ratext *");
        Parameter parameter;
        parameter.is_text = is_const && type != std::string_view::npos &&
                            one.substr(type + 8).find('*') == std::string_view::npos;
        if (const std::size_t function = one.find("(*"); function != std::string_view::npos)
            one = one.substr(0, one.find(')', function));
        while (!one.empty() && !trace_reader::is_name_character(one.back()))
            one.remove_suffix(1);
        std::size_t begin = one.size();
        while (begin > 0 && trace_reader::is_name_character(one[begin - 1]))
            begin--;
        parameter.name = one.substr(begin);
        parameter.before = "\n\t" + parameter.name + '=';
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

} // namespace

bool is_plain(std::string_view text)
{
    return std::ranges::all_of(text, [](unsigned char c) { return plain_characters[c]; });
}

const Declaration &Declarations::of(std::string_view text, bool is_extended)
{
    constexpr std::size_t most = 5000; // hostile traces may hold any number of them
    auto &known = known_[is_extended ? 1 : 0];
    const auto found = known.find(text);
    if (found != known.end())
        return found->second;
    if (known.size() >= most)
        known.clear();
    Declaration declaration;
    declaration.is_plain = is_plain(text);
    if (declaration.is_plain)
        declaration.parameters = parameters_of(text);
    // The exact edition shows what these buffers hold before the call.
    const std::string_view function = text.substr(0, text.find('('));
    if (!is_extended && (function.ends_with("OCIServerVersion") || function.ends_with("OCINlsGetInfo")))
        for (Parameter &parameter : declaration.parameters)
            parameter.is_text = parameter.is_text || parameter.name == "bufp" || parameter.name == "buf";
    return known.emplace(text, std::move(declaration)).first->second;
}

} // namespace dkom_scrub
