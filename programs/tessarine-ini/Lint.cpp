#include "Lint.h"

#include "IniGrammar.h"
#include "Text.h"
#include "Utf8.h"

#include <algorithm>
#include <map>
#include <utility>

namespace TessarineTools {
namespace {

using TessarineSupport::displayText;
using TessarineSupport::IniLine;
using TessarineSupport::IniLineKind;
using TessarineSupport::isIniSpace;
using TessarineSupport::trailingBackslashes;

std::string quoted(std::wstring const& i_Text) {
    return "'" + displayText(i_Text) + "'";
}

class Linter {
public:
    explicit Linter(Tessarine::IniFileReader& io_Reader) : m_Reader(io_Reader) {}

    std::vector<Finding> run(std::string_view i_Bytes) {
        checkBytes(i_Bytes);
        std::vector<IniLine> const lines = TessarineSupport::iniLines(i_Bytes);
        for (IniLine const& line : lines) {
            checkLine(line);
        }
        if (!lines.empty() && lines.back().m_CutShort) {
            add(lines.back().lastRow(), "the last line ends in a backslash, which continues it "
                                        "into the end of the file");
        }
        for (auto const& [row, section] : m_Headers) {
            if (m_Reader.getKeyCount(section) == 0) {
                add(row, "section " + quoted(section) + " has no key lines, so it does not exist");
            }
        }
        std::stable_sort(m_Findings.begin(), m_Findings.end(),
                         [](Finding const& i_Left, Finding const& i_Right) {
                             return i_Left.m_Line < i_Right.m_Line;
                         });
        return std::move(m_Findings);
    }

private:
    void add(std::size_t i_Line, std::string i_Message) {
        m_Findings.push_back({i_Line, std::move(i_Message)});
    }

    void checkBytes(std::string_view i_Bytes) {
        std::size_t start = 0;
        using TessarineSupport::BYTE_ORDER_MARK;
        if (i_Bytes.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK) {
            add(1, "a UTF-8 byte order mark: its bytes are read as text, so this line is a key "
                   "line even when it looks like a header; remove it or convert with --escape");
            start = BYTE_ORDER_MARK.size();
        }
        std::size_t row = 1;
        std::size_t reportedRow = 0;
        for (std::size_t index = start; index < i_Bytes.size(); ++index) {
            if (i_Bytes[index] == '\n') {
                ++row;
            } else if (static_cast<unsigned char>(i_Bytes[index]) > 127 && reportedRow != row) {
                add(row, highBytes(i_Bytes, index));
                reportedRow = row;
            }
        }
    }

    static std::string highBytes(std::string_view i_Bytes, std::size_t i_Index) {
        Utf8Character const character = decodeUtf8(i_Bytes, i_Index);
        if (character.m_Length == 0) {
            return "bytes above 127 that are no UTF-8; each becomes a character of its own";
        }
        std::string const shown =
            "'" + std::string(i_Bytes.substr(i_Index, character.m_Length)) + "'";
        if (character.m_Code > 0xFFFF) {
            return shown + " is above U+FFFF, which the format cannot hold";
        }
        return "bytes above 127 are read one by one, not as UTF-8: write " + shown + " as " +
               TessarineSupport::utf16Escape(character.m_Code) + " (--escape converts the file)";
    }

    void checkLine(IniLine const& i_Line) {
        switch (TessarineSupport::iniLineKind(i_Line.m_Text)) {
        case IniLineKind::Header:
            checkHeader(i_Line);
            break;
        case IniLineKind::Key:
            checkKeyLine(i_Line);
            break;
        default:
            break;
        }
    }

