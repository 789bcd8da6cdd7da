#ifndef DKOM_REPORT_JSON_H
#define DKOM_REPORT_JSON_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "handle_life.h"
#include "model.h"
#include "tables.h"

namespace dkom_report
{

/// All of a report as a JSON document. Times of day are texts, spans are microseconds (`..._us`). Lists are
/// in the order of the view and whole: its limit does not count.
std::string report_json(const Report &report, const View &view);

/// The life of a handle in each of some files as a JSON document.
std::string handle_json(std::uint64_t address, const std::vector<std::string> &files,
                        const std::deque<HandleLife> &lives);

/// What the page of `--html` draws: the report, and lanes of the busiest statements and the first
/// connections.
std::string page_json(const Report &report);

} // namespace dkom_report

#endif
