#include "finding.h"

#include <algorithm>

#include <fmt/format.h>

namespace dkom_check
{

namespace
{

const char *colour_of(Verdict verdict)
{
    switch (verdict) {
    case Verdict::ok:
        return "\x1b[32m";
    case Verdict::warning:
        return "\x1b[33m";
    case Verdict::refused:
    case Verdict::fault:
        break;
    }
    return "\x1b[1;31m";
}

} // namespace

const char *name_of(Verdict verdict)
{
    switch (verdict) {
    case Verdict::ok:
        return "ok";
    case Verdict::warning:
        return "warning";
    case Verdict::refused:
        return "refused";
    case Verdict::fault:
        break;
    }
    return "fault";
}

void Report::add(Finding finding)
{
    if (finding.details.is_null())
        finding.details = nlohmann::json::object();
    findings_.push_back(std::move(finding));
}

Verdict Report::worst() const
{
    Verdict worst = Verdict::ok;
    for (const Finding &finding : findings_)
        worst = std::max(worst, finding.verdict);
    return worst;
}

std::string Report::summary() const
{
    const auto count = [this](Verdict verdict) {
        return std::count_if(findings_.begin(), findings_.end(),
                             [verdict](const Finding &f) { return f.verdict == verdict; });
    };
    const auto faults = count(Verdict::fault);
    const auto warnings = count(Verdict::warning);
    std::string text = faults > 0 ? "a program would not start, or would stop" : "a program would start";
    if (faults == 0 && count(Verdict::refused) > 0)
        text += ", but not get its connection";
    if (faults > 0)
        text += fmt::format("; {} fault{}", faults, faults == 1 ? "" : "s");
    if (warnings > 0)
        text += fmt::format("; {} warning{}", warnings, warnings == 1 ? "" : "s");
    return text;
}

void Report::print(std::FILE *to, bool colours) const
{
    for (const Finding &f : findings_) {
        fmt::print(to, "{}{:<8}{} {:<8} {}\n", colours ? colour_of(f.verdict) : "", name_of(f.verdict),
                   colours ? "\x1b[0m" : "", f.subject, printable(f.text));
        if (!f.advice.empty())
            fmt::print(to, "{:18}-> {}\n", "", printable(f.advice));
    }
    fmt::print(to, "{}{:<8}{} {}\n", colours ? colour_of(worst()) : "", name_of(worst()),
               colours ? "\x1b[0m" : "", summary());
}

nlohmann::json Report::as_json() const
{
    nlohmann::json list = nlohmann::json::array();
    for (const Finding &f : findings_)
        list.push_back({{"verdict", name_of(f.verdict)},
                        {"subject", f.subject},
                        {"text", f.text},
                        {"advice", f.advice},
                        {"details", f.details}});
    return {{"verdict", name_of(worst())}, {"summary", summary()}, {"findings", list}};
}

std::string some_of(const std::vector<std::string> &names)
{
    constexpr std::size_t most = 6;
    const std::size_t shown = names.size() <= most ? names.size() : most - 1;
    std::string text;
    for (std::size_t i = 0; i < shown; i++)
        text += (i == 0 ? "" : ", ") + names[i];
    if (shown < names.size())
        text += fmt::format(" and {} more", names.size() - shown);
    return text;
}

std::string printable(std::string text)
{
    for (char &c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f')
            c = ' ';
    return text;
}

} // namespace dkom_check
