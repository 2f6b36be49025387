#include "Tessarine/IniFileReader.h"

#include "Tessarine/IniLocale.h"
#include "Tessarine/IniStore.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

// How the reader works. load() drives a file through three stages, in the order of this source:
// - The scanner hands out rows, logical lines, names and values as views of its read buffer;
//   only a row that goes on beyond the buffer and a line of several rows are copied, into
//   m_Row and m_Line. What a byte is to it (white space, a byte that may end a key) comes from
//   a table that each load takes from the locale (IniLocale.h).
// - The decoder turns the raw text of a name or value into stored text, right into the free
//   room of the store's arena, resolving the escapes on the way, with the locale's widen table.
// - The store (IniStore.h) keeps the texts, the sections in their order and the indexes that
//   find names. After each refill the scanner shows it the names of the lines it holds, so that
//   a large index can fetch their slots ahead of the lookups.
// The queries answer from the store alone.
//
// The stream, the buffers and the store are members of State, which the reader owns through a
// unique_ptr, so they are released also when an allocation failure leaves the constructor,
// where no destructor runs. The stream is closed before its buffer goes. A reader is not
// copyable: it owns a stream and buffers that must not be shared.

namespace Tessarine {

namespace {

using Ini::ByteClasses;
using Ini::KEY_STOP;
using Ini::SPACE;

// Size of the stream's buffer: what the C library would take for most files.
constexpr size_t STREAM_BUFFER_SIZE = 4096;
// Size of the scanner's read buffer.
constexpr size_t READ_BUFFER_SIZE = 1000;

struct FileCloser {
    void operator()(std::FILE* i_File) const { std::fclose(i_File); }
};

// Bytes that grow by realloc, which moves the pages of a large block instead of copying its
// bytes: a row or a line of many megabytes costs no copy of what it already holds.
class Bytes {
public:
    void assign(std::string_view i_Text);
    void append(std::string_view i_Text);
    void pop_back() { --m_Size; }
    std::string_view view() const { return std::string_view(m_Data.get(), m_Size); }
    // Gives the memory back.
    void release();

private:
    struct Free {
        void operator()(char* i_Data) const { std::free(i_Data); }
    };

    std::unique_ptr<char, Free> m_Data;
    size_t m_Size = 0;
    size_t m_Capacity = 0;
};

// Turns raw text into stored text, with the tables that load() samples from the locale; defined
// under "Decoding".
class Decoder {
public:
    Decoder();
    // The decoded text, in the arena's free room: the caller takes it or lets it go.
    Ini::Text decodeIntoRoom(std::string_view i_Raw, Ini::Arena& io_Arena) const;

private:
    bool copyPlain(std::string_view i_Raw, unsigned char* o_Bytes) const;
    static bool copyAscii(std::string_view i_Raw, unsigned char* o_Bytes);
    template <size_t Size> static uint64_t copyWord(char const* i_From, unsigned char* o_To);
    static std::array<wchar_t, 128> const& asciiIdentity();

    Ini::WidenTable m_Widen;
    // Whether every byte below 128 is widened to its own value.
    bool m_AsciiPlain;
};

void lookAhead(std::string_view i_Ahead, ByteClasses const& i_Classes, Ini::Store& io_Store);

} // namespace

struct TESSARINE_LOCAL IniFileReader::State {
    // The stream's buffer comes before the stream, so that it outlives it.
    std::array<char, STREAM_BUFFER_SIZE> m_StreamBuffer;
    Ini::Store m_Store;
    std::unique_ptr<std::FILE, FileCloser> m_File;
    std::array<char, READ_BUFFER_SIZE> m_Buffer;
    uint32_t m_BufferLength = 0;
    uint32_t m_BufferPosition = 0;
    ByteClasses m_ByteClasses{};
    // A row that goes on beyond the read buffer, and a logical line of several rows.
    Bytes m_Row;
    Bytes m_Line;
    // Set by get_next_key() at every header.
    bool m_HeaderRead = false;

