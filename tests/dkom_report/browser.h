#ifndef TESTS_BROWSER_H
#define TESTS_BROWSER_H

#include <string>

#include <nlohmann/json.hpp>
#include <sys/types.h>

/// A Chromium without a window, driven through its DevTools protocol over pipes.
class Browser
{
public:
    /// The program, from DKOM_BROWSER or the usual places; empty if there is none.
    static std::string find();

    /// Starts the program with its files in a directory. Throws std::runtime_error if it does not answer.
    Browser(const std::string &program, const std::string &directory);
    ~Browser();
    Browser(const Browser &) = delete;
    Browser &operator=(const Browser &) = delete;

    /// Opens a page and waits until an expression is true in it.
    void open(const std::string &url, const std::string &until);

    /// The value of a JavaScript expression; promises are waited for.
    nlohmann::json value_of(const std::string &expression);

    /// As a user does: `type` is mouseMoved, mousePressed, mouseReleased or mouseWheel.
    void mouse(const std::string &type, double x, double y, double wheel = 0);
    /// Presses and releases a key: "a", "ArrowDown".
    void press(const std::string &key);

private:
    nlohmann::json ask(const std::string &method, const nlohmann::json &parameters);
    std::string take_message();

    pid_t process_ = -1;
    int to_ = -1;
    int from_ = -1;
    int last_id_ = 0;
    std::string session_;
    std::string waiting_;
};

#endif
