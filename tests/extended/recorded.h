/*
 * A program on the extended edition with recording backends: one handle of each kind, all of one connection.
 */
#ifndef EXTENDED_RECORDED_H
#define EXTENDED_RECORDED_H

#include <array>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <oci.h>

#include "prototypes.h"
#include "recording.h"

namespace extended_tests
{

using recording::from_word;
using recording::target;
using recording::to_word;
using recording::word;
using recording::words;

enum side : unsigned int { oracle = 0, dravik = 1 };

/* Opens the recording libraries; a side that is missing is hidden from the library under test. */
void use_backends(const std::string &missing);
/* Whether a side is there. */
bool has(side s);
/* Where calls go that belong to no connection. */
side home();

recording::backend &backend(side s);
std::vector<recording::call> &calls();
/* Safe while other threads make calls. */
void forget_calls();

/* Handles of the backends behind those of the program. */
using own_handles = std::array<void *, 2>;

class program
{
public:
    /* Connects to a side; the other refuses. */
    explicit program(side connected_to);
    ~program();
    program(const program &) = delete;
    program &operator=(const program &) = delete;

    /* A handle of a type; the first of its kind, or another one. */
    void *handle(int type);
    void *another(int type);
    template <class T> T *get(int type) { return static_cast<T *>(handle(type)); }
    OCIEnv *env() { return get<OCIEnv>(OCI_HTYPE_ENV); }
    OCIError *err() { return get<OCIError>(OCI_HTYPE_ERROR); }
    OCISvcCtx *svc() { return get<OCISvcCtx>(OCI_HTYPE_SVCCTX); }
    OCIStmt *stmt() { return get<OCIStmt>(OCI_HTYPE_STMT); }

    /* What a backend holds for a handle. */
    void *own(const void *handle, side s) const;
    /* Lets each backend remember what it makes in a call for its caller's variable at a position. */
    void watch(const std::string &function, std::size_t position);
    /* Notes that a handle stands for what the backends have made since the last time. */
    void *note(void *handle);

    const side bound;

private:
    void *make(int type);

    own_handles made{};
    std::map<const void *, own_handles> known;
    std::map<int, void *> handles;
};

} // namespace extended_tests

#endif
