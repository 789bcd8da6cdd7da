#include "recording.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <map>
#include <sstream>

#include "oci_manager/entry_points.h"

namespace recording
{
namespace
{

/* A parameter that receives a new object: its type is fixed or itself an argument. */
struct output {
    const char *function;
    std::size_t position;
    int fixed_type; // 0: the argument at type_position
    std::size_t type_position;
    int user_memory_position; // -1: none
    bool keeps_known;         // an object that the variable holds already is used again
};

constexpr output outputs[] = {
    {"OCIEnvCreate", 0, OCI_HTYPE_ENV, 0, 7, false},
    {"OCIEnvNlsCreate", 0, OCI_HTYPE_ENV, 0, 7, false},
    {"OCIEnvInit", 0, OCI_HTYPE_ENV, 0, 3, false},
    {"OCIHandleAlloc", 1, 0, 2, 4, false},
    {"OCIDescriptorAlloc", 1, 0, 2, 4, false},
    {"OCIBindByPos", 1, OCI_HTYPE_BIND, 0, -1, true},
    {"OCIBindByName", 1, OCI_HTYPE_BIND, 0, -1, true},
    {"OCIDefineByPos", 1, OCI_HTYPE_DEFINE, 0, -1, true},
    {"OCIStmtPrepare2", 1, OCI_HTYPE_STMT, 0, -1, false},
    {"OCIParamGet", 3, OCI_DTYPE_PARAM, 0, -1, true},
};

/* Handles that travel as untyped pointers. OCIDescriptorFree is not among them: it may get another library's.
 */
constexpr const char *untyped_principals[] = {
    "OCIHandleAlloc", "OCIHandleFree",    "OCIDescriptorAlloc", "OCIAttrSet",
    "OCIAttrGet",     "OCIErrorGet",      "OCIParamGet",        "OCIParamSet",
    "OCIBreak",       "OCIServerVersion", "OCINlsGetInfo",
};

struct text_argument {
    const char *function;
    std::size_t position;
    std::size_t length_position;
};

constexpr text_argument text_arguments[] = {
    {"OCIServerAttach", 2, 3},
    {"OCIStmtPrepare", 2, 3},
    {"OCIStmtPrepare2", 3, 4},
    {"OCIBindByName", 3, 4},
};

template <class Table> auto find_row(const Table &table, const std::string &function)
{
    return std::find_if(std::begin(table), std::end(table),
                        [&](const auto &row) { return function == row.function; });
}

std::string text_of(const std::string &function, const words &arguments)
{
    const auto *row = find_row(text_arguments, function);
    std::size_t position = 0;
    std::size_t length_position = 0;
    if (row != std::end(text_arguments)) {
        position = row->position;
        length_position = row->length_position;
    } else if (function == "OCIAttrSet" && arguments[1] == OCI_HTYPE_SESSION &&
               (arguments[4] == OCI_ATTR_USERNAME || arguments[4] == OCI_ATTR_PASSWORD)) {
        position = 2;
        length_position = 3;
    } else {
        return {};
    }
    const auto length = static_cast<sb4>(arguments[length_position]);
    if (arguments[position] == 0 || length <= 0)
        return {};
    return {from_word<const char *>(arguments[position]), static_cast<std::size_t>(length)};
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
    void *create(int type, const void *owner) override
    {
        void *handle = std::calloc(4, sizeof(void *));
        const std::lock_guard lock(mutex);
        objects[handle] = {type, owner};
        return handle;
    }

    bool alive(const void *handle) override
    {
        const std::lock_guard lock(mutex);
        return objects.count(handle) != 0;
    }

    sword handle_call(const char *function, const words &arguments, const std::vector<parameter> &parameters)
    {
        check_handles(function, arguments, parameters);
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
    struct object {
        int type;
        const void *owner;
    };

    answer take_answer(const std::string &function)
    {
        const std::lock_guard lock(mutex);
        auto &queue = waiting[function];
        if (!queue.empty()) {
            answer first = std::move(queue.front());
            queue.pop_front();
            return first;
        }
        const auto found = standing.find(function);
        return found == standing.end() ? answer{} : found->second;
    }

    void check_handles(const std::string &function, const words &arguments,
                       const std::vector<parameter> &parameters)
    {
        const bool untyped = std::find(std::begin(untyped_principals), std::end(untyped_principals),
                                       function) != std::end(untyped_principals);
        for (std::size_t i = 0; i < arguments.size(); i++) {
            const int type = parameters[i].handle_type;
            if (type == 0 && !(untyped && i == 0))
                continue;
            const auto *handle = from_word<const void *>(arguments[i]);
            const std::lock_guard lock(mutex);
            const auto found = objects.find(handle);
            if (handle == nullptr ||
                (found != objects.end() && (type == 0 || same_kind(type, found->second.type))))
                continue;
            std::ostringstream report;
            report << (library == oracle ? "Oracle" : "Dravik") << "'s " << function << ", argument " << i
                   << ": " << handle << (found == objects.end() ? " is no handle" : " is of another kind");
            const std::lock_guard log_lock(log->mutex);
            log->violations.push_back(report.str());
        }
    }

    static bool same_kind(int wanted, int type)
    {
        return wanted == type || (wanted == OCI_DTYPE_LOB && type == OCI_DTYPE_FILE);
    }

    void usual_outputs(const std::string &function, const words &arguments)
    {
        const auto *row = find_row(outputs, function);
        if (row != std::end(outputs)) {
            void *&variable = target<void *>(arguments[row->position]);
            const int type =
                row->fixed_type != 0 ? row->fixed_type : static_cast<int>(arguments[row->type_position]);
            if (!(row->keeps_known && alive(variable)))
                variable = create(type, from_word<const void *>(arguments[0]));
            if (row->user_memory_position >= 0) {
                const word address = arguments[static_cast<std::size_t>(row->user_memory_position)];
                if (address != 0)
                    target<void *>(address) = user_memory;
            }
        } else if (function == "OCIHandleFree" || function == "OCIDescriptorFree") {
            forget(from_word<const void *>(arguments[0]));
        } else if (function == "OCIErrorGet") {
            if (arguments[2] != 0)
                std::memcpy(from_word<char *>(arguments[2]), "SQ001", 6);
            if (arguments[3] != 0)
                target<sb4>(arguments[3]) = error_code;
            const std::size_t room = static_cast<ub4>(arguments[5]);
            const std::size_t length = std::min(room, error_text.size() + 1);
            if (arguments[4] != 0)
                std::memcpy(from_word<char *>(arguments[4]), error_text.c_str(), length);
        }
    }

    /* A handle and those that were made under it, as a statement's binds and defines. */
    void forget(const void *handle)
    {
        const std::lock_guard lock(mutex);
        const auto found = objects.find(handle);
        if (found == objects.end())
            return;
        const bool statement = found->second.type == OCI_HTYPE_STMT;
        objects.erase(found);
        if (statement)
            std::erase_if(objects, [&](const auto &entry) { return entry.second.owner == handle; });
    }

    std::mutex mutex;
    std::map<std::string, std::deque<answer>> waiting;
    std::map<std::string, answer> standing;
    std::map<const void *, object> objects;
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
        static const std::vector<parameter> parameters{
            parameter{handle_type<A>(), std::is_pointer_v<A>, sizeof(A)}...};
        return from_word<R>(
            static_cast<word>(backend.handle_call(entry_names[Index], {to_word(arguments)...}, parameters)));
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
