#ifndef DKOM_REPORT_PAGE_H
#define DKOM_REPORT_PAGE_H

#include <string>

#include "model.h"

namespace dkom_report
{

/// page.html; "@data@" in it stands for what page_json() yields.
extern const char *const page_template;

/// A page that shows a report by itself, without the network. It is bounded, whatever the traces: it says
/// what it leaves out.
std::string page_of(const Report &report);

} // namespace dkom_report

#endif
