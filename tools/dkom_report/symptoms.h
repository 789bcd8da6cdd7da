#ifndef DKOM_REPORT_SYMPTOMS_H
#define DKOM_REPORT_SYMPTOMS_H

#include <optional>
#include <string>
#include <string_view>

namespace dkom_report
{

/// docs/symptoms.md, from which all explanations are taken.
extern const char *const symptoms_document;

/// A row of its tables of stops, as plain text.
struct Explanation {
    std::string where;
    std::string why;
    std::string what_to_do;
};

/// The row of a failed assertion, e.g. "wsvchp != ((void *)0)"; null if it has none.
std::optional<Explanation> explain_assertion(std::string_view assertion);

/// The row of the record before the last, e.g. "dlopen Oracle Fail: dl_path=/opt/libclntsh.so".
std::optional<Explanation> explain_reason(std::string_view reason);

} // namespace dkom_report

#endif