    void checkKeyLine(IniLine const& i_Line) {
        auto const [rawKey, value] = TessarineSupport::splitKeyLine(i_Line.m_Text);
        std::wstring const key = m_Reader.unescape(std::string(rawKey));
        auto const [first, isNew] =
            m_FirstLines.emplace(std::make_pair(m_Section, key), i_Line.m_FirstRow);
        if (!isNew) {
            add(i_Line.m_FirstRow, "key " + quoted(key) + " is given again in section " +
                                       quoted(m_Section) + " (first on line " +
                                       std::to_string(first->second) +
                                       "): the earlier value is lost");
        }
        if (!value.empty() && isIniSpace(value.back()) &&
            trailingBackslashes(value.substr(0, value.size() - 1)) % 2 == 0) {
            add(i_Line.lastRow(),
                "the value of " + quoted(key) + " ends in white space, which is part of the value");
        }
        checkCommentInValue(i_Line, value, key);
        checkControlEscape(i_Line.m_FirstRow, i_Line.m_Text);
    }

    /// A `#` or `;` behind white space looks like the start of a comment, but there is no
    /// comment behind other text. The value's first byte is left alone: `color = #FF0000` means
    /// what it says.
    void checkCommentInValue(IniLine const& i_Line, std::string_view i_Value,
                             std::wstring const& i_Key) {
        for (std::size_t index = 1; index < i_Value.size(); ++index) {
            char const byte = i_Value[index];
            if ((byte == '#' || byte == ';') && isIniSpace(i_Value[index - 1])) {
                std::size_t const offset =
                    static_cast<std::size_t>(i_Value.data() - i_Line.m_Text.data()) + index;
                add(i_Line.rowAt(offset),
                    std::string("'") + byte +
                        "' starts no comment behind a value: it and the rest of the line are part "
                        "of the value of " +
                        quoted(i_Key) + "; put the comment on a line of its own (or write '\\" +
                        byte + "' if the '" + byte + "' belongs to the value)");
                return;
            }
        }
    }

    void checkHeader(IniLine const& i_Line) {
        std::string_view const text = i_Line.m_Text;
        std::string_view const name = TessarineSupport::iniHeaderName(text);
        m_Section = m_Reader.unescape(std::string(name));
        m_Headers.emplace_back(i_Line.m_FirstRow, m_Section);
        if (!name.empty() && (isIniSpace(name.front()) || isIniSpace(name.back()))) {
            std::string_view trimmed = TessarineSupport::skipIniSpace(name);
            while (!trimmed.empty() && isIniSpace(trimmed.back())) {
                trimmed.remove_suffix(1);
            }
            add(i_Line.m_FirstRow, "the blanks inside the brackets are part of the section name " +
                                       quoted(m_Section) + "; write '[" + std::string(trimmed) +
                                       "]' for the name without them");
        }
        std::string_view const after = text.substr(std::min(name.size() + 2, text.size()));
        if (!TessarineSupport::skipIniSpace(after).empty()) {
            add(i_Line.m_FirstRow, "text after ']' in a header is ignored");
        }
        checkControlEscape(i_Line.m_FirstRow, name);
    }

    void checkControlEscape(std::size_t i_Row, std::string_view i_Raw) {
        for (std::size_t index = 0; index + 1 < i_Raw.size(); ++index) {
            if (i_Raw[index] != '\\') {
                continue;
            }
            char const letter = i_Raw[++index];
            constexpr std::uint32_t CODES[] = {'\n', '\t', '\r'};
            std::size_t const kind = std::string_view("ntr").find(letter);
            if (kind != std::string_view::npos) {
                add(i_Row, std::string("'\\") + letter + "' reads as the letter '" + letter +
                               "': there are no control-character escapes; write " +
                               TessarineSupport::utf16Escape(CODES[kind]));
                return;
            }
        }
    }

    Tessarine::IniFileReader& m_Reader;
    std::vector<Finding> m_Findings;
    /// The decoded name of the section of the line being looked at.
    std::wstring m_Section;
    /// Each header's row and decoded name.
    std::vector<std::pair<std::size_t, std::wstring>> m_Headers;
    /// The row of the first line of each key, by section and key.
    std::map<std::pair<std::wstring, std::wstring>, std::size_t> m_FirstLines;
};

} // namespace

std::vector<Finding> lint(std::string_view i_Bytes, Tessarine::IniFileReader& io_Reader) {
    return Linter(io_Reader).run(i_Bytes);
}

} // namespace TessarineTools
