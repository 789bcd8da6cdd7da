#include "recording.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <set>

#include "oci_manager/entry_points.h"

namespace recording
{
namespace
{

/* A parameter that receives a new object. */
struct output {
    std::size_t position;
    int user_memory_position = -1; // none
    bool keeps_known = false;      // an object that the variable holds already is used again
};

const std::map<std::string, output> outputs{
    {"OCIEnvCreate", {0, 7}},         {"OCIEnvNlsCreate", {0, 7}},       {"OCIEnvInit", {0, 3}},
    {"OCIHandleAlloc", {1, 4}},       {"OCIDescriptorAlloc", {1, 4}},    {"OCIBindByPos", {1, -1, true}},
    {"OCIBindByName", {1, -1, true}}, {"OCIDefineByPos", {1, -1, true}}, {"OCIStmtPrepare2", {1}},
    {"OCIParamGet", {3, -1, true}},
};

/* Positions of text arguments; the next one is the length. */
const std::map<std::string, std::size_t> texts{{"OCIServerAttach", 2},
                                               {"OCIStmtPrepare", 2},
                                               {"OCIStmtPrepare2", 3},
                                               {"OCIBindByName", 3},
                                               {"OCIAttrSet", 2}}; // of a session only

std::string text_of(const std::string &function, const words &arguments)
{
    const auto found = texts.find(function);
    if (found == texts.end() || (function == "OCIAttrSet" && arguments[1] != OCI_HTYPE_SESSION))
        return {};
    const auto *text = from_word<const char *>(arguments[found->second]);
    const auto length = static_cast<sb4>(arguments[found->second + 1]);
    return text == nullptr || length <= 0 ? std::string()
                                          : std::string(text, static_cast<std::size_t>(length));
}

class recorder : public backend
{
public:
    using backend::backend;

    void next(const std::string &function, sword result, std::function<void(const words &)> effect) override
    {
        const std::lock_guard lock(mutex);
        waiting[function].push_back({result, std::move(effect)});
    }

    void always(const std::string &function, sword result, std::function<void(const words &)> effect) override
    {
        const std::lock_guard lock(mutex);
        standing[function] = {result, std::move(effect)};
    }

    void reset() override
    {
        const std::lock_guard lock(mutex);
        waiting.clear();
        standing.clear();
        error_text = "no error";
        error_code = 0;
        calls_itself = false;
    }

    /* Memory is never given back, so that no address is handed out twice. */
    void *create() override
    {
        void *handle = std::calloc(4, sizeof(void *));
        const std::lock_guard lock(mutex);
        objects.insert(handle);
        return handle;
    }

    bool alive(const void *handle) override
    {
        const std::lock_guard lock(mutex);
        return objects.count(handle) != 0;
    }

    sword handle_call(const char *function, const words &arguments)
    {
        {
            const std::lock_guard lock(log->mutex);
            log->calls.push_back({library, function, arguments, text_of(function, arguments)});
        }
        const answer chosen = take_answer(function);
        if (chosen.effect)
            chosen.effect(arguments);
        else if (chosen.result == OCI_SUCCESS || chosen.result == OCI_SUCCESS_WITH_INFO)
            usual_outputs(function, arguments);
        return chosen.result;
    }

private:
    answer take_answer(const std::string &function)
    {
        const std::lock_guard lock(mutex);
        auto &queue = waiting[function];
        if (queue.empty())
            return standing[function];
        answer first = std::move(queue.front());
        queue.pop_front();
        return first;
    }

    void usual_outputs(const std::string &function, const words &arguments)
    {
        if (const auto found = outputs.find(function); found != outputs.end()) {
            const output &o = found->second;
            void *&variable = target<void *>(arguments[o.position]);
            if (!(o.keeps_known && alive(variable)))
                variable = create();
            if (o.user_memory_position >= 0)
                store<void *>(arguments[static_cast<std::size_t>(o.user_memory_position)], user_memory);
        } else if (function == "OCIHandleFree" || function == "OCIDescriptorFree") {
            const std::lock_guard lock(mutex);
            objects.erase(from_word<const void *>(arguments[0]));
        } else if (function == "OCIErrorGet") {
            if (arguments[2] != 0)
                std::memcpy(from_word<char *>(arguments[2]), "SQ001", 6);
            store<sb4>(arguments[3], error_code);
            const std::size_t room = static_cast<ub4>(arguments[5]);
            std::memcpy(from_word<char *>(arguments[4]), error_text.c_str(),
                        std::min(room, error_text.size() + 1));
        }
    }

    template <class T> static void store(word address, T value)
    {
        if (address != 0)
            target<T>(address) = value;
    }

    std::mutex mutex;
    std::map<std::string, std::deque<answer>> waiting;
    std::map<std::string, answer> standing;
    std::set<const void *> objects;
};

recorder &this_backend()
{
    static auto &instance = *new recorder(RECORDING_LIBRARY);
    return instance;
}

enum entry_index : std::size_t {
#define RECORDING_INDEX(name, type) index_##name,
    OCI_ENTRY_POINTS(RECORDING_INDEX)
#undef RECORDING_INDEX
};

constexpr const char *entry_names[] = {
#define RECORDING_NAME(name, type) #name,
    OCI_ENTRY_POINTS(RECORDING_NAME)
#undef RECORDING_NAME
};

/* The function behind an entry point. */
template <std::size_t Index, class Prototype> struct entry;

template <std::size_t Index, class R, class... A> struct entry<Index, R(A...)> {
    static R run(A... arguments)
    {
        recorder &backend = this_backend();
        if (backend.quiet) {
            backend.quiet_calls.fetch_add(1, std::memory_order_relaxed);
            return from_word<R>(0);
        }
        if (Index == index_OCIStmtFetch && backend.calls_itself)
            call_itself();
        return from_word<R>(
            static_cast<word>(backend.handle_call(entry_names[Index], {to_word(arguments)...})));
    }

    static void call_itself()
    {
        sword version = 0;
        OCIClientVersion(&version, &version, &version, &version, &version);
    }
};

/* Arguments beyond the named ones are not recorded: nothing can know their number. */
template <std::size_t Index, class R, class... A> struct entry<Index, R(A..., ...)> {
    static R run(A... arguments, ...) { return entry<Index, R(A...)>::run(arguments...); }
};

} // namespace
} // namespace recording

/*
 * Each exported name jumps to the instance of the template above that bears its signature: one line an entry
 * point, and no body can disagree with the published prototype.
 */
#define RECORDING_EXPORT(name, type)                                                                         \
    extern "C" {                                                                                             \
    __attribute__((used, visibility("hidden"))) decltype(&::name) recording_entry_##name =                   \
        &recording::entry<recording::index_##name, decltype(::name)>::run;                                   \
    }                                                                                                        \
    __asm__(".pushsection .text\n.globl " #name "\n.type " #name ",@function\n" #name                        \
            ": jmp *recording_entry_" #name "(%rip)\n.size " #name ", .-" #name "\n.popsection\n");
OCI_ENTRY_POINTS(RECORDING_EXPORT)
#undef RECORDING_EXPORT

extern "C" recording::backend *recording_backend();

recording::backend *recording_backend()
{
    return &recording::this_backend();
}
