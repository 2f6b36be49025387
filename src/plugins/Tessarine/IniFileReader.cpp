#include "Tessarine/IniFileReader.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iostream>

namespace Tessarine {

// Widens one byte the way the rest of the host's wide output would: by the character facet of
// std::wcout's locale. Only the reader uses it, so it is not exported.
wchar_t char_2_wchar(char i_Byte) {
    return std::wcout.widen(i_Byte);
}

namespace {

constexpr char BACKSLASH = '\\';

uint8_t hexDigit(char i_Byte) {
    if (i_Byte >= '0' && i_Byte <= '9') {
        return static_cast<uint8_t>(i_Byte - '0');
    }
    if (i_Byte >= 'a' && i_Byte <= 'f') {
        return static_cast<uint8_t>(i_Byte - 'a' + 10);
    }
    if (i_Byte >= 'A' && i_Byte <= 'F') {
        return static_cast<uint8_t>(i_Byte - 'A' + 10);
    }
    return 0;
}

bool isSeparator(char i_Byte) {
    return i_Byte == '=' || i_Byte == ':';
}

bool isComment(char i_Byte) {
    return i_Byte == '#' || i_Byte == '!' || i_Byte == ';';
}

// Length of the run of backslashes that ends the text.
size_t trailingBackslashes(std::string_view i_Text) {
    size_t const last = i_Text.find_last_not_of(BACKSLASH);
    return last == std::string_view::npos ? i_Text.size() : i_Text.size() - last - 1;
}

// Length of the run of backslashes that ends at i_Position, counted back to the start.
size_t backslashRunEndingAt(std::string const& i_Text, size_t i_Position) {
    size_t count = 0;
    while (count <= i_Position && i_Text[i_Position - count] == BACKSLASH) {
        ++count;
    }
    return count;
}

} // namespace

bool IniFileReader::NameOrder::operator()(std::wstring_view i_Left,
                                          std::wstring_view i_Right) const {
    size_t const common = std::min(i_Left.size(), i_Right.size());
    if (common != 0) {
        int const order = std::wmemcmp(i_Left.data(), i_Right.data(), common);
        if (order != 0) {
            return order < 0;
        }
    }
    return i_Left.size() < i_Right.size();
}

void IniFileReader::FileCloser::operator()(std::FILE* i_File) const {
    std::fclose(i_File);
}

IniFileReader::IniFileReader(wchar_t const* i_FileName)
    : m_FileName(i_FileName, std::wcslen(i_FileName)), m_IsOpen(0), m_BufferSize(1000),
      m_Buffer(new char[m_BufferSize]), m_BufferLength(0), m_BufferPosition(0) {
    load();
}

IniFileReader::~IniFileReader() = default;

int32_t IniFileReader::load() {
    // A stream that is not open means that this call (perhaps a second one, after an earlier
    // success left m_IsOpen at 1) could not open the file: nothing may be read then.
    if (open() == 0 || !m_File) {
        return 0;
    }
    std::string section;
    std::string key;
    std::string value;
    while (get_next_key(section, key, value)) {
        std::wstring const decodedSection = unescape(section);
        std::wstring const decodedKey = unescape(key);
        std::wstring const decodedValue = unescape(value);
        store(decodedSection, decodedKey, decodedValue);
    }
    return 1;
}

void IniFileReader::store(std::wstring const& i_Section, std::wstring const& i_Key,
                          std::wstring const& i_Value) {
    if (m_Sections.find(i_Section) == m_Sections.end()) {
        m_SectionNames.push_back(i_Section);
    }
    Section& section = m_Sections[i_Section];
    if (section.m_Properties.find(i_Key) == section.m_Properties.end()) {
        section.m_Keys.push_back(i_Key);
    }
    section.m_Properties[i_Key] = i_Value;
}

int32_t IniFileReader::getSectionCount() {
    return static_cast<int32_t>(m_SectionNames.size());
}

std::wstring IniFileReader::getSectionAt(int i_Index) {
    if (i_Index < 0 || static_cast<size_t>(i_Index) >= m_SectionNames.size()) {
        return std::wstring();
    }
    return m_SectionNames[static_cast<size_t>(i_Index)];
}

int32_t IniFileReader::getKeyCount(std::wstring const& i_Section) {
    auto const section = m_Sections.find(i_Section);
    return section == m_Sections.end() ? 0 : static_cast<int32_t>(section->second.m_Keys.size());
}

std::wstring IniFileReader::getKeyAt(std::wstring const& i_Section, int i_Index) {
    auto const section = m_Sections.find(i_Section);
    if (section == m_Sections.end() || i_Index < 0 ||
        static_cast<size_t>(i_Index) >= section->second.m_Keys.size()) {
        return std::wstring();
    }
    return section->second.m_Keys[static_cast<size_t>(i_Index)];
}

int32_t IniFileReader::getProperty(std::wstring const& i_Section, std::wstring const& i_Key,
                                   std::wstring& o_Value) {
    auto const section = m_Sections.find(i_Section);
    if (section == m_Sections.end()) {
        return 0;
    }
    auto const property = section->second.m_Properties.find(i_Key);
    if (property == section->second.m_Properties.end()) {
        return 0;
    }
    o_Value = property->second;
    return 1;
}

std::wstring IniFileReader::unescape(std::string const& i_Text) {
    std::wstring result;
    size_t const length = i_Text.size();
    size_t i = 0;
    while (i < length) {
        if (i_Text[i] != BACKSLASH || i + 1 == length) {
            result += char_2_wchar(i_Text[i]);
            i += 1;
        } else if (i_Text[i + 1] != 'u' && i_Text[i + 1] != 'U') {
            result += char_2_wchar(i_Text[i + 1]);
            i += 2;
        } else if (backslashRunEndingAt(i_Text, i) % 2 == 0 || i + 5 >= length) {
            // Either this backslash was the last digit of an earlier sequence, or the text is
            // too short for four digits: the backslash stands for itself.
            result += char_2_wchar(BACKSLASH);
            i += 1;
        } else {
            unsigned const high = hex2char(&i_Text[i + 2]);
            unsigned const low = hex2char(&i_Text[i + 4]);
            result += static_cast<wchar_t>(high * 256 + low);
            i += 6;
        }
    }
    return result;
}

uint8_t IniFileReader::hex2char(char const* i_Digits) {
    return static_cast<uint8_t>(hexDigit(i_Digits[0]) * 16 + hexDigit(i_Digits[1]));
}

int IniFileReader::open() {
    m_File.reset();
    int32_t const length = static_cast<int32_t>(std::wcstombs(nullptr, m_FileName.c_str(), 0));
    if (length <= 0) {
        return m_IsOpen;
    }
    std::unique_ptr<char[]> const path(new char[static_cast<size_t>(length) + 1]);
    int32_t const converted = static_cast<int32_t>(
        std::wcstombs(path.get(), m_FileName.c_str(), static_cast<size_t>(length) + 1));
    if (converted > 0) {
        m_File.reset(std::fopen(path.get(), "r"));
        if (m_File) {
            m_IsOpen = 1;
        }
    }
    return m_IsOpen;
}

int IniFileReader::is_space(char const& i_Byte) {
    return std::isspace(static_cast<unsigned char>(i_Byte));
}

bool IniFileReader::get_char(char& o_Byte) {
    if (m_BufferPosition >= m_BufferLength) {
        m_BufferPosition = 0;
        std::memset(m_Buffer.get(), 0, static_cast<size_t>(m_BufferSize));
        m_BufferLength = static_cast<uint32_t>(
            std::fread(m_Buffer.get(), 1, static_cast<size_t>(m_BufferSize), m_File.get()));
    }
    if (m_BufferPosition >= m_BufferLength) {
        return false;
    }
    o_Byte = m_Buffer[m_BufferPosition++];
    return true;
}

bool IniFileReader::get_row(std::string& o_Row) {
    o_Row.clear();
    bool consumed = false;
    char byte = 0;
    while (get_char(byte)) {
        consumed = true;
        if (byte == '\n') {
            break;
        }
        o_Row += byte;
    }
    if (!o_Row.empty()) {
        o_Row.erase(0, o_Row.find_first_not_of('\r'));
        size_t const last = o_Row.find_last_not_of('\r');
        o_Row.erase(last == std::string::npos ? 0 : last + 1);
    }
    return consumed;
}

bool IniFileReader::get_line(std::string& o_Line) {
    std::string row;
    if (!get_row(row)) {
        return false;
    }
    auto const dropLeadingSpace = [this](std::string& io_Row) {
        size_t start = 0;
        while (start < io_Row.size() && is_space(io_Row[start]) != 0) {
            ++start;
        }
        io_Row.erase(0, start);
    };
    dropLeadingSpace(row);
    o_Line = row;
    if (trailingBackslashes(o_Line) % 2 == 0) {
        return true;
    }
    o_Line.pop_back();
    std::string next;
    while (get_row(next)) {
        dropLeadingSpace(next);
        if (next.empty()) {
            return true;
        }
        o_Line += next;
        if (trailingBackslashes(next) % 2 == 0) {
            return true;
        }
        o_Line.pop_back();
    }
    return true;
}

bool IniFileReader::get_next_key(std::string& io_Section, std::string& o_Key,
                                 std::string& o_Value) {
    std::string line;
    for (;;) {
        if (!get_line(line)) {
            return false;
        }
        if (line.empty() || isComment(line[0])) {
            continue;
        }
        if (line[0] == '[') {
            size_t const end = line.find(']', 1);
            io_Section.assign(line, 1, end == std::string::npos ? std::string::npos : end - 1);
            continue;
        }
        break;
    }
    // The key ends at white space, or at a separator that is not escaped by an odd run of
    // backslashes; white space ends it even behind a backslash.
    size_t const length = line.size();
    size_t position = 0;
    size_t backslashes = 0;
    for (; position < length; ++position) {
        char const byte = line[position];
        if (isSeparator(byte)) {
            if (backslashes % 2 == 0) {
                break;
            }
        } else if (is_space(byte) != 0) {
            break;
        }
        backslashes = byte == BACKSLASH ? backslashes + 1 : 0;
    }
    size_t const keyEnd = position;
    auto const skipSpace = [&] {
        while (position < length && is_space(line[position]) != 0) {
            ++position;
        }
    };
    if (position < length) {
        if (isSeparator(line[position])) {
            ++position;
        } else {
            skipSpace();
            if (position < length && isSeparator(line[position])) {
                ++position;
            }
        }
    }
    skipSpace();
    o_Key.assign(line, 0, keyEnd);
    o_Value.assign(line, position, std::string::npos);
    return true;
}

} // namespace Tessarine
