#include "Escape.h"

#include "IniGrammar.h"
#include "Text.h"
#include "Utf8.h"

#include <algorithm>

namespace TessarineTools {
namespace {

bool isHigh(char i_Byte) {
    return static_cast<unsigned char>(i_Byte) > 127;
}

FilePlace placeOf(std::string_view i_Bytes, std::size_t i_Index) {
    std::string_view const before = i_Bytes.substr(0, i_Index);
    // Without a LF before it, rfind() gives npos, and the line starts at npos + 1, that is 0.
    std::size_t const lineStart = before.rfind('\n') + 1;
    auto const rows = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    return {rows + 1, i_Index - lineStart + 1};
}

} // namespace

bool escapeUtf8(std::string_view i_Bytes, std::string& o_Text, FilePlace& o_Place,
                std::string& o_Reason) {
    using TessarineSupport::BYTE_ORDER_MARK;
    std::size_t index =
        i_Bytes.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK ? BYTE_ORDER_MARK.size() : 0;
    o_Text.clear();
    while (index < i_Bytes.size()) {
        char const byte = i_Bytes[index];
        if (byte == '\\' && index + 1 < i_Bytes.size()) {
            // `\X` means X: before a character outside ASCII the backslash goes, since the
            // sequence replaces both; any other pair stays whole, its second byte escaped.
            if (isHigh(i_Bytes[index + 1])) {
                ++index;
            } else {
                o_Text.append(i_Bytes.substr(index, 2));
                index += 2;
            }
        } else if (!isHigh(byte)) {
            o_Text += byte;
            ++index;
        } else {
            Utf8Character const character = decodeUtf8(i_Bytes, index);
            if (character.m_Length == 0 || character.m_Code > 0xFFFF) {
                o_Place = placeOf(i_Bytes, index);
                o_Reason = character.m_Length == 0
                               ? "bytes that are no UTF-8"
                               : "'" + std::string(i_Bytes.substr(index, character.m_Length)) +
                                     "' is above U+FFFF, which the format cannot hold";
                return false;
            }
            o_Text += TessarineSupport::utf16Escape(character.m_Code);
            index += character.m_Length;
        }
    }
    return true;
}

} // namespace TessarineTools
