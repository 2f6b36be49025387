#include "HighBytes.h"

#include "Text.h"

#include <cstdint>
#include <fstream>
#include <iterator>

namespace TessarineTools {
namespace {

bool isContinuation(unsigned char i_Byte) {
    return (i_Byte & 0xC0) == 0x80;
}

/// The code point of the UTF-8 sequence at that place, and its length in bytes; a length of 0
/// when the bytes are no UTF-8.
std::uint32_t decodeUtf8(std::string const& i_Bytes, std::size_t i_Start, std::size_t& o_Length) {
    auto const lead = static_cast<unsigned char>(i_Bytes[i_Start]);
    std::size_t length = 0;
    std::uint32_t code = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        code = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        code = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        code = lead & 0x07;
    }
    o_Length = 0;
    if (length == 0 || i_Start + length > i_Bytes.size()) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        auto const byte = static_cast<unsigned char>(i_Bytes[i_Start + index]);
        if (!isContinuation(byte)) {
            return 0;
        }
        code = code << 6 | (byte & 0x3F);
    }
    o_Length = length;
    return code;
}

std::string example(std::string const& i_Bytes, std::size_t i_Start) {
    std::size_t length = 0;
    std::uint32_t const code = decodeUtf8(i_Bytes, i_Start, length);
    if (length == 0) {
        return "write each character as \\u and its four-digit hexadecimal code, "
               "e.g. \\u00E9 for e with an acute accent";
    }
    return "write '" + i_Bytes.substr(i_Start, length) + "' as " +
           TessarineExamples::utf16Escape(code);
}

} // namespace

std::string highByteWarning(std::string const& i_Path) {
    std::ifstream file(i_Path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::size_t line = 1;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        auto const byte = static_cast<unsigned char>(bytes[index]);
        if (byte > 127) {
            return i_Path + ":" + std::to_string(line) +
                   ": bytes above 127 are not decoded, each one becomes a character of its own; " +
                   example(bytes, index);
        }
        line += byte == '\n' ? 1 : 0;
    }
    return {};
}

} // namespace TessarineTools
