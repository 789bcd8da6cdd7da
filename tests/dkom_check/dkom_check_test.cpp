// The check of an installation, on libraries that are sound and on such as are not.
#include <elf.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "program.h"

namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::json;

std::string content_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DkomCheck : public ProgramTest
{
protected:
    DkomCheck() : ProgramTest(CHECK_PROGRAM)
    {
#ifdef __SANITIZE_ADDRESS__
        // The sanitizer opens libraries in the program's place, where the program's RUNPATH does not count.
        set_variable("LD_LIBRARY_PATH=" + fs::path(EXACT_LIBRARY).parent_path().string());
#endif
    }

    /// Runs the check and expects this exit status; returns its report.
    Json report(int status, Arguments arguments)
    {
        arguments.emplace_back("--json");
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.out << outcome.err;
        Json json = Json::parse(outcome.out, nullptr, false);
        if (!json.is_object())
            throw std::runtime_error("no report: " + outcome.out + outcome.err);
        return json;
    }

    /// The worst finding about a subject.
    static Json finding(const Json &report, const std::string &subject)
    {
        const std::vector<std::string> verdicts{"fault", "refused", "warning", "ok"};
        for (const std::string &verdict : verdicts)
            for (const Json &f : report["findings"])
                if (f["subject"] == subject && f["verdict"] == verdict)
                    return f;
        throw std::runtime_error("no finding about " + subject + ": " + report["summary"].get<std::string>());
    }

    static std::string kind(const Json &finding)
    {
        return finding["details"].value("kind", "none");
    }

    /// A file that is damaged from the embedded library.
    void write_damaged(const std::string &name, const std::function<void(std::string &)> &damage) const
    {
        std::string content = content_of(CLIENT_LIBRARY_DIR "/libclntsh.so");
        damage(content);
        write_file(name, content);
    }

    void use_as_oracle(const std::string &library_directory)
    {
        set_variable("DKOM_ORA_LIB_PATH=" + library_directory);
    }
};

TEST_F(DkomCheck, SoundInstallation)
{
    for (const char *edition : {"exact", "extended"}) {
        const Json sound = report(0, {"--edition", edition});
        EXPECT_EQ(sound["verdict"], "ok") << sound;
        EXPECT_EQ(finding(sound, "edition")["details"]["edition"], edition);
        EXPECT_EQ(finding(sound, "Oracle")["details"]["version"], "11.2.0.0.0");
    }
    const Outcome plain = run({});
    EXPECT_EQ(plain.out.find('\x1b'), std::string::npos) << "colours in a file";
    EXPECT_TRUE(plain.says(0, "\nok       a program would start\n"));
    EXPECT_TRUE(run({"--version"}).says(0, "dkom-check 1."));
    EXPECT_EQ(run({"--no-such-option"}).status, 2);
    EXPECT_EQ(run({"--user", "scott"}).status, 2) << "a user without a link";
}

