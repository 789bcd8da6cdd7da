#include "page.h"

#include "json.h"

namespace dkom_report
{

std::string page_of(const Report &report)
{
    constexpr std::string_view place = "@data@";
    std::string page = page_template;
    page.replace(page.find(place), place.size(), page_json(report));
    return page;
}

} // namespace dkom_report
