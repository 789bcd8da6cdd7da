#include "line_editor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include "history.h"
#include "interrupt.h"

namespace dkomsql
{

namespace
{

// Terminals put these around what is pasted, once they are told to.
constexpr const char *announce_pastes = "\033[?2004h";
constexpr const char *stop_announcing = "\033[?2004l";
constexpr const char *paste_begins = "\033[200~";
constexpr std::wstring_view paste_ends = L"\033[201~";

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
int read_typed(wchar_t *character)
{
    std::mbstate_t state{};
    for (;;) {
        if (!wait_for_input(STDIN_FILENO))
            return -1;
        char byte = 0;
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
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

bool more_is_waiting()
{
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
}

std::size_t common_prefix(const std::vector<std::string> &texts)
{
    std::size_t length = texts.front().size();
    for (const std::string &text : texts) {
        const auto end =
            std::mismatch(texts.front().begin(), texts.front().begin() + static_cast<std::ptrdiff_t>(length),
                          text.begin(), text.end())
                .first;
        length = static_cast<std::size_t>(end - texts.front().begin());
    }
    return length;
}

void list(const std::vector<std::string> &candidates)
{
    constexpr std::size_t most_shown = 100;
    std::fputs("\r\n", stdout);
    for (std::size_t i = 0; i < candidates.size() && i < most_shown; i++)
        std::fprintf(stdout, "%s  ", candidates[i].c_str());
    if (candidates.size() > most_shown)
        std::fprintf(stdout, "... and %zu more", candidates.size() - most_shown);
    std::fputs("\r\n", stdout);
    std::fflush(stdout);
}

} // namespace

struct LineEditor::State {
    EditLine *editor = nullptr;
    Completer completer;
    std::string prompt;
    std::wstring next; // read before what is typed
    bool announces_pastes = false;

    static State &of(EditLine *editor)
    {
        State *state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return *state;
    }

    static char *prompt_of(EditLine *editor) { return of(editor).prompt.data(); }

    static int read_character(EditLine *editor, wchar_t *character)
    {
        State &state = of(editor);
        if (state.next.empty())
            return read_typed(character);
        *character = state.next.front();
        state.next.erase(0, 1);
        return 1;
    }

    /// Takes a paste up to its end or to the end of a line; then the line is entered and the paste goes on.
    static unsigned char paste(EditLine *editor, int /*key*/)
    {
        std::wstring text;
        wchar_t character = 0;
        bool ended = false;
        while (!ended && read_character(editor, &character) == 1) {
            if (character == L'\r' || character == L'\n') {
                of(editor).next = L"\n";
                for (const char *c = paste_begins; *c != '\0'; c++)
                    of(editor).next += static_cast<wchar_t>(*c);
                break;
            }
            text += character;
            ended = text.ends_with(paste_ends);
        }
        if (ended)
            text.erase(text.size() - paste_ends.size());
        el_winsertstr(editor, text.c_str());
        return CC_REFRESH;
    }

    static unsigned char complete(EditLine *editor, int /*key*/)
    {
        // Nobody types the next key so soon: a terminal that does not announce pastes.
        if (more_is_waiting()) {
            el_insertstr(editor, "\t");
            return CC_REFRESH;
        }
        const LineInfo *line = el_line(editor);
        const std::string_view before(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
        const std::string_view behind(line->cursor, static_cast<std::size_t>(line->lastchar - line->cursor));
        const Completion found = of(editor).completer(before, behind);
        if (found.candidates.empty())
            return CC_REFRESH_BEEP;
        const std::size_t length = common_prefix(found.candidates);
        const bool is_only = found.candidates.size() == 1;
        const std::size_t typed = before.size() - found.start;
        if (length < typed || (length == typed && !is_only)) {
            list(found.candidates);
            return CC_REDISPLAY;
        }
        std::string text = found.candidates.front().substr(0, length);
        if (is_only && !text.ends_with('/'))
            text += ' ';
        // libedit counts characters.
        const auto starts_character = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; };
        el_deletestr(editor,
                     static_cast<int>(std::count_if(before.begin() + static_cast<std::ptrdiff_t>(found.start),
                                                    before.end(), starts_character)));
        el_insertstr(editor, text.c_str());
        return CC_REFRESH;
    }
};

LineEditor::LineEditor(const TypedHistory &typed, Completer completer) : state_(std::make_unique<State>())
{
    state_->completer = std::move(completer);
    const char *terminal = std::getenv("TERM");
    state_->announces_pastes = terminal != nullptr && std::string_view(terminal) != "dumb";
    EditLine *editor = el_init("dkomsql", stdin, stdout, stderr);
    state_->editor = editor;
    el_set(editor, EL_CLIENTDATA, state_.get());
    el_set(editor, EL_PROMPT, &State::prompt_of);
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_HIST, history, typed.get());
    // Of narrow texts libedit makes copies that it never frees.
    el_wset(editor, EL_ADDFN, L"dkomsql-complete", L"complete the word in front of the cursor",
            &State::complete);
    el_wset(editor, EL_ADDFN, L"dkomsql-paste", L"take what is pasted as it is", &State::paste);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(editor, EL_BIND, "^I", "dkomsql-complete", nullptr);
    el_set(editor, EL_BIND, "\\e[200~", "dkomsql-paste", nullptr);
    el_set(editor, EL_GETCFN, &State::read_character);
    el_source(editor, nullptr); // the user's ~/.editrc
}

LineEditor::~LineEditor()
{
    el_end(state_->editor);
}

std::optional<std::string> LineEditor::read_line(const std::string &prompt)
{
    state_->prompt = prompt;
    int length = 0;
    // By itself libedit shows the prompt first: what is typed at once would still be taken as cooked input.
    el_set(state_->editor, EL_PREP_TERM, 1);
    if (state_->announces_pastes)
        std::fputs(announce_pastes, stdout);
    const char *line = el_gets(state_->editor, &length);
    if (state_->announces_pastes)
        std::fputs(stop_announcing, stdout);
    std::fflush(stdout);
    if (line == nullptr || length <= 0 || interrupted()) {
        state_->next.clear();
        el_reset(state_->editor);
        return std::nullopt;
    }
    std::string result(line, static_cast<std::size_t>(length));
    if (result.ends_with('\n'))
        result.pop_back();
    return result;
}

} // namespace dkomsql
