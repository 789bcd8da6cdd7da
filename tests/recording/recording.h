/*
 * The recording backends: two OCI client libraries made of one source, which note every call and answer as a
 * test tells them. A test opens a library with the loader, takes its backend object from the exported
 * function recording_backend() and gives both backends one journal, so that their calls stand in order.
 */
#ifndef RECORDING_RECORDING_H
#define RECORDING_RECORDING_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "signature.h"

namespace recording
{

constexpr int oracle = 1;
constexpr int dravik = 2;

struct call {
    int from = 0; // oracle or dravik
    std::string function;
    words arguments;
    std::string text; // contents of the text argument, in the length passed with it
};

/* Calls of both libraries in order. */
struct journal {
    std::mutex mutex;
    std::vector<call> calls;
};

/* What a call returns and, instead of the usual output values, what it does. */
struct answer {
    sword result = 0;
    std::function<void(const words &)> effect;
};

class backend
{
public:
    explicit backend(int library_code) : library(library_code), log(&own_log) {}
    virtual ~backend() = default;
    backend(const backend &) = delete;
    backend &operator=(const backend &) = delete;

    /* Answers the next call of a function that no earlier answer of this kind waits for. */
    virtual void next(const std::string &function, sword result,
                      std::function<void(const words &)> effect = {}) = 0;
    /* Answers every call of a function for which no next answer waits. */
    virtual void always(const std::string &function, sword result,
                        std::function<void(const words &)> effect = {}) = 0;
    /* Forgets all answers; handles stay alive. */
    virtual void reset() = 0;
    /* A new handle or descriptor of this library. Its first eight bytes are the caller's. */
    virtual void *create() = 0;
    virtual bool alive(const void *handle) = 0;

    const int library;
    journal *log;

    /* Counts calls and does nothing else: no recording, no check, no output value, no allocation. */
    std::atomic<bool> quiet{false};
    std::atomic<unsigned long> quiet_calls{0};
    /* OCIStmtFetch calls OCIClientVersion by its exported name when set. */
    std::atomic<bool> calls_itself{false};

    /* What OCIErrorGet reports, and what a user memory pointer is set to. */
    std::string error_text = "no error";
    sb4 error_code = 0;
    char user_memory[8] = {};

private:
    journal own_log;
};

} // namespace recording

/* Exported by either library. */
using recording_backend_function = recording::backend *(void);

#endif
