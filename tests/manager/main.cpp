#include <cstdlib>
#include <optional>

#include <sys/resource.h>

#include "fixture.h"

using namespace manager_tests;

int main(int argc, char **argv)
{
    testing::InitGoogleMock(&argc, argv);

    const rlimit no_core_files{0, 0};
    setrlimit(RLIMIT_CORE, &no_core_files);

    /* Child processes inherit the directory of their parent. */
    std::optional<temporary_directory> trace_directory;
    if (std::getenv("DKOM_LOG_PATH") == nullptr) {
        trace_directory.emplace();
        setenv("DKOM_LOG_PATH", trace_directory->path.c_str(), 1);
    }
    use_backends(variant("normal"), variant("normal"));
    return RUN_ALL_TESTS();
}
