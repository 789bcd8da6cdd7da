#include "trace_check.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fmt/format.h>

#include "extended/route_table.h"
#include "oci_manager/trace_settings.h"

namespace dkom_check
{

namespace
{

constexpr unsigned long long little_space = 100ULL << 20; // a busy program fills it within the hour

const char *what_is_written(long level)
{
    if (level < OM_LOG_ASSERT)
        return "nothing, not even why a process is stopped";
    if (level < OM_LOG_ERROR)
        return "only why a process is stopped";
    if (level < OM_LOG_INFO)
        return "failures";
    if (level < OM_LOG_DEBUG)
        return "arguments and results of all calls, with statements and bound values";
    if (level < OM_LOG_LIST)
        return "arguments, results and look-ups, with statements and bound values";
    return level < OM_LOG_TRACE ? "all but the entries of calls, with statements and bound values"
                                : "everything, with statements and bound values";
}

void check_level(const char *text, long level, Report &report)
{
    char *end = nullptr;
    if (text != nullptr)
        std::strtol(text, &end, 10);
    const bool is_number = text == nullptr || (end != text && *end == '\0');
    const nlohmann::json details{{"level", level}};
    if (!is_number || level < OM_LOG_ASSERT)
        report.add({Verdict::warning, "trace",
                    fmt::format("{} is \"{}\", so level {}: {}", OM_LOG_LEVEL_VARIABLE, text, level,
                                what_is_written(level)),
                    "set it to 10, 20, 30, 40, 45 or 50", details});
    else
        report.add({Verdict::ok, "trace",
                    fmt::format("level {}{}: {}", level, text != nullptr ? "" : " (the default)",
                                what_is_written(level)),
                    "", details});
}

/// Why no file can be made in a directory; empty if one can.
std::string why_not_writable(const std::string &directory)
{
    struct stat status = {};
    if (stat(directory.c_str(), &status) != 0)
        return std::strerror(errno);
    if (!S_ISDIR(status.st_mode))
        return "it is no directory";
    if (faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return std::strerror(errno);
    return "";
}

std::string bytes(unsigned long long count)
{
    return count >= (10ULL << 30) ? fmt::format("{} GB", count >> 30) : fmt::format("{} MB", count >> 20);
}

} // namespace

void check_trace(Edition edition, Report &report)
{
    const char *level_text = std::getenv(OM_LOG_LEVEL_VARIABLE);
    const long level =
        level_text != nullptr ? static_cast<int>(std::strtol(level_text, nullptr, 10)) : OM_DEFAULT_LEVEL;
    check_level(level_text, level, report);

    const char *path = std::getenv(OM_LOG_PATH_VARIABLE);
    const std::string directory = path != nullptr ? path : ".";
    const mode_t mask = umask(0);
    umask(mask);
    const mode_t mode = edition == Edition::exact ? OM_LOG_MODE & ~mask : OMX_LOG_MODE & ~mask;
    const std::string name = directory + "/om_<process>.log";
    nlohmann::json details{{"directory", directory}, {"mode", fmt::format("{:04o}", mode)}};

    if (const std::string reason = why_not_writable(directory); !reason.empty()) {
        report.add(
            {Verdict::warning, "trace", fmt::format("{} cannot be written: {}", name, reason),
             fmt::format("make the directory, or let {} name one that the program may write to; until then a "
                         "stop leaves no reason behind, except on the standard error stream",
                         OM_LOG_PATH_VARIABLE),
             details});
        return;
    }
    struct statvfs space = {};
    const bool known = statvfs(directory.c_str(), &space) == 0;
    const unsigned long long left =
        known ? static_cast<unsigned long long>(space.f_bavail) * space.f_frsize : 0;
    if (known)
        details["free_bytes"] = left;
    const bool full = known && left < little_space && level >= OM_LOG_ERROR;
    const bool readable = level >= OM_LOG_INFO && (mode & (S_IRGRP | S_IROTH)) != 0;
    std::string advice;
    if (full)
        advice = "make room, or name another directory: records that do not fit are lost";
    else if (readable)
        advice =
            "others may read what is traced: start the program with umask 077, or take a directory that is closed "
            "to them";
    report.add({full || readable ? Verdict::warning : Verdict::ok, "trace",
                fmt::format("{}{}, mode {:04o}{}", name, path != nullptr ? "" : " (the working directory)",
                            mode, known ? fmt::format(", {} free", bytes(left)) : ""),
                advice, details});
    if (edition == Edition::extended)
        report.add(
            {Verdict::ok,
             "trace",
             fmt::format("a file {}/om_<process>.level with a number changes the level of a running process",
                         directory),
             "",
             {}});
}

void check_routes(Report &report)
{
    const char *routes = std::getenv(OMX_ROUTES_VARIABLE);
    if (routes == nullptr)
        return;
    omx_route route;
    omx_span wrong{routes, routes};
    if (omx_find_route(routes, {routes, routes}, &route, &wrong))
        report.add({Verdict::ok, "routes", fmt::format("{}={}", OMX_ROUTES_VARIABLE, routes), "", {}});
    else
        report.add(
            {Verdict::fault,
             "routes",
             fmt::format("{} cannot be read at \"{}\"; each attach fails with error 90006",
                         OMX_ROUTES_VARIABLE, std::string(wrong.begin, wrong.end)),
             "write LINK=oracle, LINK=dravik, LINK=oracle dravik or LINK=dravik oracle, separated by commas",
             {}});
}

} // namespace dkom_check
