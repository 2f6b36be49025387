#ifndef TESSARINE_PLUGIN_TOOL_CHILD_H
#define TESSARINE_PLUGIN_TOOL_CHILD_H

#include <functional>
#include <stdexcept>
#include <string>

namespace TessarinePluginTool {

/// What a piece of work in a child process found wrong with the plug-in; what() says what.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a piece of work in a child process ended.
struct ChildOutcome {
    enum class Kind {
        Passed,      ///< it returned
        Failed,      ///< it threw Failure or another exception, or the plug-in ended the child
        LoadFailed,  ///< the plug-in's file could not be loaded at all
        NotAPlugin,  ///< it loads, but lacks an entry point or was built for another major version
        OutOfMemory, ///< memory ran out
    } m_Kind = Kind::Passed;
    /// Why, for anything but Passed: one line.
    std::string m_Reason;
    /// What the plug-in printed, when its output was captured.
    std::string m_Output;
};

/// Where the child's standard output and error go.
enum class ChildOutput {
    Captured, ///< both into ChildOutcome::m_Output, away from the tool's own output
    ToError,  ///< both to the tool's standard error; the work writes its results to the fd given
};

/// Runs `i_Work` in a child process, so that nothing the plug-in does (a crash, an abort, an
/// exception, a hang, its own output) reaches the tool. The work gets the descriptor of the
/// tool's standard output. A child still running after `i_TimeoutSeconds` (none when 0) is
/// killed.
ChildOutcome runInChild(std::function<void(int)> const& i_Work, ChildOutput i_Output,
                        double i_TimeoutSeconds);

/// From now on, SIGINT to the tool goes on to the child that runs, if any, instead of ending
/// the tool. (From a terminal, the child gets it from there too.)
void forwardInterrupts();

/// Writes all of `i_Text` to `i_Fd`.
void writeAll(int i_Fd, std::string const& i_Text);

} // namespace TessarinePluginTool

#endif
