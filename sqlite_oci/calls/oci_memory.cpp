// Memory and pointers that programs have kept with an environment or a session, until they give them up or
// the handle is freed. Durations are not told apart: all last as long as the handle.
#include "calls/value_call.h"
#include "connections/session.h"

#include <algorithm>
#include <cstring>

using namespace sqlite_oci;

namespace
{

constexpr int ora_no_such_block = 21700;
constexpr int ora_bad_key = 21560;

program_memory &memory_of(const void *handle)
{
    if (environment *env = find<environment>(handle))
        return env->memory;
    return required<session>(handle).memory;
}

// Runs `body(program_memory &)`, one thread at a time.
template <class Body> sword with_memory(const void *handle, OCIError *err, Body body)
{
    return served(err, [&](call_errors) {
        program_memory &memory = memory_of(handle);
        const std::lock_guard lock(memory.mutex);
        body(memory);
        return OCI_SUCCESS;
    });
}

std::string key_of(const ub1 *key, ub1 length)
{
    if (!key)
        fail(ora_bad_key, "the key is a null pointer");
    return {reinterpret_cast<const char *>(key), length};
}

void *new_block(program_memory &memory, ub4 size)
{
    auto block = std::make_unique<std::byte[]>(size);
    void *address = block.get();
    memory.blocks[address] = std::move(block);
    memory.sizes[address] = size;
    return address;
}

void free_block(program_memory &memory, void *block)
{
    if (memory.blocks.erase(block) == 0)
        fail(ora_no_such_block, "the block was not allocated with this handle, or was freed");
    memory.sizes.erase(block);
}

} // namespace

extern "C" {

// Memory is cleared whether or not it is asked for.
SQLITE_OCI_EXPORT sword OCIMemoryAlloc(void *hdl, OCIError *err, void **mem, OCIDuration, ub4 size, ub4)
{
    return with_memory(hdl, err, [&](program_memory &memory) {
        if (!mem)
            fail(ora_null_argument, "there is no place for the address");
        *mem = new_block(memory, size);
    });
}

SQLITE_OCI_EXPORT sword OCIMemoryResize(void *hdl, OCIError *err, void **mem, ub4 newsize, ub4)
{
    return with_memory(hdl, err, [&](program_memory &memory) {
        if (!mem || memory.blocks.count(*mem) == 0)
            fail(ora_no_such_block, "the block was not allocated with this handle, or was freed");
        void *moved = new_block(memory, newsize);
        std::memcpy(moved, *mem, std::min<std::size_t>(newsize, memory.sizes[*mem]));
        free_block(memory, *mem);
        *mem = moved;
    });
}

SQLITE_OCI_EXPORT sword OCIMemoryFree(void *hdl, OCIError *err, void *mem)
{
    return with_memory(hdl, err, [&](program_memory &memory) { free_block(memory, mem); });
}

SQLITE_OCI_EXPORT sword OCIContextSetValue(void *hdl, OCIError *err, OCIDuration, ub1 *key, ub1 keylen,
                                           void *ctx_value)
{
    return with_memory(hdl, err,
                       [&](program_memory &memory) { memory.values[key_of(key, keylen)] = ctx_value; });
}

// A key that nothing was kept under has a null pointer.
SQLITE_OCI_EXPORT sword OCIContextGetValue(void *hdl, OCIError *err, ub1 *key, ub1 keylen, void **ctx_value)
{
    return with_memory(hdl, err, [&](program_memory &memory) {
        if (!ctx_value)
            fail(ora_null_argument, "there is no place for the value");
        const auto found = memory.values.find(key_of(key, keylen));
        *ctx_value = found == memory.values.end() ? nullptr : found->second;
    });
}

SQLITE_OCI_EXPORT sword OCIContextClearValue(void *hdl, OCIError *err, ub1 *key, ub1 keylen)
{
    return with_memory(hdl, err, [&](program_memory &memory) { memory.values.erase(key_of(key, keylen)); });
}

SQLITE_OCI_EXPORT sword OCIContextGenerateKey(void *hdl, OCIError *err, ub4 *key)
{
    return with_memory(hdl, err, [&](program_memory &memory) {
        if (!key)
            fail(ora_null_argument, "there is no place for the key");
        *key = ++memory.last_key;
    });
}

} // extern "C"
