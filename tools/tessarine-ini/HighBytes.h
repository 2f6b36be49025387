#ifndef TESSARINE_TOOLS_HIGH_BYTES_H
#define TESSARINE_TOOLS_HIGH_BYTES_H

#include <string>

namespace TessarineTools {

/// The warning for a file that holds bytes above 127, or the empty text when it holds none.
///
/// The properties format has no character encoding: every such byte becomes a character of its
/// own, whose value depends on the locale, so a UTF-8 'é' reads as two characters. The warning
/// names the line of the first such byte and shows how to write the character there as a `\u`
/// sequence, which means the same under every locale.
std::string highByteWarning(std::string const& i_Path);

} // namespace TessarineTools

#endif
