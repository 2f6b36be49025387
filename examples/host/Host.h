#ifndef TESSARINE_EXAMPLES_HOST_H
#define TESSARINE_EXAMPLES_HOST_H

#include <ostream>
#include <string>

namespace TessarineExamples {

struct HostOptions {
    /// The properties file; each of its sections asks for one expression.
    std::string m_File;
    /// Where the plug-ins are.
    std::string m_PluginDirectory;
    /// Whether the plug-ins' events are shown on the error stream.
    bool m_Verbose = false;
};

/// Makes SIGINT ask the plug-ins to stop, through the interrupt signaler that the host gives
/// them, instead of ending the process in the middle of an evaluation.
void installInterruptHandler();

/// Runs the file: records its sections in Configuration sets, then leases, evaluates and
/// disposes one expression per section and writes one line per section to `o_Out`. Everything
/// is cleaned up on every way out: the plug-ins, their expressions and the sets. Throws
/// HostError for the first fault in the input.
void runHost(HostOptions const& i_Options, std::ostream& o_Out);

} // namespace TessarineExamples

#endif
