#include "line_editor.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <histedit.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "interrupt.h"

namespace dkomsql
{

namespace
{

constexpr int history_length = 2000;

/// Waits until `descriptor` can be read; false after Ctrl-C. SIGINT is let through in ppoll() only, so that
/// none is lost between the look at the flag and the wait.
bool wait_for_input(int descriptor)
{
    sigset_t interrupt;
    sigset_t before;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupt, &before);
    pollfd waiting{descriptor, POLLIN, 0};
    while (!interrupted()) {
        if (ppoll(&waiting, 1, nullptr, &before) >= 0 || errno != EINTR)
            break;
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return !interrupted();
}

/// Reads one character for libedit, which by itself would take up reading again after Ctrl-C.
int read_character(EditLine *editor, wchar_t *character)
{
    std::FILE *input = nullptr;
    el_get(editor, EL_GETFP, 0, &input);
    std::mbstate_t state{};
    for (;;) {
        if (!wait_for_input(fileno(input)))
            return -1;
        char byte = 0;
        const ssize_t count = read(fileno(input), &byte, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? -1 : 0;
        const std::size_t decoded = std::mbrtowc(character, &byte, 1, &state);
        if (decoded == static_cast<std::size_t>(-2))
            continue;
        if (decoded == static_cast<std::size_t>(-1)) {
            state = {};
            continue; // a malformed byte is dropped
        }
        return 1;
    }
}

} // namespace

struct LineEditor::State {
    EditLine *editor = nullptr;
    History *history = nullptr;
    std::filesystem::path path;
    std::string prompt;

    static char *prompt_of(EditLine *editor)
    {
        State *state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return state->prompt.data();
    }
};

std::filesystem::path history_file()
{
    const char *state_home = std::getenv("XDG_STATE_HOME");
    if (state_home != nullptr && *state_home == '/')
        return std::filesystem::path(state_home) / "dkomsql" / "history";
    const char *home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
        return {};
    return std::filesystem::path(home) / ".local" / "state" / "dkomsql" / "history";
}

LineEditor::LineEditor(std::filesystem::path history_path) : state_(std::make_unique<State>())
{
    state_->path = std::move(history_path);
    state_->history = history_init();
    state_->editor = el_init("dkomsql", stdin, stdout, stderr);

    HistEvent event;
    history(state_->history, &event, H_SETSIZE, history_length);
    history(state_->history, &event, H_SETUNIQUE, 1);
    if (!state_->path.empty())
        history(state_->history, &event, H_LOAD, state_->path.c_str());

    el_set(state_->editor, EL_CLIENTDATA, state_.get());
    el_set(state_->editor, EL_PROMPT, &State::prompt_of);
    el_set(state_->editor, EL_SIGNAL, 1);
    el_set(state_->editor, EL_EDITOR, "emacs");
    el_set(state_->editor, EL_HIST, history, state_->history);
    el_set(state_->editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(state_->editor, EL_GETCFN, &read_character);
    el_source(state_->editor, nullptr); // the user's ~/.editrc
}

LineEditor::~LineEditor()
{
    el_end(state_->editor);
    history_end(state_->history);
}

std::optional<std::string> LineEditor::read_line(const std::string &prompt)
{
    state_->prompt = prompt;
    int length = 0;
    // By itself libedit shows the prompt first: what is typed at once would still be taken as cooked input.
    el_set(state_->editor, EL_PREP_TERM, 1);
    const char *line = el_gets(state_->editor, &length);
    if (line == nullptr || length <= 0 || interrupted()) {
        el_reset(state_->editor);
        return std::nullopt;
    }
    std::string result(line, static_cast<std::size_t>(length));
    if (result.ends_with('\n'))
        result.pop_back();
    return result;
}

void LineEditor::remember(const std::string &entry)
{
    HistEvent event;
    history(state_->history, &event, H_ENTER, entry.c_str());
    if (state_->path.empty())
        return;
    std::error_code ignored; // without the file the history lasts as long as the program
    std::filesystem::create_directories(state_->path.parent_path(), ignored);
    const mode_t others_may_not_read = umask(S_IRWXG | S_IRWXO);
    history(state_->history, &event, H_SAVE, state_->path.c_str());
    umask(others_may_not_read);
}

} // namespace dkomsql
