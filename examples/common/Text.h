#ifndef TESSARINE_EXAMPLES_TEXT_H
#define TESSARINE_EXAMPLES_TEXT_H

#include <cstdint>
#include <cstdio>
#include <string>

namespace TessarineExamples {

/// `\uXXXX` for a code up to 0xFFFF, and above it (up to 0x10FFFF) the two `\u` sequences of
/// its UTF-16 surrogate pair: a `\u` sequence takes exactly four digits, in properties files
/// and in JSON alike.
inline std::string utf16Escape(std::uint32_t i_Code) {
    if (i_Code > 0xFFFF) {
        std::uint32_t const offset = i_Code - 0x10000;
        return utf16Escape(0xD800 + (offset >> 10)) + utf16Escape(0xDC00 + (offset & 0x3FF));
    }
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(i_Code));
    return escape;
}

/// Shows a decoded text in plain ASCII, whatever the locale of the terminal. Printable ASCII
/// stands for itself and a backslash is doubled; every other character is written `\uXXXX`, or
/// `\UXXXXXXXX` (eight digits) above 0xFFFF. Up to 0xFFFF this is the properties file's own
/// notation, so a value shown this way means the same when it is written back into a file.
/// The eight-digit form is for display only: in a file, `\U` reads four digits, like `\u`.
inline std::string displayText(std::wstring const& i_Text) {
    std::string shown;
    for (wchar_t const character : i_Text) {
        auto const code = static_cast<std::uint32_t>(character);
        if (code == '\\') {
            shown += "\\\\";
        } else if (code >= 0x20 && code < 0x7F) {
            shown += static_cast<char>(code);
        } else if (code <= 0xFFFF) {
            shown += utf16Escape(code);
        } else {
            char escape[11];
            std::snprintf(escape, sizeof escape, "\\U%08X", static_cast<unsigned>(code));
            shown += escape;
        }
    }
    return shown;
}

/// The same for a null-terminated text, and for anything that converts to one.
inline std::string displayText(wchar_t const* i_Text) {
    return displayText(std::wstring(i_Text));
}

} // namespace TessarineExamples

#endif
