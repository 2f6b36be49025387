// Checks tessarine-ini's work on any file, through its functions rather than a process per input:
// - the listing of what the reader holds reads back as the same content, wherever every
//   character fits one \u escape (the listing's promise), under C and under C.UTF-8;
// - --escape writes ASCII, and what the reader reads from it is the file decoded as UTF-8: the
//   same content as the file itself, with the bytes of each of its characters outside ASCII
//   taken together as that character;
// - --check takes any file that the reader loads and names only lines that the file has.
#include "Escape.h"
#include "IniContent.h"
#include "IniListing.h"
#include "Lint.h"
#include "ScratchFile.h"
#include "WideInput.h"

#include <Tessarine/IniFileReader.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using TessarineFuzz::check;
using TessarineSupport::IniSection;
using Content = std::vector<IniSection>;

TessarineFuzz::ScratchFile g_File;

Content contentOf(std::string_view i_Bytes) {
    Tessarine::IniFileReader reader(g_File.hold(i_Bytes).c_str());
    return TessarineSupport::readContent(reader);
}

/// Calls the function on every text of the content: names, keys and values.
template <typename Sections, typename Visit> void forEachText(Sections& io_Content, Visit i_Visit) {
    for (auto& section : io_Content) {
        i_Visit(section.m_Name);
        for (auto& entry : section.m_Entries) {
            i_Visit(entry.m_Key);
            i_Visit(entry.m_Value);
        }
    }
}

bool same(Content const& i_Left, Content const& i_Right) {
    auto const sameEntry = [](IniSection::Entry const& i_A, IniSection::Entry const& i_B) {
        return i_A.m_Key == i_B.m_Key && i_A.m_Value == i_B.m_Value;
    };
    auto const sameSection = [&sameEntry](IniSection const& i_A, IniSection const& i_B) {
        return i_A.m_Name == i_B.m_Name &&
               std::equal(i_A.m_Entries.begin(), i_A.m_Entries.end(), i_B.m_Entries.begin(),
                          i_B.m_Entries.end(), sameEntry);
    };
    return std::equal(i_Left.begin(), i_Left.end(), i_Right.begin(), i_Right.end(), sameSection);
}

bool fitsListing(Content const& i_Content) {
    bool fits = true;
    forEachText(i_Content, [&fits](std::wstring const& i_Text) {
        fits = fits && std::all_of(i_Text.begin(), i_Text.end(), [](wchar_t i_Character) {
                   return static_cast<std::uint32_t>(i_Character) <= 0xFFFF;
               });
    });
    return fits;
}

void checkListing(std::string_view i_Bytes) {
    Content const content = contentOf(i_Bytes);
    if (!fitsListing(content)) {
        return;
    }
    std::ostringstream listing;
    TessarineTools::writeListing(listing, content);
    check(same(contentOf(listing.str()), content));
}

/// The marks of bytes above 127: each such byte of the file, widened by this facet, becomes a
/// character of its own beyond U+FFFF, where no \u escape reaches. So what the reader reads from
/// a file tells the bytes of its text outside ASCII from the characters of its escapes.
constexpr wchar_t BYTE_MARK = 0xF0000;

class ByteMarks : public std::ctype<wchar_t> {
protected:
    wchar_t do_widen(char i_Byte) const override {
        auto const byte = static_cast<unsigned char>(i_Byte);
        return byte < 0x80 ? std::ctype<wchar_t>::do_widen(i_Byte) : BYTE_MARK + byte;
    }
};

/// What the reader reads from the file when std::wcout marks the bytes above 127.
Content markedContentOf(std::string_view i_Bytes) {
    std::locale const plain = std::wcout.imbue(std::locale(std::locale::classic(), new ByteMarks));
    Content content = contentOf(i_Bytes);
    std::wcout.imbue(plain);
    return content;
}

/// The text with each run of marked bytes decoded as UTF-8: the file's text as it means it. The
/// file is UTF-8 up to U+FFFF, or --escape would have refused it, so sequences have 2 or 3 bytes.
std::wstring decodedMarks(std::wstring const& i_Text) {
    auto const byteAt = [&i_Text](std::size_t i_At) {
        check(i_At < i_Text.size() && i_Text[i_At] >= BYTE_MARK + 0x80 &&
              i_Text[i_At] <= BYTE_MARK + 0xFF);
        return static_cast<std::uint32_t>(i_Text[i_At] - BYTE_MARK);
    };
    std::wstring decoded;
    for (std::size_t at = 0; at < i_Text.size(); ++at) {
        if (i_Text[at] < BYTE_MARK) {
            decoded += i_Text[at];
            continue;
        }
        std::uint32_t const lead = byteAt(at);
        std::uint32_t const code =
            lead < 0xE0
                ? (lead & 0x1F) << 6 | (byteAt(at + 1) & 0x3F)
                : (lead & 0x0F) << 12 | (byteAt(at + 1) & 0x3F) << 6 | (byteAt(at + 2) & 0x3F);
        decoded += static_cast<wchar_t>(code);
        at += lead < 0xE0 ? 1 : 2;
    }
    return decoded;
}

void checkEscape(std::string_view i_Bytes) {
    std::string escaped;
    std::string reason;
    TessarineTools::FilePlace place{};
    if (!TessarineTools::escapeUtf8(i_Bytes, escaped, place, reason)) {
        return; // no UTF-8, a character beyond U+FFFF or beside a \u sequence: no escaped form
    }
    check(std::all_of(escaped.begin(), escaped.end(),
                      [](char i_Byte) { return static_cast<unsigned char>(i_Byte) < 0x80; }));
    // The byte order mark only says that the file is UTF-8; --escape drops it.
    std::string_view const byteOrderMark = "\xEF\xBB\xBF";
    Content meant = markedContentOf(i_Bytes.substr(
        i_Bytes.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0));
    forEachText(meant, [](std::wstring& io_Text) { io_Text = decodedMarks(io_Text); });
    check(same(contentOf(escaped), meant));
}

void checkLint(std::string_view i_Bytes) {
    Tessarine::IniFileReader reader(g_File.hold(i_Bytes).c_str());
    // Rows end at LF, CR LF or a lone CR: no more rows than breaks, and one after the last.
    auto const breaks =
        static_cast<std::size_t>(std::count_if(i_Bytes.begin(), i_Bytes.end(), [](char i_Byte) {
            return i_Byte == '\n' || i_Byte == '\r';
        }));
    for (TessarineTools::Finding const& finding : TessarineTools::lint(i_Bytes, reader)) {
        check(finding.m_Line >= 1 && finding.m_Line <= breaks + 1);
        check(!finding.m_Message.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* i_Data, size_t i_Size) {
    std::string_view const bytes(reinterpret_cast<char const*>(i_Data), i_Size);
    // White space follows LC_CTYPE, which the program takes from the user.
    for (char const* locale : {"C", "C.UTF-8"}) {
        check(std::setlocale(LC_ALL, locale) != nullptr);
        checkListing(bytes);
        checkEscape(bytes);
        checkLint(bytes);
    }
    return 0;
}