// What keeps a client library from being used, each with the loader's reasons told apart.
TEST_F(DkomCheck, ClientLibraryThatCannotBeUsed)
{
    struct Case {
        std::string kind;
        std::string advice;
        std::function<void(const std::string &)> make; ///< makes the file; null: it is in `directory`
        std::string directory;
        bool ends_process = false; ///< the extended edition does not start either
    };
    const auto in = [](const std::string &name) { return std::string(BROKEN_DIRECTORY "/") + name; };
    const auto write_header = [this](const std::string &name, std::size_t at, unsigned char value) {
        write_damaged(name, [&](std::string &c) { c.at(at) = static_cast<char>(value); });
    };
    const std::vector<Case> cases{
        {"missing", "DKOM_ORA_LIB_PATH", nullptr, "/nowhere"},
        {"missing", "ln -s libclntsh.so.11.1", [&](const std::string &n) { write_file(n + ".11.1", ""); },
         ""},
        {"no regular file", "", [&](const std::string &n) { fs::create_directory(directory() / n); }, ""},
        {"empty", "", [&](const std::string &n) { write_file(n, ""); }, ""},
        {"not ELF", "", [&](const std::string &n) { write_file(n, "This is no library.\n"); }, ""},
        {"truncated", "", [&](const std::string &n) { write_damaged(n, [](auto &c) { c.resize(40); }); }, ""},
        {"truncated", "",
         [&](const std::string &n) { write_damaged(n, [](auto &c) { c.resize(c.size() / 3); }); }, ""},
        {"wrong machine", "this machine",
         [&](const std::string &n) { write_header(n, offsetof(Elf64_Ehdr, e_machine), EM_S390); }, ""},
        {"wrong class", "64 bits", [&](const std::string &n) { write_header(n, EI_CLASS, ELFCLASS32); }, ""},
        {"itself", "Oracle's own directory",
         [&](const std::string &n) { fs::create_symlink(EXACT_LIBRARY, directory() / n); }, ""},
        {"itself", "Oracle's own directory",
         [&](const std::string &n) { fs::create_symlink(EXTENDED_LIBRARY, directory() / n); }, ""},
        {"missing dependency", "LD_LIBRARY_PATH", nullptr, in("needs_others")},
        {"no environment", "", nullptr, in("no_client")},
        {"no environment", "ORACLE_HOME", nullptr, in("refuses")},
        {"no environment", "", nullptr, in("crashes_later"), true},
        {"crash", "", nullptr, in("crashes"), true},
        {"crash", "", nullptr, in("hangs"), true},
    };
    int number = 0;
    for (const Case &c : cases) {
        const std::string made = "broken" + std::to_string(number++);
        if (c.make) {
            fs::create_directory(directory() / made);
            c.make(made + "/libclntsh.so");
        }
        use_as_oracle(c.make ? (directory() / made).string() : c.directory);
        const std::string timeout = c.directory == in("hangs") ? "0.5" : "20";
        const Json exact = finding(report(1, {"--timeout", timeout}), "Oracle");
        EXPECT_EQ(exact["verdict"], "fault") << exact;
        EXPECT_EQ(kind(exact), c.kind) << exact;
        EXPECT_NE(exact["advice"].get<std::string>().find(c.advice), std::string::npos) << exact;

        // The other library serves everything.
        const Json extended = finding(
            report(c.ends_process ? 1 : 0, {"--edition", "extended", "--timeout", timeout}), "Oracle");
        EXPECT_EQ(extended["verdict"], c.ends_process ? "fault" : "warning") << extended;
    }

    use_as_oracle((directory() / "closed").string());
    write_damaged("libclntsh.so", [](auto &) {});
    fs::create_directory(directory() / "closed");
    fs::rename(directory() / "libclntsh.so", directory() / "closed/libclntsh.so");
    chmod((directory() / "closed/libclntsh.so").c_str(), 0);
    if (geteuid() != 0) { // root reads everything
        EXPECT_EQ(kind(finding(report(1, {}), "Oracle")), "no permission");
    }

    use_as_oracle(CLIENT_LIBRARY_DIR);
    set_variable("DKOM_DRK_LIB_PATH=/nowhere");
    EXPECT_EQ(kind(finding(report(1, {}), "Dravik")), "missing");
    use_as_oracle("/nowhere");
    report(1, {"--edition", "extended"});
}

TEST_F(DkomCheck, EntryPointsThatAreMissing)
{
    use_as_oracle(RECORDING_DIRECTORY "/missing_names");
    EXPECT_EQ(finding(report(0, {}), "Oracle")["details"].value("matter", Json::array()).size(), 0U);

    use_as_oracle(RECORDING_DIRECTORY "/missing_rollback");
    EXPECT_EQ(finding(report(0, {}), "Oracle")["details"]["matter"], Json({"OCITransRollback"}));
    EXPECT_EQ(finding(report(1, {EXACT_PROGRAM}), "Oracle")["details"]["matter"], Json({"OCITransRollback"}));
    EXPECT_EQ(finding(report(0, {EXTENDED_PROGRAM}), "Oracle")["verdict"], "warning");
}

TEST_F(DkomCheck, Programs)
{
    // The edition is the one that the loader finds for the program.
    EXPECT_EQ(finding(report(0, {EXACT_PROGRAM}), "edition")["details"]["edition"], "exact");
    EXPECT_EQ(finding(report(0, {EXTENDED_PROGRAM}), "edition")["details"]["edition"], "extended");

    const Json unserved = report(1, {UNSERVED_PROGRAM});
    EXPECT_EQ(finding(unserved, "calls")["details"]["unserved"], Json({"OCILobTrim", "ocom"}));
    EXPECT_EQ(finding(unserved, "program")["details"]["name"], "libclntsh.so");
    EXPECT_EQ(finding(report(0, {"--edition", "extended", UNSERVED_PROGRAM}), "calls")["verdict"], "ok");

#ifndef __SANITIZE_ADDRESS__ // which needs LD_LIBRARY_PATH for itself
    // Redirected by a link of the vendor's name, as README tells.
    fs::create_directory(directory() / "redirect");
    fs::create_symlink(EXTENDED_LIBRARY, directory() / "redirect/libclntsh.so");
    set_variable("LD_LIBRARY_PATH=" + (directory() / "redirect").string());
    const Json redirected = report(0, {UNSERVED_PROGRAM});
    EXPECT_EQ(finding(redirected, "edition")["details"]["edition"], "extended") << redirected;
#endif

    write_file("script", "#!/bin/sh\n");
    write_damaged("half", [](auto &c) { c.resize(c.size() / 2); });
    EXPECT_EQ(kind(finding(report(1, {"./script"}), "program")), "not ELF");
    EXPECT_EQ(kind(finding(report(1, {"./half"}), "program")), "truncated");
    EXPECT_EQ(kind(finding(report(1, {"./nothing"}), "program")), "missing");
    EXPECT_EQ(kind(finding(report(1, {BROKEN_DIRECTORY "/needs_others/libclntsh.so"}), "program")),
              "missing dependency");
    EXPECT_EQ(finding(report(0, {"sh"}), "program")["verdict"], "warning") << "makes no OCI calls";
}

