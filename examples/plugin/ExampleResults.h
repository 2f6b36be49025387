#ifndef TESSARINE_EXAMPLES_EXAMPLE_RESULTS_H
#define TESSARINE_EXAMPLES_EXAMPLE_RESULTS_H

#include <cstdint>

namespace TessarineExamples {

/// What Expression::evaluate() of the example plug-in returns when the host's interrupt
/// signaler asked it to stop; the example host tells the user so. Outside the library's own
/// range of result codes.
constexpr int32_t EXAMPLE_ERROR_INTERRUPTED = -20001;

} // namespace TessarineExamples

#endif
