#include "Tessarine/IniFileReader.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iostream>
#include <tuple>

namespace Tessarine {

// Widens one byte the way the rest of the host's wide output would: by the character facet of
// std::wcout's locale. Only the reader uses it, so it is not exported.
wchar_t char_2_wchar(char i_Byte) {
    return std::wcout.widen(i_Byte);
}

namespace {

constexpr char BACKSLASH = '\\';

unsigned char byteValue(char i_Byte) {
    return static_cast<unsigned char>(i_Byte);
}

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

uint8_t hexPair(char const* i_Digits) {
    return static_cast<uint8_t>(hexDigit(i_Digits[0]) * 16 + hexDigit(i_Digits[1]));
}

bool isSeparator(char i_Byte) {
    return i_Byte == '=' || i_Byte == ':';
}

bool isComment(char i_Byte) {
    return i_Byte == '#' || i_Byte == '!' || i_Byte == ';';
}

// Position of the first byte at or after i_From that is no white space.
size_t skipSpace(std::string_view i_Text, size_t i_From, std::array<bool, 256> const& i_Spaces) {
    while (i_From < i_Text.size() && i_Spaces[byteValue(i_Text[i_From])]) {
        ++i_From;
    }
    return i_From;
}

// Length of the run of backslashes that ends the text.
size_t trailingBackslashes(std::string_view i_Text) {
    size_t const last = i_Text.find_last_not_of(BACKSLASH);
    return last == std::string_view::npos ? i_Text.size() : i_Text.size() - last - 1;
}

// Where the key of a key line ends: at white space, or at a separator that is not escaped by an
// odd run of backslashes. White space ends it even behind a backslash.
size_t keyEnd(std::string_view i_Line, std::array<bool, 256> const& i_Spaces) {
    size_t backslashes = 0;
    size_t position = 0;
    for (; position < i_Line.size(); ++position) {
        char const byte = i_Line[position];
        if (isSeparator(byte)) {
            if (backslashes % 2 == 0) {
                break;
            }
        } else if (i_Spaces[byteValue(byte)]) {
            break;
        }
        backslashes = byte == BACKSLASH ? backslashes + 1 : 0;
    }
    return position;
}

// Length of the run of backslashes that ends at i_Position, counted back to the start.
size_t backslashRunEndingAt(std::string_view i_Text, size_t i_Position) {
    size_t count = 0;
    while (count <= i_Position && i_Text[i_Position - count] == BACKSLASH) {
        ++count;
    }
    return count;
}

// Decodes raw text into o_Out, which has room for i_Raw.size() characters (no sequence is longer
// decoded than raw), and returns the number of characters written. i_Widen gives the wide
// character of a byte that stands for itself.
template <typename Widen>
size_t decode(std::string_view i_Raw, wchar_t* o_Out, Widen const& i_Widen) {
    size_t const length = i_Raw.size();
    wchar_t* out = o_Out;
    size_t i = 0;
    while (i < length) {
        if (i_Raw[i] != BACKSLASH || i + 1 == length) {
            *out++ = i_Widen(i_Raw[i]);
            i += 1;
        } else if (i_Raw[i + 1] != 'u' && i_Raw[i + 1] != 'U') {
            *out++ = i_Widen(i_Raw[i + 1]);
            i += 2;
        } else if (backslashRunEndingAt(i_Raw, i) % 2 == 0 || i + 5 >= length) {
            // Either this backslash was the last digit of an earlier sequence, or the text is
            // too short for four digits: the backslash stands for itself.
            *out++ = i_Widen(BACKSLASH);
            i += 1;
        } else {
            unsigned const high = hexPair(&i_Raw[i + 2]);
            unsigned const low = hexPair(&i_Raw[i + 4]);
            *out++ = static_cast<wchar_t>(high * 256 + low);
            i += 6;
        }
    }
    return static_cast<size_t>(out - o_Out);
}

// Widens through the table that load() fills once.
struct TableWiden {
    std::array<wchar_t, 256> const& table;
    wchar_t operator()(char i_Byte) const { return table[byteValue(i_Byte)]; }
};

// One search for a name: where it is in the map, or where it belongs, and whether it is there.
template <typename Map>
std::pair<typename Map::iterator, bool> locate(Map& io_Map, std::wstring_view i_Name) {
    auto const at = io_Map.lower_bound(i_Name);
    return {at, at != io_Map.end() && !io_Map.key_comp()(i_Name, at->first)};
}

// Makes room for one more element the way push_back would, so that a push_back after it cannot
// fail: a name then enters its map and its list of positions together or not at all.
template <typename Element> void reserveOneMore(std::vector<Element>& io_List) {
    if (io_List.size() == io_List.capacity()) {
        io_List.reserve(std::max<size_t>(1, 2 * io_List.size()));
    }
}

// Decodes into a reused string; its capacity carries over from one call to the next.
template <typename Widen>
void decodeInto(std::string_view i_Raw, std::wstring& o_Text, Widen const& i_Widen) {
    o_Text.resize(i_Raw.size());
    o_Text.resize(decode(i_Raw, o_Text.data(), i_Widen));
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

IniFileReader::Section::Section(std::pmr::memory_resource* i_Arena) : m_Properties(i_Arena) {}

void IniFileReader::FileCloser::operator()(std::FILE* i_File) const {
    std::fclose(i_File);
}

IniFileReader::IniFileReader(wchar_t const* i_FileName)
    : m_Arena(std::pmr::new_delete_resource()), m_Sections(&m_Arena),
      m_FileName(i_FileName, std::wcslen(i_FileName)), m_IsOpen(0), m_BufferSize(1000),
      m_Buffer(new char[static_cast<size_t>(m_BufferSize)]), m_BufferLength(0), m_BufferPosition(0),
      m_SpaceTable() {
    load();
}

IniFileReader::~IniFileReader() = default;

int32_t IniFileReader::load() {
    // A stream that is not open means that this call (perhaps a second one, after an earlier
    // success left m_IsOpen at 1) could not open the file: nothing may be read then.
    if (open() == 0 || !m_File) {
        return 0;
    }
    // The locale is asked once per byte value, not once per byte of the file.
    WidenTable widenTable;
    for (unsigned value = 0; value < 256; ++value) {
        char const byte = static_cast<char>(value);
        m_SpaceTable[value] = is_space(byte) != 0;
        widenTable[value] = char_2_wchar(byte);
    }
    TableWiden const widen{widenTable};

    std::string section;
    std::string key;
    std::string value;
    // The raw header text changes only at headers, so the section is decoded and looked up
    // again only when it differs from the one of the previous key line.
    std::string currentRaw;
    Section* current = nullptr;
    std::wstring decoded;
    while (get_next_key(section, key, value)) {
        if (current == nullptr || section != currentRaw) {
            decodeInto(section, decoded, widen);
            current = &sectionNamed(decoded);
            currentRaw = section;
        }
        decodeInto(key, decoded, widen);
        storeProperty(*current, decoded, value, widenTable);
    }
    // The scanner's buffers are only needed while reading.
    std::string().swap(m_Row);
    std::string().swap(m_Line);
    return 1;
}

IniFileReader::Section& IniFileReader::sectionNamed(std::wstring const& i_Name) {
    auto [section, found] = locate(m_Sections, i_Name);
    if (!found) {
        Text const name = keep(i_Name);
        reserveOneMore(m_SectionNames);
        section =
            m_Sections.emplace_hint(section, std::piecewise_construct, std::forward_as_tuple(name),
                                    std::forward_as_tuple(&m_Arena));
        m_SectionNames.push_back(name);
    }
    return section->second;
}

void IniFileReader::storeProperty(Section& io_Section, std::wstring const& i_Key,
                                  std::string const& i_Value, WidenTable const& i_Widen) {
    // The value is decoded straight into the arena: it never grows in decoding, and it shrinks
    // only where the raw text has backslashes.
    wchar_t* const text = newText(i_Value.size());
    Text const value(text, decode(i_Value, text, TableWiden{i_Widen}));

    auto [property, found] = locate(io_Section.m_Properties, i_Key);
    if (found) {
        property->second = value;
        return;
    }
    Text const key = keep(i_Key);
    reserveOneMore(io_Section.m_Keys);
    io_Section.m_Properties.emplace_hint(property, key, value);
    io_Section.m_Keys.push_back(key);
}

IniFileReader::Text IniFileReader::keep(std::wstring_view i_Text) {
    wchar_t* const text = newText(i_Text.size());
    std::wmemcpy(text, i_Text.data(), i_Text.size());
    return Text(text, i_Text.size());
}

wchar_t* IniFileReader::newText(std::size_t i_Length) {
    return static_cast<wchar_t*>(m_Arena.allocate(i_Length * sizeof(wchar_t), alignof(wchar_t)));
}

int32_t IniFileReader::getSectionCount() {
    return static_cast<int32_t>(m_SectionNames.size());
}

std::wstring IniFileReader::getSectionAt(int i_Index) {
    if (i_Index < 0 || static_cast<size_t>(i_Index) >= m_SectionNames.size()) {
        return std::wstring();
    }
    return std::wstring(m_SectionNames[static_cast<size_t>(i_Index)]);
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
    return std::wstring(section->second.m_Keys[static_cast<size_t>(i_Index)]);
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
    o_Value.assign(property->second);
    return 1;
}

std::wstring IniFileReader::unescape(std::string const& i_Text) {
    std::wstring result;
    decodeInto(i_Text, result, char_2_wchar);
    return result;
}

uint8_t IniFileReader::hex2char(char const* i_Digits) {
    return hexPair(i_Digits);
}

int IniFileReader::open() {
    // Closing an earlier stream first keeps a second load() from leaking it; the buffer is
    // emptied with it, so the new stream is read from its own start.
    m_File.reset();
    m_BufferLength = 0;
    m_BufferPosition = 0;
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
    return std::isspace(byteValue(i_Byte));
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
        // What is left of the row in the buffer is taken in one step; get_char comes back
        // for the LF, or for the refill when the row goes on beyond the buffer.
        char const* const start = m_Buffer.get() + m_BufferPosition;
        size_t const available = m_BufferLength - m_BufferPosition;
        auto const* const lineFeed = static_cast<char const*>(std::memchr(start, '\n', available));
        size_t const taken =
            lineFeed == nullptr ? available : static_cast<size_t>(lineFeed - start);
        o_Row.append(start, taken);
        m_BufferPosition += static_cast<uint32_t>(taken);
    }
    if (!o_Row.empty()) {
        if (o_Row.front() == '\r') {
            o_Row.erase(0, o_Row.find_first_not_of('\r'));
        }
        size_t const last = o_Row.find_last_not_of('\r');
        o_Row.erase(last == std::string::npos ? 0 : last + 1);
    }
    return consumed;
}

bool IniFileReader::get_line(std::string& o_Line) {
    if (!get_row(m_Row)) {
        return false;
    }
    o_Line.assign(m_Row, skipSpace(m_Row, 0, m_SpaceTable));
    if (trailingBackslashes(o_Line) % 2 == 0) {
        return true;
    }
    o_Line.pop_back();
    while (get_row(m_Row)) {
        std::string_view const next =
            std::string_view(m_Row).substr(skipSpace(m_Row, 0, m_SpaceTable));
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
    for (;;) {
        if (!get_line(m_Line)) {
            return false;
        }
        if (m_Line.empty() || isComment(m_Line[0])) {
            continue;
        }
        if (m_Line[0] != '[') {
            break;
        }
        size_t const end = m_Line.find(']', 1);
        io_Section.assign(m_Line, 1, end == std::string::npos ? std::string::npos : end - 1);
    }
    size_t const length = m_Line.size();
    size_t const keyLength = keyEnd(m_Line, m_SpaceTable);
    size_t position = keyLength;
    if (position < length) {
        if (isSeparator(m_Line[position])) {
            ++position;
        } else {
            position = skipSpace(m_Line, position, m_SpaceTable);
            if (position < length && isSeparator(m_Line[position])) {
                ++position;
            }
        }
    }
    o_Key.assign(m_Line, 0, keyLength);
    o_Value.assign(m_Line, skipSpace(m_Line, position, m_SpaceTable));
    return true;
}

} // namespace Tessarine
