#include "browser.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "program.h"

using nlohmann::json;

std::string Browser::find()
{
    if (const char *chosen = std::getenv("DKOM_BROWSER"))
        return chosen;
    for (const char *path : {"/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"})
        if (access(path, X_OK) == 0)
            return path;
    return "";
}

Browser::Browser(const std::string &program, const std::string &directory)
{
    int to[2];
    int from[2];
    if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipes");
    std::vector<std::string> words{program,
                                   "--headless",
                                   "--no-sandbox", // a sandbox in a container or as root there is none
                                   "--disable-gpu",
                                   "--disable-dev-shm-usage",
                                   "--no-first-run",
                                   "--remote-debugging-pipe",
                                   "--window-size=1280,1000",
                                   "--user-data-dir=" + directory + "/browser",
                                   "about:blank"};
    std::string home = "HOME=" + directory;
    std::string path = "PATH=/usr/bin:/bin";
    char *environment[] = {home.data(), path.data(), nullptr};

    // The protocol's pipes are 3 and 4 there. What they are made of must not be closed by making the other.
    const int in = fcntl(to[0], F_DUPFD_CLOEXEC, 10);
    const int out = fcntl(from[1], F_DUPFD_CLOEXEC, 10);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 3);
    posix_spawn_file_actions_adddup2(&actions, out, 4);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const int fault = posix_spawn(&process_, program.c_str(), &actions, &attributes,
                                  argument_pointers(words).data(), environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    for (const int descriptor : {in, out, to[0], from[1]})
        close(descriptor);
    to_ = to[1];
    from_ = from[0];
    if (fault != 0)
        throw std::runtime_error("cannot start " + program);
}

Browser::~Browser()
{
    close(to_); // tells it to end
    close(from_);
    if (process_ <= 0)
        return;
    for (int i = 0; i < 50; i++) {
        if (waitpid(process_, nullptr, WNOHANG) != 0)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    kill(-process_, SIGKILL); // its own group: the processes that it has started
    waitpid(process_, nullptr, 0);
}

std::string Browser::take_message()
{
    constexpr int patience = 60000; // milliseconds; a busy machine takes long to start a browser
    for (;;) {
        const std::size_t end = waiting_.find('\0');
        if (end != std::string::npos) {
            std::string message = waiting_.substr(0, end);
            waiting_.erase(0, end + 1);
            return message;
        }
        pollfd ready{from_, POLLIN, 0};
        char bytes[65536];
        if (poll(&ready, 1, patience) <= 0)
            throw std::runtime_error("the browser does not answer");
        const ssize_t got = read(from_, bytes, sizeof bytes);
        if (got <= 0)
            throw std::runtime_error("the browser has ended");
        waiting_.append(bytes, static_cast<std::size_t>(got));
    }
}

json Browser::ask(const std::string &method, const json &parameters)
{
    json message{{"id", ++last_id_}, {"method", method}, {"params", parameters}};
    if (!session_.empty())
        message["sessionId"] = session_;
    const std::string text = message.dump() + '\0';
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t written = write(to_, text.data() + sent, text.size() - sent);
        if (written <= 0)
            throw std::runtime_error("the browser has ended");
        sent += static_cast<std::size_t>(written);
    }
    for (;;) {
        const json answer = json::parse(take_message());
        if (answer.value("id", 0) != last_id_)
            continue; // something that happened meanwhile
        if (answer.contains("error"))
            throw std::runtime_error(method + ": " + answer["error"].dump());
        return answer.at("result");
    }
}

void Browser::open(const std::string &url, const std::string &until)
{
    session_.clear();
    const std::string target = ask("Target.createTarget", {{"url", url}}).at("targetId");
    session_ = ask("Target.attachToTarget", {{"targetId", target}, {"flatten", true}}).at("sessionId");
    for (int i = 0; i < 300; i++) {
        if (value_of("document.readyState == 'complete' && !!(" + until + ")") == true)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    throw std::runtime_error("never true in " + url + ": " + until);
}

json Browser::value_of(const std::string &expression)
{
    const json answer = ask("Runtime.evaluate",
                            {{"expression", expression}, {"returnByValue", true}, {"awaitPromise", true}});
    if (answer.contains("exceptionDetails"))
        throw std::runtime_error(expression + ": " + answer["exceptionDetails"].dump());
    return answer.at("result").value("value", json());
}

void Browser::mouse(const std::string &type, double x, double y, double wheel)
{
    json parameters{{"type", type}, {"x", x}, {"y", y}};
    if (type == "mouseWheel") {
        parameters["deltaX"] = 0;
        parameters["deltaY"] = wheel;
    } else {
        parameters["button"] = "left";
        parameters["buttons"] = type == "mouseReleased" ? 0 : 1;
        parameters["clickCount"] = 1;
    }
    ask("Input.dispatchMouseEvent", parameters);
}

void Browser::press(const std::string &key)
{
    json parameters{{"type", "keyDown"}, {"key", key}};
    if (key.size() == 1)
        parameters["text"] = key;
    ask("Input.dispatchKeyEvent", parameters);
    parameters["type"] = "keyUp";
    parameters.erase("text");
    ask("Input.dispatchKeyEvent", parameters);
}
