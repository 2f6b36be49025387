#include "Utf8.h"

namespace TessarineTools {

Utf8Character decodeUtf8(std::string_view i_Bytes, std::size_t i_Start) {
    constexpr Utf8Character NONE{0, 0};
    auto const lead = static_cast<unsigned char>(i_Bytes[i_Start]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || i_Start + length > i_Bytes.size()) {
        return NONE;
    }
    std::uint32_t code = lead & (0x7Fu >> length);
    for (std::size_t index = 1; index < length; ++index) {
        auto const next = static_cast<unsigned char>(i_Bytes[i_Start + index]);
        if ((next & 0xC0) != 0x80) {
            return NONE;
        }
        code = code << 6 | (next & 0x3Fu);
    }
    constexpr std::uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < SMALLEST[length] || code > 0x10FFFF || surrogate) {
        return NONE;
    }
    return {code, length};
}

std::wstring widenUtf8(std::string_view i_Bytes) {
    std::wstring text;
    for (std::size_t index = 0; index < i_Bytes.size();) {
        Utf8Character const character = decodeUtf8(i_Bytes, index);
        text += static_cast<wchar_t>(character.m_Length == 0 ? 0xFFFD : character.m_Code);
        index += character.m_Length == 0 ? 1 : character.m_Length;
    }
    return text;
}

} // namespace TessarineTools
