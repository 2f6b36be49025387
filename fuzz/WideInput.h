// How the text targets read a wide text out of the fuzzer's bytes. Each byte stands for the
// character of its value, so that commas, backslashes, NULs and Latin-1 letters are one byte away;
// the byte 0xFF takes the next four bytes, little-endian, as the raw value of one wchar_t, which
// reaches every character and every value that is none (surrogates, beyond U+10FFFF, negative).
#ifndef TESSARINE_FUZZ_WIDEINPUT_H
#define TESSARINE_FUZZ_WIDEINPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace TessarineFuzz {

/// Stops at a broken oracle, naming the line of the check that failed.
inline void check(bool i_Condition, char const* i_File = __builtin_FILE(),
                  int i_Line = __builtin_LINE()) {
    if (!i_Condition) {
        std::fprintf(stderr, "%s:%d: check failed\n", i_File, i_Line);
        __builtin_trap();
    }
}

inline std::wstring wideInput(uint8_t const* i_Data, size_t i_Size) {
    std::wstring text;
    for (size_t at = 0; at < i_Size; ++at) {
        if (i_Data[at] != 0xFF || i_Size - at < 5) {
            text += static_cast<wchar_t>(i_Data[at]);
            continue;
        }
        uint32_t raw = 0;
        for (size_t byte = 4; byte > 0; --byte) {
            raw = raw << 8 | i_Data[at + byte];
        }
        text += static_cast<wchar_t>(raw);
        at += 4;
    }
    return text;
}

/// The pieces of a text between its NULs: the texts a null-terminated interface can be given.
inline std::vector<std::wstring> nulSeparated(std::wstring const& i_Text) {
    std::vector<std::wstring> pieces(1);
    for (wchar_t const character : i_Text) {
        if (character == L'\0') {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    return pieces;
}

} // namespace TessarineFuzz

#endif