    // Reads the next block of the stream into the read buffer, from its start.
    void refill();
};

IniFileReader::IniFileReader(wchar_t const* i_FileName)
    : m_FileName(i_FileName, std::wcslen(i_FileName)), m_State(new State) {
    load();
}

IniFileReader::~IniFileReader() = default;

int32_t IniFileReader::load() {
    if (open() == 0) {
        return 0;
    }
    State& state = *m_State;
    // The locale is asked once per byte value, not once per byte of the file, and not at all
    // while LC_CTYPE keeps its name.
    Ini::fillByteClasses(state.m_ByteClasses);
    Decoder const decoder;

    std::string section;
    std::string_view key;
    std::string_view value;
    size_t current = 0;
    bool inSection = false;
    state.m_HeaderRead = false;
    while (get_next_key(section, key, value)) {
        if (!inSection || state.m_HeaderRead) {
            current = state.m_Store.sectionNamed(section, decoder);
            inSection = true;
            state.m_HeaderRead = false;
        }
        state.m_Store.setProperty(current, key, value, decoder);
    }
    // The scanner's buffers are only needed while reading.
    state.m_Row.release();
    state.m_Line.release();
    return 1;
}

// ---- Bytes and rows ----------------------------------------------------------------------

int IniFileReader::open() {
    State& state = *m_State;
    // Closing an earlier stream first keeps a second load() from leaking it; the buffer is
    // emptied with it, so the new stream is read from its own start.
    state.m_File.reset();
    state.m_BufferLength = 0;
    state.m_BufferPosition = 0;
    // Room for the longest conversion, on the stack for the paths that programs use.
    size_t const capacity = m_FileName.size() * MB_CUR_MAX + 1;
    char local[512];
    std::unique_ptr<char[]> const allocated(capacity > sizeof local ? new char[capacity] : nullptr);
    char* const path = allocated ? allocated.get() : local;
    size_t const length = std::wcstombs(path, m_FileName.c_str(), capacity);
    // The empty path, and a path that the current locale cannot convert, open nothing.
    if (length == 0 || length == static_cast<size_t>(-1)) {
        return 0;
    }
    state.m_File.reset(std::fopen(path, "r"));
    if (!state.m_File) {
        return 0;
    }
    // A buffer of the reader's own spares the C library the size query and the allocation of
    // its buffer on every open.
    std::setvbuf(state.m_File.get(), state.m_StreamBuffer.data(), _IOFBF, STREAM_BUFFER_SIZE);
    return 1;
}

// After each refill, the store is shown the names of the lines that the buffer now holds.
void IniFileReader::State::refill() {
    m_BufferPosition = 0;
    m_BufferLength =
        static_cast<uint32_t>(std::fread(m_Buffer.data(), 1, m_Buffer.size(), m_File.get()));
    lookAhead(std::string_view(m_Buffer.data(), m_BufferLength), m_ByteClasses, m_Store);
}

bool IniFileReader::get_char(char& o_Byte) {
    State& state = *m_State;
    if (state.m_BufferPosition >= state.m_BufferLength) {
        state.refill();
    }
    if (state.m_BufferPosition >= state.m_BufferLength) {
        return false;
    }
    o_Byte = state.m_Buffer[state.m_BufferPosition++];
    return true;
}

// The row is a view of the read buffer, valid until the next refill, or of m_Row when it goes
// on beyond the buffer.
bool IniFileReader::get_row(std::string_view& o_Row) {
    State& state = *m_State;
    char byte = 0;
    if (!get_char(byte)) {
        return false;
    }
    char const* const buffer = state.m_Buffer.data();
    char const* const start = buffer + state.m_BufferPosition - 1;
    char const* const end = buffer + state.m_BufferLength;
    auto const* lineFeed =
        static_cast<char const*>(std::memchr(start, '\n', static_cast<size_t>(end - start)));
    if (lineFeed != nullptr) {
        o_Row = std::string_view(start, static_cast<size_t>(lineFeed - start));
        state.m_BufferPosition = static_cast<uint32_t>(lineFeed + 1 - buffer);
    } else {
        state.m_Row.assign(std::string_view(start, static_cast<size_t>(end - start)));
        state.m_BufferPosition = state.m_BufferLength;
        while (get_char(byte) && byte != '\n') {
            // The rest of the row in the buffer is taken in one step; get_char comes back for
            // the LF, or for the refill when the row goes on beyond the buffer.
            char const* const from = buffer + state.m_BufferPosition - 1;
            size_t const available = state.m_BufferLength - state.m_BufferPosition + 1;
            lineFeed = static_cast<char const*>(std::memchr(from, '\n', available));
            size_t const taken =
                lineFeed == nullptr ? available : static_cast<size_t>(lineFeed - from);
            state.m_Row.append(std::string_view(from, taken));
            state.m_BufferPosition += static_cast<uint32_t>(taken - 1);
        }
        o_Row = state.m_Row.view();
    }
    // The runs of CRs at both ends go.
    while (!o_Row.empty() && o_Row.front() == '\r') {
        o_Row.remove_prefix(1);
    }
    while (!o_Row.empty() && o_Row.back() == '\r') {
        o_Row.remove_suffix(1);
    }
    return true;
}

namespace {

void Bytes::assign(std::string_view i_Text) {
    m_Size = 0;
    append(i_Text);
}

// Grows to at least twice the capacity. A failed realloc leaves the block as it was.
void Bytes::append(std::string_view i_Text) {
    if (m_Capacity - m_Size < i_Text.size()) {
        size_t const capacity = std::max({m_Size + i_Text.size(), 2 * m_Capacity, size_t(64)});
        auto* const data = static_cast<char*>(std::realloc(m_Data.get(), capacity));
        if (data == nullptr) {
            throw std::bad_alloc();
        }
        static_cast<void>(m_Data.release());
        m_Data.reset(data);
        m_Capacity = capacity;
    }
    if (!i_Text.empty()) {
        std::memcpy(m_Data.get() + m_Size, i_Text.data(), i_Text.size());
    }
    m_Size += i_Text.size();
}

void Bytes::release() {
    m_Data.reset();
    m_Size = 0;
    m_Capacity = 0;
}

} // namespace

// ---- Logical lines -----------------------------------------------------------------------

namespace {

constexpr char BACKSLASH = '\\';

unsigned char byteValue(char i_Byte) {
    return static_cast<unsigned char>(i_Byte);
}

bool isSeparator(char i_Byte) {
    return i_Byte == '=' || i_Byte == ':';
}

// Position of the first byte at or after i_From that is no white space.
size_t skipSpace(std::string_view i_Text, size_t i_From, ByteClasses const& i_Classes) {
    while (i_From < i_Text.size() && (i_Classes[byteValue(i_Text[i_From])] & SPACE) != 0) {
        ++i_From;
    }
    return i_From;
}

// Length of the run of backslashes that ends right before i_End.
size_t backslashesBefore(std::string_view i_Text, size_t i_End) {
    size_t count = 0;
    while (count < i_End && i_Text[i_End - 1 - count] == BACKSLASH) {
        ++count;
    }
    return count;
}

} // namespace

// The line is a view of the row when it is one row, else of m_Line.
bool IniFileReader::get_line(std::string_view& o_Line) {
    State& state = *m_State;
    std::string_view row;
    if (!get_row(row)) {
        return false;
    }
    row.remove_prefix(skipSpace(row, 0, state.m_ByteClasses));
    if (backslashesBefore(row, row.size()) % 2 == 0) {
        o_Line = row;
        return true;
    }
    state.m_Line.assign(row.substr(0, row.size() - 1));
    while (get_row(row)) {
        row.remove_prefix(skipSpace(row, 0, state.m_ByteClasses));
        state.m_Line.append(row);
        // An empty row has no backslash at its end, so it ends the line too.
        if (backslashesBefore(row, row.size()) % 2 == 0) {
            break;
        }
        state.m_Line.pop_back();
    }
    o_Line = state.m_Line.view();
    return true;
}

// ---- The grammar of a logical line -------------------------------------------------------

namespace {

bool isComment(char i_Byte) {
    return i_Byte == '#' || i_Byte == '!' || i_Byte == ';';
}

// The name of a header line, which starts with '[': up to the first ']', or to the line's end.
std::string_view headerName(std::string_view i_Line) {
    size_t const end = i_Line.find(']', 1);
    return i_Line.substr(1, end == std::string_view::npos ? end : end - 1);
}

// Where the key of a key line ends: at white space, or at a separator that is not escaped by an
// odd run of backslashes. White space ends it even behind a backslash.
size_t keyEnd(std::string_view i_Line, ByteClasses const& i_Classes) {
    for (size_t position = 0;; ++position) {
        while (position < i_Line.size() &&
               (i_Classes[byteValue(i_Line[position])] & KEY_STOP) == 0) {
            ++position;
        }
        if (position == i_Line.size()) {
            return position;
        }
        char const byte = i_Line[position];
        if (isSeparator(byte) ? backslashesBefore(i_Line, position) % 2 == 0
                              : (i_Classes[byteValue(byte)] & SPACE) != 0) {
            return position;
        }
    }
}

} // namespace

// The key and the value are views of the line, valid until the next call.
bool IniFileReader::get_next_key(std::string& io_Section, std::string_view& o_Key,
                                 std::string_view& o_Value) {
    ByteClasses const& classes = m_State->m_ByteClasses;
    std::string_view line;
    for (;;) {
        if (!get_line(line)) {
            return false;
        }
        if (line.empty() || isComment(line[0])) {
            continue;
        }
        if (line[0] != '[') {
            break;
        }
        io_Section.assign(headerName(line));
        m_State->m_HeaderRead = true;
    }
    size_t const length = line.size();
    size_t const keyLength = keyEnd(line, classes);
    size_t position = keyLength;
    if (position < length) {
        if (isSeparator(line[position])) {
            ++position;
        } else {
            position = skipSpace(line, position, classes);
            if (position < length && isSeparator(line[position])) {
                ++position;
            }
        }
    }
    o_Key = line.substr(0, keyLength);
    o_Value = line.substr(skipSpace(line, position, classes));
    return true;
}

// ---- The look-ahead ----------------------------------------------------------------------

namespace {

// Shows the store the names of the lines in i_Ahead, the text that the scanner reads next,
// when it has an index large enough to want them. Lines are taken as rows, without continued
// rows or comments: a wrong name costs the store a fetch and nothing else.
void lookAhead(std::string_view i_Ahead, ByteClasses const& i_Classes, Ini::Store& io_Store) {
    bool const headers = io_Store.expects(true);
    bool const keys = io_Store.expects(false);
    if (!headers && !keys) {
        return;
    }
    size_t const size = i_Ahead.size();
    for (size_t at = skipSpace(i_Ahead, 0, i_Classes); at < size;
         at = skipSpace(i_Ahead, at, i_Classes)) {
        size_t const end = std::min(i_Ahead.find('\n', at), size);
        std::string_view const line = i_Ahead.substr(at, end - at);
        bool const header = line[0] == '[';
        if (header ? headers : keys) {
            io_Store.expect(header,
                            header ? headerName(line) : line.substr(0, keyEnd(line, i_Classes)));
        }
        at = end;
    }
    io_Store.fetchExpected();
}

} // namespace

// ---- Decoding ----------------------------------------------------------------------------

namespace {

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
        } else if (backslashesBefore(i_Raw, i + 1) % 2 == 0 || i + 5 >= length) {
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

Decoder::Decoder() : m_AsciiPlain(false) {
    Ini::fillWidenTable(m_Widen);
    m_AsciiPlain = std::equal(m_Widen.begin(), m_Widen.begin() + 128, asciiIdentity().begin());
}

Ini::Text Decoder::decodeIntoRoom(std::string_view i_Raw, Ini::Arena& io_Arena) const {
    size_t const length = i_Raw.size();
    // Mostly every byte stands for itself: the text is its own bytes.
    auto* const bytes = io_Arena.room<unsigned char>(length);
    if (copyPlain(i_Raw, bytes)) {
        return Ini::Text(bytes, length, false);
    }
    auto* const wide = io_Arena.room<wchar_t>(length);
    size_t const count =
        decode(i_Raw, wide, [this](char i_Byte) { return m_Widen[byteValue(i_Byte)]; });
    bool const narrow = std::all_of(wide, wide + count, [](wchar_t i_Character) {
        return i_Character >= 0 && i_Character < 256;
    });
    if (!narrow) {
        return Ini::Text(wide, count, true);
    }
    // Byte i overwrites memory of characters before i, which are already copied.
    auto* const narrowed = static_cast<unsigned char*>(static_cast<void*>(wide));
    for (size_t i = 0; i < count; ++i) {
        narrowed[i] = static_cast<unsigned char>(wide[i]);
    }
    return Ini::Text(narrowed, count, false);
}

// Copies the text to o_Bytes and tells whether every byte of it decodes to itself.
bool Decoder::copyPlain(std::string_view i_Raw, unsigned char* o_Bytes) const {
    if (m_AsciiPlain && copyAscii(i_Raw, o_Bytes)) {
        return true;
    }
    bool plain = true;
    for (size_t i = 0; i < i_Raw.size(); ++i) {
        unsigned char const byte = byteValue(i_Raw[i]);
        o_Bytes[i] = byte;
        plain = plain && byte != byteValue(BACKSLASH) && m_Widen[byte] == byte;
    }
    return plain;
}

// Copies the text and tells whether none of its bytes is above 127 or a backslash. Eight bytes
// are looked at a time, the last eight perhaps twice; a shorter text in parts of four, two and
// one.
bool Decoder::copyAscii(std::string_view i_Raw, unsigned char* o_Bytes) {
    char const* const from = i_Raw.data();
    size_t const length = i_Raw.size();
    uint64_t found = 0;
    if (length >= 8) {
        for (size_t i = 0; i < length - 8; i += 8) {
            found |= copyWord<8>(from + i, o_Bytes + i);
        }
        found |= copyWord<8>(from + length - 8, o_Bytes + length - 8);
        return found == 0;
    }
    size_t i = 0;
    if ((length & 4) != 0) {
        found |= copyWord<4>(from + i, o_Bytes + i);
        i += 4;
    }
    if ((length & 2) != 0) {
        found |= copyWord<2>(from + i, o_Bytes + i);
        i += 2;
    }
    if ((length & 1) != 0) {
        found |= copyWord<1>(from + i, o_Bytes + i);
    }
    return found == 0;
}

// Copies Size bytes, up to eight, and returns non-zero when one of them is above 127 or a
// backslash. The bytes are looked at in one word, whose unused bytes are zero.
template <size_t Size> uint64_t Decoder::copyWord(char const* i_From, unsigned char* o_To) {
    constexpr uint64_t ONES = 0x0101010101010101ull;
    constexpr uint64_t HIGHS = 0x8080808080808080ull;
    uint64_t word = 0;
    std::memcpy(&word, i_From, Size);
    std::memcpy(o_To, i_From, Size);
    uint64_t const backslashes = word ^ (ONES * byteValue(BACKSLASH));
    return (word | ((backslashes - ONES) & ~backslashes)) & HIGHS;
}

// The wide characters 0 to 127.
std::array<wchar_t, 128> const& Decoder::asciiIdentity() {
    static std::array<wchar_t, 128> const identity = [] {
        std::array<wchar_t, 128> values{};
        for (size_t value = 0; value < values.size(); ++value) {
            values[value] = static_cast<wchar_t>(value);
        }
        return values;
    }();
    return identity;
}

} // namespace

std::wstring IniFileReader::unescape(std::string const& i_Text) {
    std::wstring result(i_Text.size(), L'\0');
    result.resize(decode(i_Text, result.data(), Ini::widen));
    return result;
}

uint8_t IniFileReader::hex2char(char const* i_Digits) {
    return hexPair(i_Digits);
}

// ---- The queries -------------------------------------------------------------------------

int32_t IniFileReader::getSectionCount() {
    return static_cast<int32_t>(m_State->m_Store.sections().size());
}

std::wstring IniFileReader::getSectionAt(int i_Index) {
    auto const& sections = m_State->m_Store.sections();
    if (i_Index < 0 || static_cast<size_t>(i_Index) >= sections.size()) {
        return std::wstring();
    }
    return sections[static_cast<size_t>(i_Index)].m_Name.str();
}

int32_t IniFileReader::getKeyCount(std::wstring const& i_Section) {
    Ini::Section const* const section = m_State->m_Store.find(i_Section);
    return section == nullptr ? 0 : static_cast<int32_t>(section->m_Properties.size());
}

std::wstring IniFileReader::getKeyAt(std::wstring const& i_Section, int i_Index) {
    Ini::Section const* const section = m_State->m_Store.find(i_Section);
    if (section == nullptr || i_Index < 0 ||
        static_cast<size_t>(i_Index) >= section->m_Properties.size()) {
        return std::wstring();
    }
    return section->m_Properties[static_cast<size_t>(i_Index)].m_Key.str();
}

int32_t IniFileReader::getProperty(std::wstring const& i_Section, std::wstring const& i_Key,
                                   std::wstring& o_Value) {
    Ini::Section const* const section = m_State->m_Store.find(i_Section);
    Ini::Property const* const property = section == nullptr ? nullptr : section->find(i_Key);
    if (property == nullptr) {
        return 0;
    }
    property->m_Value.copyTo(o_Value);
    return 1;
}

} // namespace Tessarine
