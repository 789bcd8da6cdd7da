// What it costs to overwrite a CLOB piece by piece, by the number of its pieces: the time grows with it, and
// not with its square. Prints the time of each length, and what it grows with ("BigO").
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "oci.h"

namespace
{

constexpr ub4 piece_size = 16 << 10; // characters

OCIEnv *env;
OCIError *errors;
OCISvcCtx *service;

const OraText *text(const std::string &plain)
{
    return reinterpret_cast<const OraText *>(plain.data());
}

void check(sword status, const char *call)
{
    if (status == OCI_SUCCESS)
        return;
    OraText message[512] = "";
    sb4 code = 0;
    OCIErrorGet(errors, 1, nullptr, &code, message, sizeof message, OCI_HTYPE_ERROR);
    std::fprintf(stderr, "lob_pieces: %s: status %d %s\n", call, status, reinterpret_cast<char *>(message));
    std::exit(1);
}

void connect()
{
    const std::string user = "bench", link = "lob_pieces";
    check(OCIEnvCreate(&env, OCI_DEFAULT, nullptr, nullptr, nullptr, nullptr, 0, nullptr), "OCIEnvCreate");
    void *made = nullptr;
    check(OCIHandleAlloc(env, &made, OCI_HTYPE_ERROR, 0, nullptr), "OCIHandleAlloc");
    errors = static_cast<OCIError *>(made);
    const auto user_size = static_cast<ub4>(user.size());
    check(OCILogon(env, errors, &service, text(user), user_size, text(user), user_size, text(link),
                   static_cast<ub4>(link.size())),
          "OCILogon");
}

OCILobLocator *temporary_clob()
{
    void *made = nullptr;
    check(OCIDescriptorAlloc(env, &made, OCI_DTYPE_LOB, 0, nullptr), "OCIDescriptorAlloc");
    auto *const value = static_cast<OCILobLocator *>(made);
    check(OCILobCreateTemporary(service, errors, value, 0, SQLCS_IMPLICIT, OCI_TEMP_CLOB, 0,
                                OCI_DURATION_SESSION),
          "OCILobCreateTemporary");
    return value;
}

void write_pieces(OCILobLocator *value, std::string piece, ub4 pieces)
{
    for (ub4 i = 0; i < pieces; ++i) {
        auto amount = static_cast<ub4>(piece.size());
        check(OCILobWrite(service, errors, value, &amount, 1 + i * piece_size, piece.data(), amount,
                          OCI_ONE_PIECE, nullptr, nullptr, 0, SQLCS_IMPLICIT),
              "OCILobWrite");
    }
}

// Characters of one byte become characters of two, so that what stands behind each piece has to make room.
void overwrite(benchmark::State &state)
{
    const auto pieces = static_cast<ub4>(state.range(0));
    std::string wide;
    while (wide.size() < std::size_t{2} * piece_size)
        wide += "\xC3\xA9";
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        OCILobLocator *const value = temporary_clob();
        write_pieces(value, std::string(piece_size, 'e'), pieces);
        state.ResumeTiming();
        write_pieces(value, wide, pieces);
        state.PauseTiming();
        ub4 length = 0;
        check(OCILobGetLength(service, errors, value, &length), "OCILobGetLength");
        if (length != pieces * piece_size)
            state.SkipWithError("the LOB has another length than was written");
        OCIDescriptorFree(value, OCI_DTYPE_LOB);
        state.ResumeTiming();
    }
    state.SetComplexityN(pieces);
    state.counters["per_piece"] = benchmark::Counter(pieces, benchmark::Counter::kIsIterationInvariantRate |
                                                                 benchmark::Counter::kInvert);
}

BENCHMARK(overwrite)->RangeMultiplier(2)->Range(64, 2048)->Unit(benchmark::kMillisecond)->Complexity();

} // namespace

int main(int count, char **arguments)
{
    const auto directory = std::filesystem::temp_directory_path() / "lob_pieces";
    std::filesystem::create_directories(directory);
    std::ofstream created(directory / "lob_pieces.db");
    created.close();
    setenv("SQLITE_OCI_CLNTSH_DIR", directory.c_str(), 1);
    connect();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    OCIHandleFree(env, OCI_HTYPE_ENV);
    std::filesystem::remove_all(directory);
    return 0;
}
