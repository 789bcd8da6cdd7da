#include "symptoms.h"

#include <vector>

namespace dkom_report
{

namespace
{

/// Text of a cell without marks: `code`, **strong** and [words](target).
std::string plain(std::string_view cell)
{
    std::string text;
    for (std::size_t i = 0; i < cell.size(); i++) {
        if (cell[i] == '`' || cell[i] == '[')
            continue;
        if (cell[i] == ']') {
            if (i + 1 < cell.size() && cell[i + 1] == '(')
                i = std::min(cell.find(')', i), cell.size() - 1);
            continue;
        }
        if (cell.substr(i).starts_with("**")) {
            i++;
            continue;
        }
        text += cell[i];
    }
    return text;
}

std::vector<std::string_view> split(std::string_view text, std::string_view separator)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos)
            return parts;
        text.remove_prefix(at + separator.size());
    }
}

/// Whether a text is a documented one, in which "..." stands for any text.
bool fits(std::string_view documented, std::string_view text)
{
    const std::vector<std::string_view> parts = split(documented, "...");
    if (!text.starts_with(parts.front()))
        return false;
    text.remove_prefix(parts.front().size());
    for (std::size_t i = 1; i < parts.size(); i++) {
        if (i + 1 == parts.size() && parts[i].empty())
            return true;
        const std::size_t at = i + 1 == parts.size() ? text.rfind(parts[i]) : text.find(parts[i]);
        if (at == std::string_view::npos)
            return false;
        text.remove_prefix(at + parts[i].size());
    }
    return text.empty();
}

/// The texts in `code` of a cell.
std::vector<std::string_view> quoted_in(std::string_view cell)
{
    const std::vector<std::string_view> parts = split(cell, "`");
    std::vector<std::string_view> texts;
    for (std::size_t i = 1; i < parts.size(); i += 2)
        texts.push_back(parts[i]);
    return texts;
}

/// Rows refer to those above them with "the same": puts in what was said there.
class Reference
{
public:
    std::string resolve(std::string cell)
    {
        constexpr std::string_view same = "the same";
        if (!cell.starts_with(same)) {
            if (!cell.empty())
                above_ = cell;
            return cell;
        }
        const std::string rest = cell.substr(same.size());
        return rest.starts_with(" for")  ? above_ + " (" + cell + ")"
               : rest.starts_with(" as") ? above_
                                         : above_ + rest;
    }

private:
    std::string above_;
};

/// The row of a table, which stands below a heading, that quotes a text in its first cell.
std::optional<Explanation> find_row(std::string_view heading, std::string_view text)
{
    bool is_there = false;
    Reference where;
    Reference why;
    Reference what_to_do;
    for (std::string_view line : split(symptoms_document, "\n")) {
        if (line.starts_with('#'))
            is_there = line == heading;
        if (!is_there || !line.starts_with("| "))
            continue;
        line.remove_prefix(2);
        if (line.ends_with(" |"))
            line.remove_suffix(2);
        const std::vector<std::string_view> cells = split(line, " | ");
        if (cells.size() < 4)
            continue;
        const Explanation row{where.resolve(plain(cells[1])), why.resolve(plain(cells[2])),
                              what_to_do.resolve(plain(cells[3]))};
        for (const std::string_view quoted : quoted_in(cells[0]))
            if (fits(quoted, text))
                return row;
    }
    return std::nullopt;
}

} // namespace

std::optional<Explanation> explain_assertion(std::string_view assertion)
{
    return find_row("### The assertion", assertion);
}

std::optional<Explanation> explain_reason(std::string_view reason)
{
    return find_row("### The reason", reason);
}

} // namespace dkom_report
