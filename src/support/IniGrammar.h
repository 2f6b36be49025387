#ifndef TESSARINE_SUPPORT_INI_GRAMMAR_H
#define TESSARINE_SUPPORT_INI_GRAMMAR_H

// The grammar of a properties file for the tools around the reader: rows, logical lines with the
// rows they came from, the kinds of line, a header's name and a key line's key and value, all
// still raw (their backslash sequences undecoded). It is written the plain way, apart from the
// reader, which does not use it: the fuzz target checks the reader against a model built on it,
// and a difference between the two only means something while they share no code.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace TessarineSupport {

/// The three bytes of a UTF-8 byte order mark, which the format reads as text.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// White space is what the C library's isspace() calls so, in the current locale.
inline bool isIniSpace(char i_Byte) {
    return std::isspace(static_cast<unsigned char>(i_Byte)) != 0;
}

inline std::string_view skipIniSpace(std::string_view i_Text) {
    std::size_t start = 0;
    while (start < i_Text.size() && isIniSpace(i_Text[start])) {
        ++start;
    }
    return i_Text.substr(start);
}

/// The length of the run of backslashes that ends the text.
inline std::size_t trailingBackslashes(std::string_view i_Text) {
    std::size_t const last = i_Text.find_last_not_of('\\');
    return last == std::string_view::npos ? i_Text.size() : i_Text.size() - last - 1;
}

/// The rows of a file: the text between LFs (a LF at the very end starts no further row),
/// without the run of CRs at the end. A CR between other bytes stays. The CRs at the start go
/// with the row's leading white space, which every locale's isspace() takes them for.
inline std::vector<std::string_view> iniRows(std::string_view i_Bytes) {
    std::vector<std::string_view> rows;
    for (std::size_t start = 0; start < i_Bytes.size();) {
        std::size_t const end = std::min(i_Bytes.find('\n', start), i_Bytes.size());
        std::string_view row = i_Bytes.substr(start, end - start);
        row.remove_suffix(row.size() - (row.find_last_not_of('\r') + 1));
        rows.push_back(row);
        start = end + 1;
    }
    return rows;
}

/// A logical line: its rows joined, each without its leading white space and the continuing
/// backslash, and where each of them begins in the text.
struct IniLine {
    std::string m_Text;
    /// The row it starts on, counted from 1.
    std::size_t m_FirstRow;
    /// Where each of its rows begins in m_Text, the first at 0. A row that ended the line
    /// because nothing was left of it begins at the end of the text.
    std::vector<std::size_t> m_RowStarts;
    /// Whether the file ended while the line waited for its next row.
    bool m_CutShort;
    /// Where the text of each of its rows, behind the leading white space, lies in the file.
    std::vector<std::size_t> m_RowOffsets;

    std::size_t lastRow() const { return m_FirstRow + m_RowStarts.size() - 1; }

    /// The row of the byte at i_Offset of the text.
    std::size_t rowAt(std::size_t i_Offset) const { return m_FirstRow + partAt(i_Offset); }

    /// Where the byte at i_Offset of the text lies in the file.
    std::size_t fileOffset(std::size_t i_Offset) const {
        std::size_t const part = partAt(i_Offset);
        return m_RowOffsets[part] + i_Offset - m_RowStarts[part];
    }

private:
    /// Which of its rows, counted from 0, holds the byte at i_Offset of the text.
    std::size_t partAt(std::size_t i_Offset) const {
        auto const after = std::upper_bound(m_RowStarts.begin(), m_RowStarts.end(), i_Offset);
        return static_cast<std::size_t>(after - m_RowStarts.begin()) - 1;
    }
};

/// The logical lines of a file: a row that ends in an odd run of backslashes goes on in the next
/// one, up to a row that ends in an even run, a row with nothing but white space, or the end.
inline std::vector<IniLine> iniLines(std::string_view i_Bytes) {
    std::vector<std::string_view> const rows = iniRows(i_Bytes);
    auto const offsetOf = [i_Bytes](std::string_view i_Row) {
        return static_cast<std::size_t>(i_Row.data() - i_Bytes.data());
    };
    std::vector<IniLine> lines;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::string_view const first = skipIniSpace(rows[row]);
        IniLine line{std::string(first), row + 1, {0}, false, {offsetOf(first)}};
        bool goesOn = trailingBackslashes(line.m_Text) % 2 == 1;
        while (goesOn) {
            line.m_Text.pop_back();
            line.m_CutShort = row + 1 == rows.size();
            if (line.m_CutShort) {
                break;
            }
            std::string_view const next = skipIniSpace(rows[++row]);
            line.m_RowStarts.push_back(line.m_Text.size());
            line.m_RowOffsets.push_back(offsetOf(next));
            line.m_Text += next;
            // A row with nothing left ends in no backslash, so it ends the line.
            goesOn = trailingBackslashes(next) % 2 == 1;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

enum class IniLineKind { Empty, Comment, Header, Key };

/// What a logical line is, by its first byte.
inline IniLineKind iniLineKind(std::string_view i_Line) {
    if (i_Line.empty()) {
        return IniLineKind::Empty;
    }
    if (std::string_view("#!;").find(i_Line.front()) != std::string_view::npos) {
        return IniLineKind::Comment;
    }
    return i_Line.front() == '[' ? IniLineKind::Header : IniLineKind::Key;
}

/// The name of a header line: behind the `[` up to the first `]`, or to the end of the line.
/// A backslash protects no `]`.
inline std::string_view iniHeaderName(std::string_view i_Header) {
    std::string_view const inside = i_Header.substr(1);
    return inside.substr(0, inside.find(']'));
}

/// A key line cut in two, raw. The separator and the white space around it belong to neither.
struct IniKeyLine {
    std::string_view m_Key;
    std::string_view m_Value;
};

/// The key ends at white space, at the end of the line, or at a `=` or `:` behind an even run of
/// backslashes. Behind white space, one `=` or `:` is passed as the separator; anything else
/// starts the value, which runs to the end of the line with its trailing white space.
inline IniKeyLine splitKeyLine(std::string_view i_Line) {
    auto const separator = [](char i_Byte) { return i_Byte == '=' || i_Byte == ':'; };
    std::size_t end = 0;
    while (end < i_Line.size() &&
           !(separator(i_Line[end]) ? trailingBackslashes(i_Line.substr(0, end)) % 2 == 0
                                    : isIniSpace(i_Line[end]))) {
        ++end;
    }
    std::string_view value = skipIniSpace(i_Line.substr(end));
    if (!value.empty() && separator(value.front())) {
        value = skipIniSpace(value.substr(1));
    }
    return {i_Line.substr(0, end), value};
}

} // namespace TessarineSupport

#endif
