#ifndef TESSARINE_TOOLS_ESCAPE_H
#define TESSARINE_TOOLS_ESCAPE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace TessarineTools {

/// A place in a file: line and column, both counted from 1, the column in bytes.
struct FilePlace {
    std::size_t m_Line;
    std::size_t m_Column;
};

/// Writes a UTF-8 properties file the way the format reads it as meant: every character outside
/// ASCII becomes its `\uXXXX` sequence (a backslash that escaped such a character goes with it,
/// since `\X` means X), and a leading byte order mark is dropped; every other byte stays.
/// Returns false, with the place and the reason, at the first character the format cannot hold:
/// one above U+FFFF, or bytes that are no UTF-8; or one whose sequence would change how a `\u`
/// in its text reads: among its digits, or behind one with a backslash among them.
bool escapeUtf8(std::string_view i_Bytes, std::string& o_Text, FilePlace& o_Place,
                std::string& o_Reason);

} // namespace TessarineTools

#endif
