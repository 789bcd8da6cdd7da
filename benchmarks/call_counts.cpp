/*
 * Makes one call a given number of times, for an instruction counter around the whole program:
 * `call_counts CALL COUNT`. The difference between two counts is what the calls take.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "connection.h"

namespace
{

OCINumber number;
OCIDate date;
const int one = 1;
ub4 value;

struct counted_call {
    const char *name;
    void (*call)(connection &);
};

const counted_call counted_calls[] = {
    {"nothing", [](connection &) {}},
    {"direct", [](connection &c) { null_backend().trans_commit(c.svchp, c.errhp, OCI_DEFAULT); }},
    {"commit", [](connection &c) { OCITransCommit(c.svchp, c.errhp, OCI_DEFAULT); }},
    {"fetch", [](connection &c) { OCIStmtFetch2(c.stmtp, c.errhp, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT); }},
    {"attribute_get",
     [](connection &c) {
         OCIAttrGet(c.stmtp, OCI_HTYPE_STMT, &value, nullptr, OCI_ATTR_ROW_COUNT, c.errhp);
     }},
    {"rebind",
     [](connection &c) {
         OCIBindByPos(c.stmtp, &c.bindp, c.errhp, 1, nullptr, 0, SQLT_CHR, nullptr, nullptr, nullptr, 0,
                      nullptr, OCI_DEFAULT);
     }},
    {"lob_read",
     [](connection &c) {
         OCILobRead(c.svchp, c.errhp, c.locp, &value, 1, nullptr, 0, nullptr, nullptr, 0, SQLCS_IMPLICIT);
     }},
    {"number", [](connection &c) { OCINumberFromInt(c.errhp, &one, 4, OCI_NUMBER_SIGNED, &number); }},
    {"date", [](connection &c) { OCIDateAddDays(c.errhp, &date, 1, &date); }},
};

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3) {
        for (const counted_call &c : counted_calls) {
            if (std::strcmp(argv[1], c.name) != 0)
                continue;
            connection connected;
            for (long i = std::atol(argv[2]); i > 0; i--)
                c.call(connected);
            return 0;
        }
    }
    std::fprintf(stderr, "usage: call_counts CALL COUNT, with CALL one of:");
    for (const counted_call &c : counted_calls)
        std::fprintf(stderr, " %s", c.name);
    std::fprintf(stderr, "\n");
    return 2;
}
