// Checks String's conversions, case mapping and orders against the C library on the same text,
// under the C locale and under C.UTF-8. The input's bytes up to the first NUL are a multibyte
// text: String must hold what mbstowcs makes of it (nothing when it does not convert), and under
// C.UTF-8 a valid UTF-8 text must come back from getMultibyteString byte for byte. The input's
// wide text, cut at its NULs, gives two wide texts: getMultibyteString must give what wcstombs
// does (the empty text when it fails), which under C.UTF-8 widens back into the same text; case
// mapping what towlower and towupper do character by character, and the comparisons the order of
// wcscmp and, through collate, of strcoll.
#include "WideInput.h"

#include <Tessarine/String.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <string>
#include <vector>

namespace {

using TessarineFuzz::check;

/// The length of the UTF-8 sequence that a byte starts, 0 for a byte that starts none.
size_t sequenceLength(unsigned char i_Lead) {
    if (i_Lead < 0x80) {
        return 1;
    }
    if (i_Lead < 0xC2) { // a continuation byte, or the lead of an overlong pair
        return 0;
    }
    return i_Lead < 0xE0 ? 2 : i_Lead < 0xF0 ? 3 : i_Lead < 0xF5 ? 4 : 0;
}

/// True for well-formed UTF-8: shortest forms only, no surrogates, nothing beyond U+10FFFF.
bool isUtf8(std::string const& i_Text) {
    size_t at = 0;
    while (at < i_Text.size()) {
        auto const lead = static_cast<unsigned char>(i_Text[at]);
        size_t const length = sequenceLength(lead);
        if (length == 0 || i_Text.size() - at < length) {
            return false;
        }
        uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
        for (size_t next = 1; next < length; ++next) {
            auto const byte = static_cast<unsigned char>(i_Text[at + next]);
            if ((byte & 0xC0) != 0x80) {
                return false;
            }
            code = code << 6 | (byte & 0x3F);
        }
        uint32_t const smallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return false;
        }
        at += length;
    }
    return true;
}

/// What the C library makes of a multibyte text: its wide form, empty when it does not convert.
std::wstring widened(std::string const& i_Text) {
    size_t const length = std::mbstowcs(nullptr, i_Text.c_str(), 0);
    if (length == static_cast<size_t>(-1)) {
        return {};
    }
    std::wstring text(length, L'\0');
    std::mbstowcs(text.data(), i_Text.c_str(), length);
    return text;
}

/// What the C library makes of a wide text: its multibyte form, empty when it does not convert.
std::string narrowed(std::wstring const& i_Text) {
    size_t const length = std::wcstombs(nullptr, i_Text.c_str(), 0);
    if (length == static_cast<size_t>(-1)) {
        return {};
    }
    std::string text(length, '\0');
    std::wcstombs(text.data(), i_Text.c_str(), length);
    return text;
}

std::string multibyteOf(wchar_t const* i_Text) {
    char* const converted = Tessarine::String::getMultibyteString(i_Text);
    std::string text(converted);
    std::free(converted);
    return text;
}

void checkMultibyte(std::string const& i_Text, bool i_Utf8Locale) {
    Tessarine::String const constructed(i_Text.c_str());
    check(std::wstring(constructed) == widened(i_Text));
    Tessarine::String assigned(L"old text");
    assigned = i_Text.c_str();
    check(assigned == constructed);
    if (i_Utf8Locale && isUtf8(i_Text)) {
        check(multibyteOf(constructed) == i_Text);
    }
}

void checkWide(std::wstring const& i_Text, bool i_Utf8Locale) {
    std::string const multibyte = narrowed(i_Text);
    check(multibyteOf(i_Text.c_str()) == multibyte);
    // Only UTF-8 holds every character: the C library's C locale writes some as something else
    // (a language tag as nothing at all) rather than fail.
    if (i_Utf8Locale && !multibyte.empty()) {
        check(std::wstring(Tessarine::String(multibyte.c_str())) == i_Text);
    }
    Tessarine::String lower(i_Text.c_str());
    Tessarine::String upper(i_Text.c_str());
    lower.toLowerCase();
    upper.toUpperCase();
    for (size_t index = 0; index < i_Text.size(); ++index) {
        auto const character = static_cast<wint_t>(i_Text[index]);
        check(static_cast<wint_t>(lower[index]) == std::towlower(character));
        check(static_cast<wint_t>(upper[index]) == std::towupper(character));
    }
}

int sign(int i_Value) {
    return (i_Value > 0) - (i_Value < 0);
}

void checkOrder(std::wstring const& i_Left, std::wstring const& i_Right) {
    Tessarine::String const left(i_Left.c_str());
    Tessarine::String const right(i_Right.c_str());
    int const order = sign(std::wcscmp(i_Left.c_str(), i_Right.c_str()));
    wchar_t const* const text = i_Right.c_str();
    check(sign(left.Compare(text)) == order);
    check((left == right) == (order == 0) && (left == text) == (order == 0));
    check((left != right) == (order != 0) && (left != text) == (order != 0));
    check((left < right) == (order < 0) && (left < text) == (order < 0));
    check((left <= right) == (order <= 0) && (left <= text) == (order <= 0));
    check((left > right) == (order > 0) && (left > text) == (order > 0));
    check((left >= right) == (order >= 0) && (left >= text) == (order >= 0));
    int const collation = sign(std::strcoll(narrowed(i_Left).c_str(), narrowed(i_Right).c_str()));
    check(sign(Tessarine::String::collate(left, right)) == collation);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* i_Data, size_t i_Size) {
    std::string const multibyte(reinterpret_cast<char const*>(i_Data),
                                strnlen(reinterpret_cast<char const*>(i_Data), i_Size));
    std::vector<std::wstring> const pieces =
        TessarineFuzz::nulSeparated(TessarineFuzz::wideInput(i_Data, i_Size));
    std::wstring const& left = pieces.front();
    std::wstring const& right = pieces.size() > 1 ? pieces[1] : left;
    for (char const* locale : {"C", "C.UTF-8"}) {
        check(std::setlocale(LC_ALL, locale) != nullptr);
        bool const utf8 = locale[1] == '.';
        checkMultibyte(multibyte, utf8);
        checkWide(left, utf8);
        checkWide(right, utf8);
        checkOrder(left, right);
    }
    return 0;
}
