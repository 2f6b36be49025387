#ifndef TESSARINE_SUPPORT_COMMAND_LINE_H
#define TESSARINE_SUPPORT_COMMAND_LINE_H

#include <getopt.h>
#include <string>

namespace TessarineSupport {

/// The message for the option that getopt_long has just refused as unknown. getopt names a
/// short option by its letter, and leaves a long one (or one given an argument it does not take)
/// to be found in the argument before optind. `i_FirstLongCode` is the lowest code that the
/// program gives its long-only options, above every letter.
inline std::string unknownOption(char** i_Arguments, int i_FirstLongCode) {
    bool const letter = optopt > 0 && optopt < i_FirstLongCode;
    return "unknown option " + (letter ? std::string{'-', static_cast<char>(optopt)}
                                       : std::string(i_Arguments[optind - 1]));
}

} // namespace TessarineSupport

#endif
