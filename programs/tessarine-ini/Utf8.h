#ifndef TESSARINE_TOOLS_UTF8_H
#define TESSARINE_TOOLS_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace TessarineTools {

/// One character of UTF-8 text: its code point and the number of its bytes.
struct Utf8Character {
    std::uint32_t m_Code;
    /// 0 when the bytes are no UTF-8.
    std::size_t m_Length;
};

/// The character whose UTF-8 sequence starts at that index. Overlong sequences, surrogates,
/// values above U+10FFFF and sequences cut short are no UTF-8.
Utf8Character decodeUtf8(std::string_view i_Bytes, std::size_t i_Start);

/// The text of UTF-8 bytes, each byte that is no UTF-8 as U+FFFD.
std::wstring widenUtf8(std::string_view i_Bytes);

} // namespace TessarineTools

#endif
