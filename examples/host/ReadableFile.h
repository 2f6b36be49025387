#ifndef TESSARINE_EXAMPLES_READABLE_FILE_H
#define TESSARINE_EXAMPLES_READABLE_FILE_H

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>

namespace TessarineExamples {

/// Why the file at that path cannot be read, or the empty text when it can.
///
/// IniFileReader answers a file that it cannot open with an empty store, exactly as it answers
/// a file without a single key line. A program that has to tell a missing or unreadable file
/// from an empty one asks here first. A directory is refused too: it opens for reading on
/// Linux, but every read of it fails.
inline std::string unreadableReason(char const* i_Path) {
    struct stat status {};
    if (::stat(i_Path, &status) != 0) {
        return std::strerror(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return std::strerror(EISDIR);
    }
    std::FILE* const file = std::fopen(i_Path, "r");
    if (file == nullptr) {
        return std::strerror(errno);
    }
    std::fclose(file);
    return {};
}

} // namespace TessarineExamples

#endif
