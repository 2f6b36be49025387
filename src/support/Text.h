#ifndef TESSARINE_SUPPORT_TEXT_H
#define TESSARINE_SUPPORT_TEXT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace TessarineSupport {

/// `\uXXXX` for a character up to U+FFFF, the notation of properties files and of JSON alike.
/// Above it, up to U+10FFFF, the two sequences of its UTF-16 surrogate pair, which JSON joins
/// again (a properties file keeps them as two characters). Anything larger is no character: only
/// a byte that the locale cannot widen gives such a value, and it is written as U+FFFD, the
/// replacement character.
inline std::string utf16Escape(std::uint32_t i_Code) {
    if (i_Code > 0x10FFFF) {
        return utf16Escape(0xFFFD);
    }
    if (i_Code > 0xFFFF) {
        std::uint32_t const offset = i_Code - 0x10000;
        return utf16Escape(0xD800 + (offset >> 10)) + utf16Escape(0xDC00 + (offset & 0x3FF));
    }
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(i_Code));
    return escape;
}

/// A decoded text in plain ASCII, whatever the locale of the terminal: printable ASCII stands for
/// itself, a backslash is doubled, every other character is written by utf16Escape().
inline std::string displayText(std::wstring_view i_Text) {
    std::string shown;
    for (wchar_t const character : i_Text) {
        auto const code = static_cast<std::uint32_t>(character);
        if (code == '\\') {
            shown += "\\\\";
        } else if (code >= 0x20 && code < 0x7F) {
            shown += static_cast<char>(code);
        } else {
            shown += utf16Escape(code);
        }
    }
    return shown;
}

/// The same for a null-terminated text, and for anything that converts to one.
inline std::string displayText(wchar_t const* i_Text) {
    return displayText(std::wstring_view(i_Text));
}

} // namespace TessarineSupport

#endif
