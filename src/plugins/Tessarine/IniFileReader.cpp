#include "Tessarine/IniFileReader.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <deque>
#include <iostream>
#include <locale>
#include <new>
#include <typeinfo>
#include <vector>

// How the reader works:
// - The scanner hands out rows, logical lines, names and values as views of its read buffer;
//   only a row that goes on beyond the buffer and a line of several rows are copied, into
//   m_Row and m_Line.
// - Every decoded name and value is written once into an arena that the store owns. Text whose
//   characters are all below 256 takes one byte per character there, other text a wchar_t per
//   character. The form follows from the characters alone, so two equal texts have the same
//   form and bytes.
// - The order of the indexes is never seen: names are found through hash tables, and the
//   positions come from the lists in which they were first met.
// - Loading costs time in proportion to the file. A table of millions of names no longer fits
//   the cache, so after each refill the store starts to fetch the slots that the names ahead
//   will probe (look_ahead), and the waits for memory overlap instead of adding up.
// - The stream, the read buffer and the store, which also holds the stream's buffer, are owned
//   by RAII members, so they are released also when an allocation failure leaves the
//   constructor, where no destructor runs. The stream is closed before the store goes.
// - A reader is not copyable: it owns a stream and a buffer that must not be shared.

namespace Tessarine {

namespace {

unsigned char byteValue(char i_Byte) {
    return static_cast<unsigned char>(i_Byte);
}

} // namespace

// ---- Bytes and rows ----------------------------------------------------------------------

namespace {

// Size of the stream's buffer: what the C library would take for most files.
constexpr size_t STREAM_BUFFER_SIZE = 4096;

} // namespace

void IniFileReader::FileCloser::operator()(std::FILE* i_File) const {
    std::fclose(i_File);
}

void IniFileReader::Bytes::Free::operator()(char* i_Data) const {
    std::free(i_Data);
}

void IniFileReader::Bytes::assign(std::string_view i_Text) {
    m_Size = 0;
    append(i_Text);
}

// Grows to at least twice the capacity. A failed realloc leaves the block as it was.
void IniFileReader::Bytes::append(std::string_view i_Text) {
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

void IniFileReader::Bytes::release() {
    m_Data.reset();
    m_Size = 0;
    m_Capacity = 0;
}

int IniFileReader::open() {
    // Closing an earlier stream first keeps a second load() from leaking it; the buffer is
    // emptied with it, so the new stream is read from its own start.
    m_File.reset();
    m_BufferLength = 0;
    m_BufferPosition = 0;
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
    m_File.reset(std::fopen(path, "r"));
    if (!m_File) {
        return 0;
    }
    // A buffer of the reader's own spares the C library the size query and the allocation of
    // its buffer on every open.
    std::setvbuf(m_File.get(), m_StreamBuffer, _IOFBF, STREAM_BUFFER_SIZE);
    return 1;
}

bool IniFileReader::get_char(char& o_Byte) {
    if (m_BufferPosition >= m_BufferLength) {
        m_BufferPosition = 0;
        m_BufferLength = static_cast<uint32_t>(
            std::fread(m_Buffer.get(), 1, static_cast<size_t>(m_BufferSize), m_File.get()));
        look_ahead();
    }
    if (m_BufferPosition >= m_BufferLength) {
        return false;
    }
    o_Byte = m_Buffer[m_BufferPosition++];
    return true;
}

// The row is a view of the read buffer, valid until the next refill, or of m_Row when it goes
// on beyond the buffer.
bool IniFileReader::get_row(std::string_view& o_Row) {
    char byte = 0;
    if (!get_char(byte)) {
        return false;
    }
    char const* const start = m_Buffer.get() + m_BufferPosition - 1;
    char const* const end = m_Buffer.get() + m_BufferLength;
    auto const* lineFeed =
        static_cast<char const*>(std::memchr(start, '\n', static_cast<size_t>(end - start)));
    if (lineFeed != nullptr) {
        o_Row = std::string_view(start, static_cast<size_t>(lineFeed - start));
        m_BufferPosition = static_cast<uint32_t>(lineFeed + 1 - m_Buffer.get());
    } else {
        m_Row.assign(std::string_view(start, static_cast<size_t>(end - start)));
        m_BufferPosition = m_BufferLength;
        while (get_char(byte) && byte != '\n') {
            // The rest of the row in the buffer is taken in one step; get_char comes back for
            // the LF, or for the refill when the row goes on beyond the buffer.
            char const* const from = m_Buffer.get() + m_BufferPosition - 1;
            size_t const available = m_BufferLength - m_BufferPosition + 1;
            lineFeed = static_cast<char const*>(std::memchr(from, '\n', available));
            size_t const taken =
                lineFeed == nullptr ? available : static_cast<size_t>(lineFeed - from);
            m_Row.append(std::string_view(from, taken));
            m_BufferPosition += static_cast<uint32_t>(taken - 1);
        }
        o_Row = m_Row.view();
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

// ---- Logical lines -----------------------------------------------------------------------

namespace {

constexpr char BACKSLASH = '\\';

// What a byte value is to the scanner; the classes are or-ed together.
enum ByteClass : unsigned char {
    // White space, by isspace() in the current LC_CTYPE.
    SPACE = 1,
    // A byte at which the scan of a key has to look closer: white space, separators, backslash.
    KEY_STOP = 2,
};

bool isSeparator(char i_Byte) {
    return i_Byte == '=' || i_Byte == ':';
}

// The classes of every byte value in the current LC_CTYPE. glibc's isspace() reads one table of
// the locale, so reading that table once gives the same answers as 256 calls.
void fillByteClasses(std::array<unsigned char, 256>& o_Classes) {
#if defined(__GLIBC__)
    unsigned short const* const classes = *__ctype_b_loc();
    for (unsigned value = 0; value < 256; ++value) {
        o_Classes[value] = (classes[value] & _ISspace) != 0 ? SPACE | KEY_STOP : 0;
    }
#else
    for (unsigned value = 0; value < 256; ++value) {
        o_Classes[value] = std::isspace(static_cast<int>(value)) != 0 ? SPACE | KEY_STOP : 0;
    }
#endif
    for (char const stop : {'=', ':', BACKSLASH}) {
        o_Classes[byteValue(stop)] |= KEY_STOP;
    }
}

// Position of the first byte at or after i_From that is no white space.
size_t skipSpace(std::string_view i_Text, size_t i_From,
                 std::array<unsigned char, 256> const& i_Classes) {
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
    std::string_view row;
    if (!get_row(row)) {
        return false;
    }
    row.remove_prefix(skipSpace(row, 0, m_ByteClasses));
    if (backslashesBefore(row, row.size()) % 2 == 0) {
        o_Line = row;
        return true;
    }
    m_Line.assign(row.substr(0, row.size() - 1));
    while (get_row(row)) {
        row.remove_prefix(skipSpace(row, 0, m_ByteClasses));
        m_Line.append(row);
        // An empty row has no backslash at its end, so it ends the line too.
        if (backslashesBefore(row, row.size()) % 2 == 0) {
            break;
        }
        m_Line.pop_back();
    }
    o_Line = m_Line.view();
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
size_t keyEnd(std::string_view i_Line, std::array<unsigned char, 256> const& i_Classes) {
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
        m_HeaderRead = true;
    }
    size_t const length = line.size();
    size_t const keyLength = keyEnd(line, m_ByteClasses);
    size_t position = keyLength;
    if (position < length) {
        if (isSeparator(line[position])) {
            ++position;
        } else {
            position = skipSpace(line, position, m_ByteClasses);
            if (position < length && isSeparator(line[position])) {
                ++position;
            }
        }
    }
    o_Key = line.substr(0, keyLength);
    o_Value = line.substr(skipSpace(line, position, m_ByteClasses));
    return true;
}

// ---- Decoding ----------------------------------------------------------------------------

namespace {

// Widens one byte the way the rest of the host's wide output would: by the character facet of
// std::wcout's locale.
wchar_t char_2_wchar(char i_Byte) {
    return std::wcout.widen(i_Byte);
}

// The widen table of the standard character facet that std::wcout had at the last load. That
// facet's answers are fixed when it is made, so while std::wcout keeps the same facet its table
// serves again; a program that imbues std::wcout with another locale gets that locale's table.
// The cache holds the facet's locale, which keeps the facet alive: no other facet can come to
// its address. Each thread keeps its own, so loads on different threads share nothing and the
// reader needs no lock.
class WidenCache {
public:
    void fill(std::locale const& i_Locale, std::ctype<wchar_t> const& i_Facet,
              std::array<wchar_t, 256>& o_Widen) {
        if (&i_Facet != m_Facet) {
            std::array<char, 256> bytes;
            for (unsigned value = 0; value < 256; ++value) {
                bytes[value] = static_cast<char>(value);
            }
            i_Facet.widen(bytes.data(), bytes.data() + bytes.size(), m_Widen.data());
            m_Locale = i_Locale;
            m_Facet = &i_Facet;
        }
        o_Widen = m_Widen;
    }

private:
    std::locale m_Locale;
    std::ctype<wchar_t> const* m_Facet = nullptr;
    std::array<wchar_t, 256> m_Widen{};
};

// char_2_wchar() of every byte value. The standard library's facet widens a range in one call
// exactly as byte by byte; a facet that the program brings is asked byte by byte.
void fillWidenTable(std::array<wchar_t, 256>& o_Widen) {
    std::locale const locale = std::wcout.getloc();
    auto const& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    if (typeid(facet) == typeid(std::ctype<wchar_t>)) {
        thread_local WidenCache cache;
        cache.fill(locale, facet, o_Widen);
        return;
    }
    for (unsigned value = 0; value < 256; ++value) {
        o_Widen[value] = char_2_wchar(static_cast<char>(value));
    }
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

} // namespace

std::wstring IniFileReader::unescape(std::string const& i_Text) {
    std::wstring result(i_Text.size(), L'\0');
    result.resize(decode(i_Text, result.data(), char_2_wchar));
    return result;
}

uint8_t IniFileReader::hex2char(char const* i_Digits) {
    return hexPair(i_Digits);
}

// ---- The store ---------------------------------------------------------------------------

namespace {

// A decoded name or value: one byte per character when every character is below 256, else one
// wchar_t per character.
class Text {
public:
    Text() = default;
    Text(void const* i_Data, size_t i_Length, bool i_Wide)
        : m_Data(i_Data), m_Form(i_Length << 1 | (i_Wide ? 1 : 0)) {}

    void const* data() const { return m_Data; }
    size_t length() const { return m_Form >> 1; }
    bool wide() const { return (m_Form & 1) != 0; }
    size_t bytes() const { return length() * (wide() ? sizeof(wchar_t) : 1); }
    // Equal forms and bytes: both texts are stored texts or decoded like them.
    bool operator==(Text const& i_Other) const {
        return m_Form == i_Other.m_Form &&
               (m_Form < 2 || std::memcmp(m_Data, i_Other.m_Data, bytes()) == 0);
    }
    // The same characters, and as many, as the caller's text.
    bool operator==(std::wstring_view i_Name) const {
        if (i_Name.size() != length()) {
            return false;
        }
        if (wide()) {
            return i_Name.empty() ||
                   std::wmemcmp(static_cast<wchar_t const*>(m_Data), i_Name.data(), length()) == 0;
        }
        auto const* const bytes = static_cast<unsigned char const*>(m_Data);
        return std::equal(i_Name.begin(), i_Name.end(), bytes,
                          [](wchar_t i_Wide, unsigned char i_Byte) {
                              return i_Wide == static_cast<wchar_t>(i_Byte);
                          });
    }
    // Into a caller's string, whose capacity serves again.
    void copyTo(std::wstring& o_Text) const {
        if (wide()) {
            o_Text.assign(static_cast<wchar_t const*>(m_Data), length());
            return;
        }
        auto const* const bytes = static_cast<unsigned char const*>(m_Data);
        o_Text.resize(length());
        std::copy(bytes, bytes + length(), o_Text.begin());
    }
    std::wstring str() const {
        std::wstring text;
        copyTo(text);
        return text;
    }

private:
    void const* m_Data = nullptr;
    size_t m_Form = 0; // the length, shifted left by one, and the wide flag in bit 0
};

// FNV-1a over character values, so that a stored text and a caller's wide text of the same
// characters hash alike.
template <typename Character> uint32_t hashOf(Character const* i_Text, size_t i_Length) {
    uint64_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < i_Length; ++i) {
        hash = (hash ^ static_cast<uint32_t>(i_Text[i])) * 1099511628211ull;
    }
    return static_cast<uint32_t>(hash ^ (hash >> 32));
}

uint32_t hashOf(Text i_Text) {
    return i_Text.wide()
               ? hashOf(static_cast<wchar_t const*>(i_Text.data()), i_Text.length())
               : hashOf(static_cast<unsigned char const*>(i_Text.data()), i_Text.length());
}

uint32_t hashOf(std::wstring_view i_Text) {
    return hashOf(i_Text.data(), i_Text.size());
}

// Memory for text that is released only with the store. room() shows where the next text will
// go, take() claims it: a decoded name that proves to be known already is simply not taken.
class Arena {
public:
    // The first text goes to i_First, which lives as long as the arena.
    template <size_t Size>
    explicit Arena(std::array<wchar_t, Size>& i_First)
        : m_Free(reinterpret_cast<char*>(i_First.data())), m_End(m_Free + sizeof i_First) {}
    ~Arena() {
        while (m_Chunks != nullptr) {
            Chunk* const next = m_Chunks->m_Next;
            ::operator delete(m_Chunks);
            m_Chunks = next;
        }
    }
    Arena(Arena const&) = delete;
    Arena& operator=(Arena const&) = delete;

    // Free room for i_Length characters.
    template <typename Character> Character* room(size_t i_Length) {
        m_Free += (alignof(Character) - reinterpret_cast<uintptr_t>(m_Free) % alignof(Character)) %
                  alignof(Character);
        if (static_cast<size_t>(m_End - m_Free) / sizeof(Character) < i_Length) {
            grow(i_Length * sizeof(Character));
        }
        return reinterpret_cast<Character*>(m_Free);
    }
    void take(size_t i_Bytes) { m_Free += i_Bytes; }

private:
    struct alignas(std::max_align_t) Chunk {
        Chunk* m_Next;
    };
    static constexpr size_t MOST_GROWTH = size_t(1) << 24;

    // A new chunk; what was left of the old one is not used again. Chunks double up to
    // MOST_GROWTH, so a large file takes few of them and a small one little memory.
    void grow(size_t i_Bytes) {
        size_t const size = (std::max(i_Bytes, m_NextSize) + 3) / 4 * 4;
        auto* const chunk = static_cast<Chunk*>(::operator new(sizeof(Chunk) + size));
        chunk->m_Next = m_Chunks;
        m_Chunks = chunk;
        m_Free = reinterpret_cast<char*>(chunk + 1);
        m_End = m_Free + size;
        m_NextSize = std::min(m_NextSize * 2, MOST_GROWTH);
    }

    Chunk* m_Chunks = nullptr;
    char* m_Free = nullptr;
    char* m_End = nullptr;
    size_t m_NextSize = 4096;
};

// Finds a name among the names of a list, given as i_NameAt(position) for the positions below
// i_Count. Up to LINEAR_LIMIT names are searched from the start; a longer list is indexed by an
// open-addressing table of positions by hash.
class NameIndex {
public:
    static constexpr uint32_t NONE = UINT32_MAX;

    // The position of i_Name, or NONE.
    template <typename Name, typename NameAt>
    uint32_t find(Name const& i_Name, size_t i_Count, NameAt const& i_NameAt) const {
        if (m_Slots.empty()) {
            for (uint32_t position = 0; position < i_Count; ++position) {
                if (i_NameAt(position) == i_Name) {
                    return position;
                }
            }
            return NONE;
        }
        uint32_t const hash = hashOf(i_Name);
        size_t const mask = m_Slots.size() - 1;
        for (size_t at = hash & mask;; at = (at + 1) & mask) {
            Slot const& slot = m_Slots[at];
            if (slot.m_Position == NONE) {
                return NONE;
            }
            // Different names can share a hash.
            if (slot.m_Hash == hash && i_NameAt(slot.m_Position) == i_Name) {
                return slot.m_Position;
            }
        }
    }

    // Makes room for the name at position i_Count, so that add() cannot fail. A list of more
    // names than a position can count is treated as memory running out.
    template <typename NameAt> void reserveFor(size_t i_Count, NameAt const& i_NameAt) {
        if (i_Count >= NONE) {
            throw std::bad_alloc();
        }
        if (i_Count < LINEAR_LIMIT || (i_Count + 1) * 4 <= m_Slots.size() * 3) {
            return;
        }
        std::vector<Slot> slots(std::max<size_t>(4 * LINEAR_LIMIT, 2 * m_Slots.size()),
                                Slot{0, NONE});
        if (m_Slots.empty()) {
            for (uint32_t position = 0; position < i_Count; ++position) {
                place(slots, {hashOf(i_NameAt(position)), position});
            }
        }
        for (Slot const& slot : m_Slots) {
            if (slot.m_Position != NONE) {
                place(slots, slot);
            }
        }
        m_Slots.swap(slots);
    }

    // Whether the table is too large for the cache to hold, so that a probe will wait for memory.
    bool large() const { return m_Slots.size() >= LARGE_SLOTS; }

    // Starts to fetch the first four slots of a probe for a name of that hash, without waiting
    // for them: about half the probes go on past the first slot, and four slots take at most two
    // cache lines. A prefetch changes nothing that the compiler can see, so a function that does
    // nothing else counts as free of effects and its calls are dropped; the empty asm statement
    // is an effect that it must keep.
    void warm(uint32_t i_Hash) const {
        size_t const mask = m_Slots.size() - 1;
        __builtin_prefetch(&m_Slots[i_Hash & mask]);
        __builtin_prefetch(&m_Slots[(i_Hash + 3) & mask]);
        __asm__ volatile("" ::: "memory");
    }

    void add(Text i_Name, uint32_t i_Position) {
        if (!m_Slots.empty()) {
            place(m_Slots, {hashOf(i_Name), i_Position});
        }
    }

private:
    static constexpr size_t LINEAR_LIMIT = 8;
    // Half a megabyte of slots.
    static constexpr size_t LARGE_SLOTS = size_t(1) << 16;

    struct Slot {
        uint32_t m_Hash;
        uint32_t m_Position;
    };

    static void place(std::vector<Slot>& io_Slots, Slot i_Slot) {
        size_t const mask = io_Slots.size() - 1;
        size_t at = i_Slot.m_Hash & mask;
        while (io_Slots[at].m_Position != NONE) {
            at = (at + 1) & mask;
        }
        io_Slots[at] = i_Slot;
    }

    std::vector<Slot> m_Slots;
};

// Makes room for one more element the way push_back would, so that a push_back after it cannot
// fail: a name then enters its index and its list of positions together or not at all.
template <typename Element> void reserveOneMore(std::vector<Element>& io_List) {
    if (io_List.size() == io_List.capacity()) {
        io_List.reserve(std::max<size_t>(1, 2 * io_List.size()));
    }
}

struct Property {
    Text m_Key;
    Text m_Value;
};

struct Section {
    Text m_Name;
    // In the order of their first appearance.
    std::vector<Property> m_Properties;
    NameIndex m_Index;

    Text keyAt(uint32_t i_Position) const { return m_Properties[i_Position].m_Key; }

    // The property of that key, or null.
    Property const* find(std::wstring_view i_Key) const {
        uint32_t const at =
            m_Index.find(i_Key, m_Properties.size(), [this](uint32_t i_At) { return keyAt(i_At); });
        return at == NameIndex::NONE ? nullptr : &m_Properties[at];
    }
};

// Turns raw text into stored text, with the tables that load() samples from the locale.
class Decoder {
public:
    Decoder() : m_AsciiPlain(false) {
        fillWidenTable(m_Widen);
        m_AsciiPlain = std::equal(m_Widen.begin(), m_Widen.begin() + 128, asciiIdentity().begin());
    }

    // The decoded text, in the arena's free room: the caller takes it or lets it go.
    Text decodeIntoRoom(std::string_view i_Raw, Arena& io_Arena) const {
        size_t const length = i_Raw.size();
        // Mostly every byte stands for itself: the text is its own bytes.
        auto* const bytes = io_Arena.room<unsigned char>(length);
        if (copyPlain(i_Raw, bytes)) {
            return Text(bytes, length, false);
        }
        auto* const wide = io_Arena.room<wchar_t>(length);
        size_t const count =
            decode(i_Raw, wide, [this](char i_Byte) { return m_Widen[byteValue(i_Byte)]; });
        bool const narrow = std::all_of(wide, wide + count, [](wchar_t i_Character) {
            return i_Character >= 0 && i_Character < 256;
        });
        if (!narrow) {
            return Text(wide, count, true);
        }
        // Byte i overwrites memory of characters before i, which are already copied.
        auto* const narrowed = static_cast<unsigned char*>(static_cast<void*>(wide));
        for (size_t i = 0; i < count; ++i) {
            narrowed[i] = static_cast<unsigned char>(wide[i]);
        }
        return Text(narrowed, count, false);
    }

private:
    // Copies the text to o_Bytes and tells whether every byte of it decodes to itself.
    bool copyPlain(std::string_view i_Raw, unsigned char* o_Bytes) const {
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

    // Copies the text and tells whether none of its bytes is above 127 or a backslash. Eight
    // bytes are looked at a time, the last eight perhaps twice; a shorter text in parts of four,
    // two and one.
    static bool copyAscii(std::string_view i_Raw, unsigned char* o_Bytes) {
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
    template <size_t Size> static uint64_t copyWord(char const* i_From, unsigned char* o_To) {
        constexpr uint64_t ONES = 0x0101010101010101ull;
        constexpr uint64_t HIGHS = 0x8080808080808080ull;
        uint64_t word = 0;
        std::memcpy(&word, i_From, Size);
        std::memcpy(o_To, i_From, Size);
        uint64_t const backslashes = word ^ (ONES * byteValue(BACKSLASH));
        return (word | ((backslashes - ONES) & ~backslashes)) & HIGHS;
    }

    // The wide characters 0 to 127.
    static std::array<wchar_t, 128> const& asciiIdentity() {
        static std::array<wchar_t, 128> const identity = [] {
            std::array<wchar_t, 128> values{};
            for (size_t value = 0; value < values.size(); ++value) {
                values[value] = static_cast<wchar_t>(value);
            }
            return values;
        }();
        return identity;
    }

    std::array<wchar_t, 256> m_Widen;
    // Whether every byte below 128 is widened to its own value.
    bool m_AsciiPlain;
};

} // namespace

class IniFileReader::Store {
public:
    // The position of the section of that name; the section is added when there is none.
    size_t sectionNamed(std::string_view i_Raw, Decoder const& i_Decoder) {
        Text const name = i_Decoder.decodeIntoRoom(i_Raw, m_Arena);
        auto const nameAt = [this](uint32_t i_At) { return m_Sections[i_At].m_Name; };
        uint32_t const at = m_Index.find(name, m_Sections.size(), nameAt);
        if (at != NameIndex::NONE) {
            return at;
        }
        m_Arena.take(name.bytes());
        // A failed push_back adds nothing, and the index has its room already, so that the name
        // enters both or neither.
        m_Index.reserveFor(m_Sections.size(), nameAt);
        m_Sections.push_back(Section{name, {}, {}});
        m_Index.add(name, static_cast<uint32_t>(m_Sections.size() - 1));
        return m_Sections.size() - 1;
    }

    void setProperty(size_t i_Section, std::string_view i_Key, std::string_view i_Value,
                     Decoder const& i_Decoder) {
        m_Receiving = i_Section;
        Section& section = m_Sections[i_Section];
        std::vector<Property>& properties = section.m_Properties;
        Text const key = i_Decoder.decodeIntoRoom(i_Key, m_Arena);
        auto const keyAt = [&section](uint32_t i_At) { return section.keyAt(i_At); };
        uint32_t const at = section.m_Index.find(key, properties.size(), keyAt);
        if (at != NameIndex::NONE) {
            properties[at].m_Value = keep(i_Value, i_Decoder);
            return;
        }
        m_Arena.take(key.bytes());
        Text const value = keep(i_Value, i_Decoder);
        reserveOneMore(properties);
        section.m_Index.reserveFor(properties.size(), keyAt);
        properties.push_back({key, value});
        section.m_Index.add(key, static_cast<uint32_t>(properties.size() - 1));
    }

    // The section of that name, or null.
    Section const* find(std::wstring_view i_Name) const {
        uint32_t const at = m_Index.find(i_Name, m_Sections.size(),
                                         [this](uint32_t i_At) { return m_Sections[i_At].m_Name; });
        return at == NameIndex::NONE ? nullptr : &m_Sections[at];
    }

    std::deque<Section> const& sections() const { return m_Sections; }

    // Starts to fetch the slots that the names in i_Ahead will probe in an index too large for
    // the cache. One probe at a time, each waits for memory, and the wait grows with the table;
    // asked for together, the waits overlap. The names are guessed from the raw text, line by
    // line, and key lines are taken to go to the section that received the last key: a wrong
    // guess costs a fetch and nothing else, and a name that decodes to its own bytes hashes as
    // those bytes.
    void warm(std::string_view i_Ahead, std::array<unsigned char, 256> const& i_Classes) const {
        auto const ifLarge = [](NameIndex const& i_Index) {
            return i_Index.large() ? &i_Index : nullptr;
        };
        NameIndex const* const sections = ifLarge(m_Index);
        NameIndex const* const keys =
            m_Sections.empty() ? nullptr : ifLarge(m_Sections[m_Receiving].m_Index);
        if (sections == nullptr && keys == nullptr) {
            return;
        }
        // The hashes of a batch come first and its fetches after them, so that the fetches go out
        // together.
        std::array<std::pair<NameIndex const*, uint32_t>, 64> batch;
        size_t count = 0;
        auto const fetch = [&batch, &count] {
            for (size_t i = 0; i < count; ++i) {
                batch[i].first->warm(batch[i].second);
            }
            count = 0;
        };
        size_t const size = i_Ahead.size();
        for (size_t at = skipSpace(i_Ahead, 0, i_Classes); at < size;
             at = skipSpace(i_Ahead, at, i_Classes)) {
            size_t const end = std::min(i_Ahead.find('\n', at), size);
            std::string_view const line = i_Ahead.substr(at, end - at);
            bool const header = line[0] == '[';
            NameIndex const* const index = header ? sections : keys;
            if (index != nullptr) {
                std::string_view const name =
                    header ? headerName(line) : line.substr(0, keyEnd(line, i_Classes));
                auto const* const bytes = reinterpret_cast<unsigned char const*>(name.data());
                batch[count++] = {index, hashOf(bytes, name.size())};
                if (count == batch.size()) {
                    fetch();
                }
            }
            at = end;
        }
        fetch();
    }

    std::array<char, STREAM_BUFFER_SIZE> m_StreamBuffer;
    // How far the current block of the stream has been handed to warm(), and where the stream
    // was read up to at the last refill; both null before the first refill of a load.
    char const* m_WarmedTo = nullptr;
    char const* m_ReadUpTo = nullptr;

private:
    Text keep(std::string_view i_Raw, Decoder const& i_Decoder) {
        Text const text = i_Decoder.decodeIntoRoom(i_Raw, m_Arena);
        m_Arena.take(text.bytes());
        return text;
    }

    // Room for the text of a small file, so that it needs no allocation of its own.
    std::array<wchar_t, 256> m_FirstText;
    // Declared before the views of its text, so that it outlives them.
    Arena m_Arena{m_FirstText};
    // In the order of their first key line.
    std::deque<Section> m_Sections;
    NameIndex m_Index;
    // The section that received the last key line.
    size_t m_Receiving = 0;
};

IniFileReader::IniFileReader(wchar_t const* i_FileName)
    : m_Store(new Store), m_FileName(i_FileName, std::wcslen(i_FileName)), m_BufferSize(1000),
      m_Buffer(new char[static_cast<size_t>(m_BufferSize)]), m_BufferLength(0), m_BufferPosition(0),
      m_StreamBuffer(m_Store->m_StreamBuffer.data()), m_ByteClasses(), m_HeaderRead(false) {
    load();
}

IniFileReader::~IniFileReader() = default;

int32_t IniFileReader::load() {
    if (open() == 0) {
        return 0;
    }
    // The locale is asked once per byte value, not once per byte of the file.
    fillByteClasses(m_ByteClasses);
    Decoder const decoder;
    m_Store->m_WarmedTo = nullptr;
    m_Store->m_ReadUpTo = nullptr;

    std::string section;
    std::string_view key;
    std::string_view value;
    size_t current = 0;
    bool inSection = false;
    m_HeaderRead = false;
    while (get_next_key(section, key, value)) {
        if (!inSection || m_HeaderRead) {
            current = m_Store->sectionNamed(section, decoder);
            inSection = true;
            m_HeaderRead = false;
        }
        m_Store->setProperty(current, key, value, decoder);
    }
    // The scanner's buffers are only needed while reading.
    m_Row.release();
    m_Line.release();
    return 1;
}

// Hands the store the text that the scanner reads next, after each refill. With glibc that is the
// block in the stream's buffer, larger than the read buffer, handed over once: the stream's read
// position only goes back when a refill has begun a new block.
void IniFileReader::look_ahead() {
    Store& store = *m_Store;
#if defined(__GLIBC__)
    std::FILE const& stream = *m_File;
    if (store.m_WarmedTo == nullptr || stream._IO_read_ptr < store.m_ReadUpTo) {
        store.m_WarmedTo = stream._IO_read_base;
    }
    store.m_ReadUpTo = stream._IO_read_ptr;
    if (stream._IO_read_end > store.m_WarmedTo) {
        size_t const length = static_cast<size_t>(stream._IO_read_end - store.m_WarmedTo);
        store.warm(std::string_view(store.m_WarmedTo, length), m_ByteClasses);
        store.m_WarmedTo = stream._IO_read_end;
    }
#else
    store.warm(std::string_view(m_Buffer.get(), m_BufferLength), m_ByteClasses);
#endif
}

// ---- The queries -------------------------------------------------------------------------

int32_t IniFileReader::getSectionCount() {
    return static_cast<int32_t>(m_Store->sections().size());
}

std::wstring IniFileReader::getSectionAt(int i_Index) {
    if (i_Index < 0 || static_cast<size_t>(i_Index) >= m_Store->sections().size()) {
        return std::wstring();
    }
    return m_Store->sections()[static_cast<size_t>(i_Index)].m_Name.str();
}

int32_t IniFileReader::getKeyCount(std::wstring const& i_Section) {
    Section const* const section = m_Store->find(i_Section);
    return section == nullptr ? 0 : static_cast<int32_t>(section->m_Properties.size());
}

std::wstring IniFileReader::getKeyAt(std::wstring const& i_Section, int i_Index) {
    Section const* const section = m_Store->find(i_Section);
    if (section == nullptr || i_Index < 0 ||
        static_cast<size_t>(i_Index) >= section->m_Properties.size()) {
        return std::wstring();
    }
    return section->m_Properties[static_cast<size_t>(i_Index)].m_Key.str();
}

int32_t IniFileReader::getProperty(std::wstring const& i_Section, std::wstring const& i_Key,
                                   std::wstring& o_Value) {
    Section const* const section = m_Store->find(i_Section);
    Property const* const property = section == nullptr ? nullptr : section->find(i_Key);
    if (property == nullptr) {
        return 0;
    }
    property->m_Value.copyTo(o_Value);
    return 1;
}

} // namespace Tessarine
