/*
 * Variables of the environment: TZ and DKOM_ROUTES may hold anything. First byte: which of them.
 */
#include <algorithm>

#include "input.h"
#include "oci_manager/zone.h"

#include <oci.h>

namespace
{

constexpr long longest_offset = 7 * 24 * 3600 + 24 * 3600;

struct program {
    OCIEnv *env = nullptr;
    OCIError *err = nullptr;

    program()
    {
        setenv("DKOM_ORA_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_DRK_LIB_PATH", BARE_LIBRARIES, 1);
        setenv("DKOM_LOG_LEVEL", "0", 1);
        OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void **>(&err), OCI_HTYPE_ERROR, 0, nullptr);
    }
};

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

void route(const program &p, input in)
{
    const std::string value = value_of(in);
    setenv("DKOM_ROUTES", value.c_str(), 1);
    // The first bytes of the table are a link that some of its entries fit.
    const std::string link = value.substr(0, 8);
    OCIServer *server = nullptr;
    OCIHandleAlloc(p.env, reinterpret_cast<void **>(&server), OCI_HTYPE_SERVER, 0, nullptr);
    const sword rc = OCIServerAttach(server, p.err, reinterpret_cast<const OraText *>(link.data()),
                                     static_cast<sb4>(link.size()), OCI_DEFAULT);
    sb4 number = 0;
    OraText text[512];
    if (rc != OCI_SUCCESS)
        OCIErrorGet(p.err, 1, nullptr, &number, text, sizeof text, OCI_HTYPE_ERROR);
    OCIHandleFree(server, OCI_HTYPE_SERVER);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static const program p;
    input in(bytes, size);
    if (in.byte() % 2 == 0)
        find_offset(in);
    else
        route(p, in);
    return 0;
}
