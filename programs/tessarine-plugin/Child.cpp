#include "Child.h"

#include "PluginLibrary.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <new>
#include <sys/wait.h>
#include <unistd.h>

namespace TessarinePluginTool {

namespace {

// The child that runs now, for the handler that passes SIGINT on to it; 0 in the child itself.
volatile pid_t g_Child = 0;

extern "C" void forwardInterrupt(int) {
    if (g_Child > 0) {
        kill(g_Child, SIGINT);
    }
}

// How the child tells its end to the parent, beside the reason it writes on the pipe.
enum ChildStatus {
    CHILD_PASSED = 0,
    CHILD_FAILED = 1,
    CHILD_LOAD_FAILED = 2,
    CHILD_NO_MEMORY = 3,
    CHILD_NOT_A_PLUGIN = 4
};

[[noreturn]] void finish(int i_Pipe, ChildStatus i_Status, char const* i_Reason) {
    writeAll(i_Pipe, i_Reason);
    // _exit: neither the plug-in's static destructors nor the tool's run in the child, unless
    // the work unloaded the plug-in on purpose.
    _exit(i_Status);
}

[[noreturn]] void runWork(std::function<void(int)> const& i_Work, int i_Out, int i_Pipe) {
    // A crash of the plug-in ends the child with its signal, which the parent reports, even
    // where a sanitizer runtime would catch the signal and exit with a status of its own.
    for (int const signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(signal, SIG_DFL);
    }
    try {
        i_Work(i_Out);
        std::cout.flush();
        finish(i_Pipe, CHILD_PASSED, "");
    } catch (Failure const& failure) {
        finish(i_Pipe, CHILD_FAILED, failure.what());
    } catch (LoadError const& error) {
        finish(i_Pipe, CHILD_LOAD_FAILED, error.what());
    } catch (EntryError const& error) {
        finish(i_Pipe, CHILD_NOT_A_PLUGIN, error.what());
    } catch (std::bad_alloc const&) {
        finish(i_Pipe, CHILD_NO_MEMORY, "out of memory");
    } catch (std::exception const& error) {
        finish(i_Pipe, CHILD_FAILED, (std::string("uncaught exception: ") + error.what()).c_str());
    } catch (...) {
        finish(i_Pipe, CHILD_FAILED,
               "uncaught exception of a type not derived from std::exception");
    }
}

/// Sets up the child's descriptors; gives the one of the tool's standard output.
int redirect(ChildOutput i_Output, int i_Capture) {
    int const out = dup(STDOUT_FILENO);
    int const target = i_Output == ChildOutput::Captured ? i_Capture : STDERR_FILENO;
    dup2(target, STDOUT_FILENO);
    dup2(target, STDERR_FILENO);
    return out;
}

std::string readAll(int i_Fd) {
    std::string text;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(i_Fd, buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
}

/// Waits for the child; kills it after the timeout. False when it had to be killed.
bool waitFor(pid_t i_Child, double i_TimeoutSeconds, int& o_Status) {
    timespec const pause = {0, 10'000'000};
    double waited = 0;
    for (;;) {
        pid_t const done = waitpid(i_Child, &o_Status, i_TimeoutSeconds > 0 ? WNOHANG : 0);
        if (done == i_Child) {
            return true;
        }
        if (done < 0 && errno != EINTR) {
            throw std::runtime_error(std::string("waitpid: ") + std::strerror(errno));
        }
        if (i_TimeoutSeconds > 0 && waited >= i_TimeoutSeconds) {
            kill(i_Child, SIGKILL);
            waitpid(i_Child, &o_Status, 0);
            return false;
        }
        if (done == 0) {
            nanosleep(&pause, nullptr);
            waited += 0.01;
        }
    }
}

ChildOutcome outcome(int i_Status, std::string i_Reason) {
    ChildOutcome result;
    result.m_Reason = std::move(i_Reason);
    if (WIFSIGNALED(i_Status)) {
        int const signal = WTERMSIG(i_Status);
        result.m_Kind = ChildOutcome::Kind::Failed;
        result.m_Reason =
            "killed by signal " + std::to_string(signal) + " (" + sigabbrev_np(signal) + ")";
        return result;
    }
    switch (WEXITSTATUS(i_Status)) {
    case CHILD_PASSED:
        result.m_Kind = ChildOutcome::Kind::Passed;
        break;
    case CHILD_LOAD_FAILED:
        result.m_Kind = ChildOutcome::Kind::LoadFailed;
        break;
    case CHILD_NOT_A_PLUGIN:
        result.m_Kind = ChildOutcome::Kind::NotAPlugin;
        break;
    case CHILD_NO_MEMORY:
        result.m_Kind = ChildOutcome::Kind::OutOfMemory;
        break;
    default:
        result.m_Kind = ChildOutcome::Kind::Failed;
        if (result.m_Reason.empty()) {
            result.m_Reason = "the plug-in ended the process with status " +
                              std::to_string(WEXITSTATUS(i_Status));
        }
    }
    return result;
}

struct Descriptor {
    int m_Fd;
    ~Descriptor() {
        if (m_Fd >= 0) {
            close(m_Fd);
        }
    }
};

} // namespace

void forwardInterrupts() {
    struct sigaction action = {};
    action.sa_handler = forwardInterrupt;
    sigaction(SIGINT, &action, nullptr);
}

void writeAll(int i_Fd, std::string const& i_Text) {
    std::size_t done = 0;
    while (done < i_Text.size()) {
        ssize_t const written = write(i_Fd, i_Text.data() + done, i_Text.size() - done);
        if (written < 0 && errno != EINTR) {
            return;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

ChildOutcome runInChild(std::function<void(int)> const& i_Work, ChildOutput i_Output,
                        double i_TimeoutSeconds) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    }
    Descriptor const reasonIn{pipeEnds[0]};
    Descriptor reasonOut{pipeEnds[1]};
    std::unique_ptr<FILE, int (*)(FILE*)> const capture(std::tmpfile(), &std::fclose);
    if (!capture) {
        throw std::runtime_error(std::string("temporary file: ") + std::strerror(errno));
    }
    std::cout.flush();
    std::fflush(nullptr);
    pid_t const child = fork();
    g_Child = child;
    if (child == 0) {
        runWork(i_Work, redirect(i_Output, fileno(capture.get())), reasonOut.m_Fd);
    }
    close(reasonOut.m_Fd);
    reasonOut.m_Fd = -1;
    if (child < 0) {
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    }
    int status = 0;
    bool const ended = waitFor(child, i_TimeoutSeconds, status);
    g_Child = 0;
    fcntl(reasonIn.m_Fd, F_SETFL, O_NONBLOCK);
    ChildOutcome result = outcome(status, readAll(reasonIn.m_Fd));
    if (!ended) {
        result.m_Kind = ChildOutcome::Kind::Failed;
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%g", i_TimeoutSeconds);
        result.m_Reason = std::string("still running after ") + seconds + " s, killed";
    }
    std::rewind(capture.get());
    result.m_Output = readAll(fileno(capture.get()));
    return result;
}

} // namespace TessarinePluginTool
