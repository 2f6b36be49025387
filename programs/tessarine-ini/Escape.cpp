#include "Escape.h"

#include "IniGrammar.h"
#include "Text.h"
#include "Utf8.h"

#include <algorithm>
#include <vector>

namespace TessarineTools {
namespace {

using TessarineSupport::IniLine;

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

/// What escaping a file needs beyond turning each character outside ASCII into its sequence:
/// the backslashes that escape such a character in a text (`\X` means X, so the sequence
/// replaces both), and the first character that no sequence can replace without changing how
/// the backslashes of its text read.
struct Plan {
    std::vector<bool> m_Dropped;
    std::size_t m_Blocked = std::string_view::npos;
};

/// Reads a raw text the way the reader decodes it, and gives the offsets of the backslashes
/// that escape a byte above 127. False when the text holds a `\u` whose reading the longer
/// escapes could change: one with a byte above 127 among its digits (a sequence takes four
/// bytes, and one cut short by the end of the text would grow to four), or with a backslash
/// there, which counts in the run of backslashes before what follows.
bool readEscapes(std::string_view i_Text, std::vector<std::size_t>& o_Dropped) {
    for (std::size_t at = 0; at < i_Text.size();) {
        if (i_Text[at] != '\\' || at + 1 == i_Text.size()) {
            at += 1;
        } else if (i_Text[at + 1] != 'u' && i_Text[at + 1] != 'U') {
            if (isHigh(i_Text[at + 1])) {
                o_Dropped.push_back(at);
            }
            at += 2;
        } else {
            // Escaped backslashes come in pairs, so a \u reached here is a sequence when it has
            // its four digits; with fewer, they end the text and stand for themselves.
            std::string_view const digits = i_Text.substr(at + 2, 4);
            if (std::any_of(digits.begin(), digits.end(),
                            [](char i_Byte) { return i_Byte == '\\' || isHigh(i_Byte); })) {
                return false;
            }
            at += 2 + digits.size();
        }
    }
    return true;
}

/// Plans one raw text of the line, a part of the line's own text.
void planText(IniLine const& i_Line, std::string_view i_Text, Plan& io_Plan) {
    auto const high = std::find_if(i_Text.begin(), i_Text.end(), isHigh);
    if (high == i_Text.end()) {
        return; // nothing to escape: every byte stays
    }
    auto const fileOffset = [&](std::size_t i_At) {
        return i_Line.fileOffset(static_cast<std::size_t>(i_Text.data() - i_Line.m_Text.data()) +
                                 i_At);
    };
    std::vector<std::size_t> dropped;
    if (!readEscapes(i_Text, dropped)) {
        io_Plan.m_Blocked = std::min(io_Plan.m_Blocked,
                                     fileOffset(static_cast<std::size_t>(high - i_Text.begin())));
        return;
    }
    for (std::size_t const at : dropped) {
        io_Plan.m_Dropped[fileOffset(at)] = true;
    }
}

/// Plans the section name, or the key and the value, of one logical line.
void planLine(IniLine const& i_Line, Plan& io_Plan) {
    std::string_view const text = i_Line.m_Text;
    switch (TessarineSupport::iniLineKind(text)) {
    case TessarineSupport::IniLineKind::Header:
        planText(i_Line, TessarineSupport::iniHeaderName(text), io_Plan);
        break;
    case TessarineSupport::IniLineKind::Key: {
        TessarineSupport::IniKeyLine const keyLine = TessarineSupport::splitKeyLine(text);
        planText(i_Line, keyLine.m_Key, io_Plan);
        planText(i_Line, keyLine.m_Value, io_Plan);
        break;
    }
    default:
        break; // a comment or an empty line holds no text: its bytes are escaped one by one
    }
}

Plan planOf(std::string_view i_Bytes) {
    Plan plan{std::vector<bool>(i_Bytes.size()), std::string_view::npos};
    for (IniLine const& line : TessarineSupport::iniLines(i_Bytes)) {
        planLine(line, plan);
    }
    return plan;
}

/// Why the character, or the bytes when they are no UTF-8, cannot be escaped.
std::string reasonFor(std::string_view i_Character, std::uint32_t i_Code) {
    if (i_Character.empty()) {
        return "bytes that are no UTF-8";
    }
    std::string const shown = "'" + std::string(i_Character) + "'";
    return i_Code > 0xFFFF ? shown + " is above U+FFFF, which the format cannot hold"
                           : shown + " shares its text with a \\u sequence that its escape "
                                     "would change";
}

} // namespace

bool escapeUtf8(std::string_view i_Bytes, std::string& o_Text, FilePlace& o_Place,
                std::string& o_Reason) {
    using TessarineSupport::BYTE_ORDER_MARK;
    std::string_view const body = i_Bytes.substr(
        i_Bytes.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK ? BYTE_ORDER_MARK.size() : 0);
    Plan const plan = planOf(body);
    o_Text.clear();
    for (std::size_t index = 0; index < body.size();) {
        if (!isHigh(body[index])) {
            if (!plan.m_Dropped[index]) {
                o_Text += body[index];
            }
            ++index;
            continue;
        }
        Utf8Character const character = decodeUtf8(body, index);
        // The character's bytes, when they are UTF-8, are where its text is blocked.
        bool const blocked = plan.m_Blocked - index < character.m_Length;
        if (character.m_Length == 0 || character.m_Code > 0xFFFF || blocked) {
            o_Place = placeOf(i_Bytes, index + (i_Bytes.size() - body.size()));
            o_Reason = reasonFor(body.substr(index, character.m_Length), character.m_Code);
            return false;
        }
        o_Text += TessarineSupport::utf16Escape(character.m_Code);
        index += character.m_Length;
    }
    return true;
}

} // namespace TessarineTools
