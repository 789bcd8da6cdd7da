#ifndef DKOM_REPORT_TABLES_H
#define DKOM_REPORT_TABLES_H

#include <string>

#include "model.h"

namespace dkom_report
{

enum class Order { total, longest, mean, count, failures };

/// How a report is shown.
struct View {
    std::size_t limit = 20; ///< rows of a table; 0: all
    Order order = Order::total;
    std::size_t columns = 160; ///< width of a line
    bool colours = false;
};

/// A bit of all of it, and where more is to be had.
std::string overview(const Report &report, const View &view);

std::string calls_text(const Report &report, const View &view);
std::string statements_text(const Report &report, const View &view);
std::string connections_text(const Report &report, const View &view);
std::string leaks_text(const Report &report, const View &view);
std::string stops_text(const Report &report, const View &view);

/// Functions with a backend, in the order asked for.
struct CallLine {
    const Function *function;
    Backend backend;
    const CallRow *row;
};
std::vector<CallLine> call_lines(const Report &report, Order order);
std::vector<const Statement *> statement_lines(const Report &report, Order order);

/// What a stop is about, as sentences: the failed assertion or the reason, why, and what to do.
struct StopText {
    std::string title;
    std::string assertion;
    std::string why;
    std::string what_to_do;
};
StopText explain(const Report &report, const Stop &stop);

} // namespace dkom_report

#endif
