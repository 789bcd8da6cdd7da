/* Runs parts of a test in a process of their own, which may die or hang. */
#ifndef SAFETY_CHILD_H
#define SAFETY_CHILD_H

#include <functional>
#include <string>

struct child_result {
    int status = -1;    // as waitpid() gives it; -1: killed for taking too long
    std::string output; // of both streams

    bool succeeded() const { return status == 0; }
};

/* The exit status of the child is 0 if the body ends and no expectation in it fails. */
child_result run_in_child(const std::function<void()> &body);

/* A directory for traces, set as DKOM_LOG_PATH, at a trace level, for as long as it lives. */
class trace_directory
{
public:
    explicit trace_directory(int level);
    ~trace_directory();
    trace_directory(const trace_directory &) = delete;
    trace_directory &operator=(const trace_directory &) = delete;

    std::string path;
    /* Of all files. */
    std::string contents() const;
};

#endif
