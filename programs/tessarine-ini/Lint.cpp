#include "Lint.h"

#include "Text.h"
#include "Utf8.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <utility>

namespace TessarineTools {
namespace {

using TessarineSupport::displayText;

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// A logical line: its rows joined, and the first and last of them, counted from 1.
struct Line {
    std::string m_Text;
    std::size_t m_FirstRow;
    std::size_t m_LastRow;
    /// Whether the file ended while the line waited for its next row.
    bool m_CutShort;
};

bool isSpace(char i_Byte) {
    return std::isspace(static_cast<unsigned char>(i_Byte)) != 0;
}

std::string_view skipSpace(std::string_view i_Text) {
    std::size_t start = 0;
    while (start < i_Text.size() && isSpace(i_Text[start])) {
        ++start;
    }
    return i_Text.substr(start);
}

std::size_t trailingBackslashes(std::string_view i_Text) {
    std::size_t const last = i_Text.find_last_not_of('\\');
    return last == std::string_view::npos ? i_Text.size() : i_Text.size() - last - 1;
}

/// The rows of the file, without their LF and without the CRs at either end.
std::vector<std::string_view> rowsOf(std::string_view i_Bytes) {
    std::vector<std::string_view> rows;
    for (std::size_t start = 0; start < i_Bytes.size();) {
        std::size_t const end = std::min(i_Bytes.find('\n', start), i_Bytes.size());
        std::string_view row = i_Bytes.substr(start, end - start);
        row.remove_prefix(std::min(row.find_first_not_of('\r'), row.size()));
        row.remove_suffix(row.size() - (row.find_last_not_of('\r') + 1));
        rows.push_back(row);
        start = end + 1;
    }
    return rows;
}

/// The logical lines: a row that ends in an odd run of backslashes goes on in the next one.
std::vector<Line> linesOf(std::vector<std::string_view> const& i_Rows) {
    std::vector<Line> lines;
    for (std::size_t row = 0; row < i_Rows.size(); ++row) {
        Line line{std::string(skipSpace(i_Rows[row])), row + 1, row + 1, false};
        bool goesOn = trailingBackslashes(line.m_Text) % 2 == 1;
        while (goesOn) {
            line.m_Text.pop_back();
            line.m_CutShort = row + 1 == i_Rows.size();
            std::string_view const next = line.m_CutShort ? "" : skipSpace(i_Rows[++row]);
            line.m_LastRow = row + 1;
            line.m_Text += next;
            goesOn = !next.empty() && trailingBackslashes(next) % 2 == 1;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

/// Where the key of a key line ends: at white space, or at a `=` or `:` behind an even run of
/// backslashes.
std::size_t keyEnd(std::string_view i_Line) {
    for (std::size_t index = 0; index < i_Line.size(); ++index) {
        char const byte = i_Line[index];
        bool const separator = byte == '=' || byte == ':';
        if (isSpace(byte) || (separator && trailingBackslashes(i_Line.substr(0, index)) % 2 == 0)) {
            return index;
        }
    }
    return i_Line.size();
}

std::string_view valueOf(std::string_view i_Line, std::size_t i_KeyEnd) {
    std::string_view value = skipSpace(i_Line.substr(i_KeyEnd));
    if (!value.empty() && (value.front() == '=' || value.front() == ':')) {
        value = skipSpace(value.substr(1));
    }
    return value;
}

std::string quoted(std::wstring const& i_Text) {
    return "'" + displayText(i_Text) + "'";
}

class Linter {
public:
    explicit Linter(Tessarine::IniFileReader& io_Reader) : m_Reader(io_Reader) {}

    std::vector<Finding> run(std::string_view i_Bytes) {
        checkBytes(i_Bytes);
        std::vector<Line> const lines = linesOf(rowsOf(i_Bytes));
        for (Line const& line : lines) {
            checkLine(line);
        }
        if (!lines.empty() && lines.back().m_CutShort) {
            add(lines.back().m_LastRow, "the last line ends in a backslash, which continues it "
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

    void checkLine(Line const& i_Line) {
        std::string_view const text = i_Line.m_Text;
        if (text.empty() || std::string_view("#!;").find(text.front()) != std::string_view::npos) {
            return;
        }
        if (text.front() == '[') {
            checkHeader(i_Line);
        } else {
            checkKeyLine(i_Line);
        }
    }

    void checkKeyLine(Line const& i_Line) {
        std::string_view const text = i_Line.m_Text;
        std::size_t const end = keyEnd(text);
        std::wstring const key = m_Reader.unescape(std::string(text.substr(0, end)));
        auto const [first, isNew] =
            m_FirstLines.emplace(std::make_pair(m_Section, key), i_Line.m_FirstRow);
        if (!isNew) {
            add(i_Line.m_FirstRow, "key " + quoted(key) + " is given again in section " +
                                       quoted(m_Section) + " (first on line " +
                                       std::to_string(first->second) +
                                       "): the earlier value is lost");
        }
        std::string_view const value = valueOf(text, end);
        if (!value.empty() && isSpace(value.back()) &&
            trailingBackslashes(value.substr(0, value.size() - 1)) % 2 == 0) {
            add(i_Line.m_LastRow,
                "the value of " + quoted(key) + " ends in white space, which is part of the value");
        }
        checkControlEscape(i_Line.m_FirstRow, text);
    }

    void checkHeader(Line const& i_Line) {
        std::string_view const text = i_Line.m_Text;
        std::size_t const close = std::min(text.find(']'), text.size());
        std::string_view const name = text.substr(1, close - 1);
        m_Section = m_Reader.unescape(std::string(name));
        m_Headers.emplace_back(i_Line.m_FirstRow, m_Section);
        if (!skipSpace(text.substr(std::min(close + 1, text.size()))).empty()) {
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
