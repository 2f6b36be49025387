#ifndef TESSARINE_EXAMPLES_HOST_ERROR_H
#define TESSARINE_EXAMPLES_HOST_ERROR_H

#include <stdexcept>
#include <string>

namespace TessarineExamples {

/// A fault in the host's input (a file, a plug-in, an expression) that ends the run. The
/// message is one line that names the thing at fault; the exit status goes with it.
class HostError : public std::runtime_error {
public:
    explicit HostError(std::string const& i_Message, int i_ExitStatus = 1)
        : std::runtime_error(i_Message), m_ExitStatus(i_ExitStatus) {}

    int exitStatus() const { return m_ExitStatus; }

private:
    int m_ExitStatus;
};

} // namespace TessarineExamples

#endif
