#ifndef TESSARINE_BENCH_CHILDRUN_H
#define TESSARINE_BENCH_CHILDRUN_H

// Runs one piece of work in a forked child, so that its peak resident set is its own.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace TessarineBench {

/// What the work returned, and the child's peak resident set in kilobytes.
template <typename Result> struct ChildRun {
    Result result;
    long peakKilobytes;
};

/// Runs i_Work() in a child; its result travels back through a pipe. Exits the program, with a
/// message naming i_Name, when the child fails.
template <typename Work> auto inChild(char const* i_Name, Work i_Work) {
    using Result = decltype(i_Work());
    static_assert(std::is_trivially_copyable_v<Result>, "the result is sent as bytes");
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    pid_t const child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        Result const result = i_Work();
        ssize_t const sent = write(pipeEnds[1], &result, sizeof result);
        _exit(sent == static_cast<ssize_t>(sizeof result) ? 0 : 1);
    }
    close(pipeEnds[1]);
    ChildRun<Result> run{};
    ssize_t const received = read(pipeEnds[0], &run.result, sizeof run.result);
    close(pipeEnds[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (received != static_cast<ssize_t>(sizeof run.result) || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s: the child failed\n", i_Name);
        std::exit(1);
    }
    run.peakKilobytes = usage.ru_maxrss;
    return run;
}

} // namespace TessarineBench

#endif