TEST_F(DkomCheck, Trace)
{
    struct Case {
        std::string variable;
        std::string text;
        std::string exact;
        std::string extended;
    };
    const std::vector<Case> cases{
        {"DKOM_LOG_LEVEL=10", "level 10", "ok", "ok"},
        {"DKOM_LOG_LEVEL=high", "\"high\", so level 0", "warning", "warning"},
        {"DKOM_LOG_LEVEL=30", "om_<process>.log", "warning", "ok"}, // others may read the exact edition's
        {"DKOM_LOG_PATH=/nowhere", "No such file", "warning", "warning"},
        {"DKOM_LOG_PATH=" CHECK_PROGRAM, "no directory", "warning", "warning"},
    };
    const mode_t mask = umask(022);
    for (const Case &c : cases) {
        set_variable(c.variable);
        for (const char *edition : {"exact", "extended"}) {
            const Json found = finding(report(0, {"--edition", edition}), "trace");
            EXPECT_EQ(found["verdict"], edition == std::string("exact") ? c.exact : c.extended) << found;
            const bool told = found["text"].get<std::string>().find(c.text) != std::string::npos;
            EXPECT_TRUE(told || found["verdict"] == "ok") << found;
        }
    }
    umask(mask);
}

// ---- each found with one command

TEST_F(DkomCheck, FindsAFailedStart)
{
    set_variable("DKOM_ORA_LIB_PATH=" + (directory() / "oracle").string());
    EXPECT_GT(run_other(EXACT_PROGRAM, {"world"}).status, 128) << "the program is stopped";
    EXPECT_TRUE(
        run({EXACT_PROGRAM})
            .says(1, "fault    Oracle   " + (directory() / "oracle/libclntsh.so").string() +
                         ": No such file or directory\n                  -> let DKOM_ORA_LIB_PATH name"));
    use_as_oracle(CLIENT_LIBRARY_DIR); // as it says
    report(0, {EXACT_PROGRAM});
    EXPECT_EQ(run_other(EXACT_PROGRAM, {"world", "--lob-mb", "1"}).status, 0);
}

TEST_F(DkomCheck, FindsAWrongBackend)
{
    // Meant for Dravik, and known to Oracle too.
    write_file("oracle/mars.db", "");
    const Outcome outcome = run({"--attach", "mars", "--expect", "dravik"});
    EXPECT_TRUE(outcome.says(3, "Oracle   accepts the link mars\n"));
    EXPECT_TRUE(
        outcome.says(3, "refused  link     mars is served by Oracle; asked in this order: Oracle, Dravik; "
                        "Dravik is expected\n"));
    EXPECT_EQ(finding(report(0, {"--attach", "mars"}), "link")["verdict"], "warning");
    const Arguments extended{"--edition", "extended", "--attach", "mars", "--expect", "dravik"};
    EXPECT_NE(
        finding(report(3, extended), "link")["advice"].get<std::string>().find("DKOM_ROUTES=mars=dravik"),
        std::string::npos);
    set_variable("DKOM_ROUTES=mars=dravik"); // as it says
    EXPECT_EQ(finding(report(0, extended), "link")["details"]["served_by"], "Dravik");
    set_variable("DKOM_ROUTES=mars=nobody");
    EXPECT_EQ(finding(report(1, extended), "routes")["verdict"], "fault");
}

TEST_F(DkomCheck, Attach)
{
    for (const char *edition : {"exact", "extended"}) {
        for (const auto &[link, maker] : {std::pair("world", "Oracle"), std::pair("mars", "Dravik")}) {
            const Json served = report(0, {"--edition", edition, "--attach", link, "--user", "/"});
            EXPECT_EQ(finding(served, "link")["details"]["served_by"], maker) << served;
            EXPECT_EQ(finding(served, "session")["verdict"], "ok") << served;
        }
        const Json refused = report(3, {"--edition", edition, "--attach", "nobody"});
        for (const char *maker : {"oracle", "dravik"})
            EXPECT_NE(refused.dump().find(std::string(maker) + "/nobody.db"), std::string::npos) << refused;
    }
    EXPECT_EQ(take_trace(), "") << "the trace of the attempt is left behind";

    const Arguments user{"--edition", "extended", "--attach", "world", "--user", "scott"};
    set_variable("DKOM_CHECK_PASSWORD=tiger");
    EXPECT_EQ(finding(report(0, user), "session")["verdict"], "ok");
    write_file("password", "tiger\n");
    report(0,
           {"--edition", "extended", "--attach", "world", "--user", "scott", "--password-file", "password"});
    EXPECT_TRUE(run({"--attach", "world", "--user", "scott"})
                    .ends(2, "dkom-check: the exact edition takes external"));
}

} // namespace
