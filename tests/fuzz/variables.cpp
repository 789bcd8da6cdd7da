/*
 * Variables of the environment: TZ and DKOM_ROUTES may hold anything. First byte: which of them.
 */
#include <algorithm>

#include "extended/route_table.h"
#include "input.h"
#include "oci_manager/zone.h"

namespace
{

constexpr long longest_offset = 8L * 24 * 3600;

/* A variable has no zero bytes. */
std::string value_of(const input &in)
{
    std::string value = in.rest();
    std::erase(value, '\0');
    return value;
}

void find_offset(input in)
{
    const long long days = static_cast<long long>(in.byte()) * 73 - 9000;
    bool changes = false;
    const long offset = zone_offset(value_of(in).c_str(), days * 86400 + 12345, &changes);
    if (std::abs(offset) > longest_offset)
        std::abort();
}

/* A part that cannot be read lies in the table, and a route has one or two different backends. */
void find_route(const input &in)
{
    const std::string table = value_of(in);
    // The first bytes of the table are a link that some of its entries fit.
    const std::string link = table.substr(0, 8);
    omx_route route = omx_usual_route;
    omx_span wrong = {nullptr, nullptr};
    if (omx_find_route(table.c_str(), {link.data(), link.data() + link.size()}, &route, &wrong)) {
        if (route.count < 1 || route.count > 2 || (route.count == 2 && route.backend[0] == route.backend[1]))
            std::abort();
    } else if (wrong.begin < table.c_str() || wrong.end > table.c_str() + table.size() ||
               wrong.begin > wrong.end) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    input in(bytes, size);
    if (in.byte() % 2 == 0)
        find_offset(in);
    else
        find_route(in);
    return 0;
}
