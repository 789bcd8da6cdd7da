#include "credentials.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <fmt/format.h>

#include "interrupt.h"
#include "user_error.h"

namespace dkomsql
{

namespace
{

/// The terminal of the process, not showing what is typed.
class SilentTerminal
{
public:
    SilentTerminal() : terminal_(open("/dev/tty", O_RDWR | O_CLOEXEC))
    {
        if (terminal_ < 0 || tcgetattr(terminal_, &before_) != 0)
            return;
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        is_silent_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
    }

    ~SilentTerminal()
    {
        if (is_silent_)
            tcsetattr(terminal_, TCSAFLUSH, &before_);
        if (terminal_ >= 0)
            close(terminal_);
    }

    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

    bool is_silent() const { return is_silent_; }

    void show(std::string_view text) const
    {
        if (write(terminal_, text.data(), text.size()) < 0)
            return; // a prompt that is not seen
    }

    /// The next line; nothing at the end of the input and after Ctrl-C.
    std::optional<std::string> read_line() const
    {
        std::string line;
        for (char c = 0; read(terminal_, &c, 1) == 1;) {
            if (c == '\n')
                return line;
            line += c;
        }
        return std::nullopt;
    }

private:
    int terminal_;
    termios before_{};
    bool is_silent_ = false;
};

Secret ask(const std::string &user, const std::string &link)
{
    const CatchInterrupts caught; // the terminal has to show again what is typed
    const SilentTerminal terminal;
    if (!terminal.is_silent())
        throw UserError(fmt::format("there is no terminal to ask for {}'s password; give it in the variable "
                                    "DKOMSQL_PASSWORD or with --password-file FILE",
                                    user));
    terminal.show(fmt::format("Password of {} on {}: ", user, link));
    const std::optional<std::string> line = terminal.read_line();
    terminal.show("\n");
    if (!line)
        throw UserError("no password was given");
    return Secret(*line);
}

Secret read_password(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!file)
        throw UserError(fmt::format("cannot open the password file {}: {}", path, std::strerror(errno)));
    if (const std::string reason = why_unsafe(path, true); !reason.empty())
        throw UserError(fmt::format("the password file {} {}", path, reason));
    std::getline(file, line);
    if (line.ends_with('\r'))
        line.pop_back();
    if (line.empty())
        throw UserError(fmt::format("the password file {} has no password in its first line", path));
    return Secret(line);
}

} // namespace

Secret &Secret::operator=(Secret &&other) noexcept
{
    std::swap(text_, other.text_);
    other.wipe();
    return *this;
}

void Secret::wipe()
{
    explicit_bzero(text_.data(), text_.size());
    text_.clear();
}

ConnectTarget parse_target(std::string_view text)
{
    bool quoted = false;
    std::size_t slash = std::string_view::npos;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] == '"')
            quoted = !quoted;
        if (quoted)
            continue;
        if (text[i] == '(')
            break; // a connect descriptor
        if (text[i] == '/' && slash == std::string_view::npos)
            slash = i;
        if (text[i] != '@')
            continue;
        const std::string_view user = text.substr(0, std::min(slash, i));
        const bool has_password = slash != std::string_view::npos && (slash > 0 || i > 1);
        if (has_password)
            throw UserError("a password in an argument can be seen by other users of this machine; leave it "
                            "out to be asked for it, or give it in DKOMSQL_PASSWORD or with --password-file");
        return {std::string(user), std::string(text.substr(i + 1))};
    }
    return {std::nullopt, std::string(text)};
}

PasswordSource::PasswordSource(std::string file) : file_(std::move(file))
{
    constexpr const char *variable = "DKOMSQL_PASSWORD";
    if (char *value = std::getenv(variable)) {
        from_environment_ = Secret(value);
        explicit_bzero(value, std::strlen(value)); // the system shows what a program began with
        unsetenv(variable);
    }
}

Secret PasswordSource::password_of(const std::string &user, const std::string &link) const
{
    if (!file_.empty())
        return read_password(file_);
    return from_environment_ ? *from_environment_ : ask(user, link);
}

std::string why_unsafe(const std::string &path, bool secret)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return secret ? "" : "is no regular file"; // a pipe of the shell's is as private as its maker
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return "belongs to another user";
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return fmt::format("can be written by others; chmod go-w {}", path);
    if (secret && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        return fmt::format("can be read by others; chmod go-rwx {}", path);
    return "";
}

} // namespace dkomsql
