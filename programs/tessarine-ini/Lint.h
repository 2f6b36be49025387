#ifndef TESSARINE_TOOLS_LINT_H
#define TESSARINE_TOOLS_LINT_H

#include <Tessarine/IniFileReader.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace TessarineTools {

/// A trap of the format that a file falls into: the line, counted from 1, and what happens.
struct Finding {
    std::size_t m_Line;
    std::string m_Message;
};

/// The traps of the format in the bytes of a file, by line: a UTF-8 byte order mark, bytes
/// above 127, a key given twice in a section, blanks inside a header's brackets, text after `]`
/// in a header, a `#` or `;` behind white space in a value, white space at the end of a value,
/// `\n`, `\t` and `\r`, a header without key lines, and a continuation at the end of the file. The
/// reader has read the same bytes; it decodes the names.
std::vector<Finding> lint(std::string_view i_Bytes, Tessarine::IniFileReader& io_Reader);

} // namespace TessarineTools

#endif
