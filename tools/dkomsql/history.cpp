#include "history.h"

#include <cstdlib>
#include <fcntl.h>
#include <histedit.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dkomsql
{

namespace
{

constexpr int history_length = 2000;

History *new_history()
{
    History *made = history_init();
    HistEvent event;
    history(made, &event, H_SETSIZE, history_length);
    history(made, &event, H_SETUNIQUE, 1);
    return made;
}

} // namespace

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

TypedHistory::TypedHistory(std::filesystem::path path) : path_(std::move(path)), entries_(new_history())
{
    HistEvent event;
    if (!path_.empty())
        history(entries_, &event, H_LOAD, path_.c_str());
}

TypedHistory::~TypedHistory()
{
    history_end(entries_);
}

void TypedHistory::remember(const std::string &entry)
{
    HistEvent event;
    history(entries_, &event, H_ENTER, entry.c_str());
    if (!path_.empty())
        add_to_file(entry);
}

/// The file is read again, since other shells add to it, and replaced at once, so that none reads half of it.
void TypedHistory::add_to_file(const std::string &entry) const
{
    std::error_code ignored; // without the file the history lasts as long as the program
    const std::filesystem::path directory = path_.parent_path();
    std::filesystem::create_directories(directory, ignored);
    const int lock = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (lock < 0 || flock(lock, LOCK_EX) != 0) {
        if (lock >= 0)
            close(lock);
        return;
    }
    History *all = new_history();
    HistEvent event;
    history(all, &event, H_LOAD, path_.c_str());
    history(all, &event, H_ENTER, entry.c_str());
    const std::filesystem::path written = path_.string() + ".new";
    const mode_t others_may_not_read = umask(S_IRWXG | S_IRWXO);
    if (history(all, &event, H_SAVE, written.c_str()) != -1)
        std::filesystem::rename(written, path_, ignored);
    umask(others_may_not_read);
    history_end(all);
    close(lock);
}

} // namespace dkomsql
