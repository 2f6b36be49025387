#include "Tessarine/StringVector.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <new>
#include <vector>

namespace Tessarine {

namespace {

// Slot counts are ints that double from 1; beyond this the doubling would overflow.
constexpr int MAX_CAPACITY = 1 << 30;

// The marker that operator[] answers for an index past the end. It is built at the first call
// of the process, behind a plain flag rather than a guarded local static, and destroyed by an
// exit handler; an exit handler registered from a shared object also runs when that object is
// unloaded, so the marker never outlives the library's code.
bool markerBuilt = false;
alignas(String) unsigned char markerStorage[sizeof(String)];

String& marker() {
    return *std::launder(reinterpret_cast<String*>(markerStorage));
}

void destroyMarker() {
    marker().~String();
    markerBuilt = false;
}

String const& outOfBoundsMarker() {
    if (!markerBuilt) {
        new (markerStorage) String(L"!!OUT OF BOUNDS!!");
        markerBuilt = true;
        std::atexit(destroyMarker);
    }
    return marker();
}

// One live String during a sort, and where its multibyte form lies among the sort's texts.
struct SortEntry {
    std::size_t m_Text;
    String* m_String;
};

// Whether the locale's multibyte form of every ASCII character is that character's own byte,
// as in UTF-8, the C locale and every other ASCII-based character set. Shift_JIS, where the
// backslash's byte stands for the yen sign, is one where it is not.
bool keepsAscii() {
    wchar_t ascii[128];
    char expected[128];
    for (int c = 1; c < 128; ++c) {
        ascii[c - 1] = static_cast<wchar_t>(c);
        expected[c - 1] = static_cast<char>(c);
    }
    ascii[127] = L'\0';
    expected[127] = '\0';
    char converted[128 * MB_LEN_MAX];
    std::size_t const written = std::wcstombs(converted, ascii, sizeof converted);
    return written == 127 && std::memcmp(converted, expected, 128) == 0;
}

// Whether every character of the text is below 0x80. One test of all the bits seen, rather
// than one per character, lets the loop run on whole vectors of characters.
bool isAscii(wchar_t const* i_Text, std::size_t i_Length) {
    std::uint32_t seen = 0;
    for (std::size_t i = 0; i < i_Length; ++i) {
        seen |= static_cast<std::uint32_t>(i_Text[i]);
    }
    return seen < 0x80;
}

// The multibyte forms of all live Strings of one sort, converted once up front and kept in a
// single block, so that each comparison is one strcoll instead of two conversions and two
// allocations, and the texts being compared lie close together in memory.
class SortTexts {
public:
    SortTexts(String* const* i_Strings, int i_Count)
        : m_Widest(MB_CUR_MAX), m_KeepsAscii(keepsAscii()) {
        m_Entries.reserve(static_cast<std::size_t>(i_Count));
        std::size_t characters = 0;
        for (int i = 0; i < i_Count; ++i) {
            characters += std::wcslen(*i_Strings[i]) + 1;
        }
        m_Texts.reserve(characters);
        for (int i = 0; i < i_Count; ++i) {
            m_Entries.push_back({append(*i_Strings[i]), i_Strings[i]});
        }
    }

    void sort(bool i_Descending, String** o_Strings);

private:
    // Appends the same bytes as String::getMultibyteString gives, and a terminator; gives
    // where they start. Text that does not convert is kept as the empty text, which is how
    // String::collate orders it.
    std::size_t append(wchar_t const* i_Text) {
        std::size_t const start = m_Texts.size();
        std::size_t const length = std::wcslen(i_Text);
        if (m_KeepsAscii && isAscii(i_Text, length)) {
            // Each character is its own byte: no call into the locale's converter. The
            // terminator is the last of the zeroed bytes.
            m_Texts.resize(start + length + 1);
            char* const bytes = m_Texts.data() + start;
            for (std::size_t i = 0; i < length; ++i) {
                bytes[i] = static_cast<char>(i_Text[i]);
            }
            return start;
        }
        // With room for the widest form of every character and of the terminator, wcstombs
        // always gets to the end in one conversion.
        std::size_t const room = (length + 1) * m_Widest;
        if (m_Converted.size() < room) {
            m_Converted.resize(room);
        }
        std::size_t written = std::wcstombs(m_Converted.data(), i_Text, room);
        if (written == static_cast<std::size_t>(-1)) {
            written = 0;
        }
        m_Texts.insert(m_Texts.end(), m_Converted.begin(),
                       m_Converted.begin() + static_cast<long>(written));
        m_Texts.push_back('\0');
        return start;
    }

    std::size_t m_Widest;
    bool m_KeepsAscii;
    std::vector<SortEntry> m_Entries;
    std::vector<char> m_Texts;
    std::vector<char> m_Converted;
};

// The collate order: String::collate(*a, *b) < 0, computed on the converted texts.
struct StringPtrLess {
    char const* m_Texts;
    bool operator()(SortEntry const& i_Left, SortEntry const& i_Right) const {
        return std::strcoll(m_Texts + i_Left.m_Text, m_Texts + i_Right.m_Text) < 0;
    }
};

// The reverse collate order: String::collate(*b, *a) < 0, with the operands swapped rather
// than the sign flipped, so that it is exactly the comparison the ascending order makes.
struct StringPtrGreater {
    char const* m_Texts;
    bool operator()(SortEntry const& i_Left, SortEntry const& i_Right) const {
        return StringPtrLess{m_Texts}(i_Right, i_Left);
    }
};

// Whether strcoll in the calling thread's locale compares plain bytes, as it does in C, POSIX
// and C.UTF-8: glibc then answers strcmp without looking at a collation table. The number of
// the locale's collation rules is not part of any standard interface; other C libraries take
// the converting sort.
bool collatesBytes() {
#ifdef __GLIBC__
    return reinterpret_cast<std::uintptr_t>(nl_langinfo(_NL_COLLATE_NRULES)) == 0;
#else
    return false;
#endif
}

// Whether the locale's multibyte form of the text compares, byte by byte, as the text does
// character by character: every character below 0x80 where those are their own bytes, or
// every one a Unicode scalar value in UTF-8, whose bytes keep the order of the code points.
// Anything else (a surrogate, a value beyond U+10FFFF, a character the charset lacks) either
// does not convert, and so sorts as the empty text, or may convert out of order.
bool convertsInOrder(wchar_t const* i_Text, bool i_Utf8, bool i_KeepsAscii) {
    std::size_t const length = std::wcslen(i_Text);
    if (!i_Utf8) {
        return i_KeepsAscii && isAscii(i_Text, length);
    }
    bool scalar = true;
    for (std::size_t i = 0; i < length; ++i) {
        auto const c = static_cast<std::uint32_t>(i_Text[i]);
        scalar &= c <= 0x10FFFF && (c & 0xFFFFF800U) != 0xD800;
    }
    return scalar;
}

// One live String during a sort by character values, with its first three characters packed
// above one another (21 bits hold any scalar value), so that most comparisons are settled
// without reaching the text.
struct WideEntry {
    std::uint64_t m_Lead;
    wchar_t const* m_Text;
    String* m_String;
};

std::uint64_t leadOf(wchar_t const* i_Text) {
    std::uint64_t lead = 0;
    for (int i = 0; i < 3; ++i) {
        lead = lead << 21 | static_cast<std::uint32_t>(*i_Text);
        i_Text += *i_Text != L'\0' ? 1 : 0;
    }
    return lead;
}

// The order of the characters, as wcscmp gives it, and its reverse.
struct WideLess {
    bool operator()(WideEntry const& i_Left, WideEntry const& i_Right) const {
        if (i_Left.m_Lead != i_Right.m_Lead) {
            return i_Left.m_Lead < i_Right.m_Lead;
        }
        return std::wcscmp(i_Left.m_Text, i_Right.m_Text) < 0;
    }
};

struct WideGreater {
    bool operator()(WideEntry const& i_Left, WideEntry const& i_Right) const {
        return WideLess()(i_Right, i_Left);
    }
};

// When strcoll compares bytes and every text converts in order, the collate order is the
// order of the characters themselves: the texts are sorted as they stand, without converting
// any. Empty when that does not hold.
std::vector<WideEntry> wideEntries(String* const* i_Strings, int i_Count) {
    std::vector<WideEntry> entries;
    if (!collatesBytes()) {
        return entries;
    }
    bool const utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    bool const asciiKept = utf8 || keepsAscii();
    for (int i = 0; i < i_Count; ++i) {
        if (!convertsInOrder(*i_Strings[i], utf8, asciiKept)) {
            return entries;
        }
    }
    entries.reserve(static_cast<std::size_t>(i_Count));
    for (int i = 0; i < i_Count; ++i) {
        wchar_t const* const text = *i_Strings[i];
        entries.push_back({leadOf(text), text, i_Strings[i]});
    }
    return entries;
}

// Sorts the entries in the comparator's order and puts their Strings in that order.
template <typename Entry, typename Order>
void sortInto(std::vector<Entry>& io_Entries, Order i_Order, String** o_Strings) {
    std::sort(io_Entries.begin(), io_Entries.end(), i_Order);
    for (std::size_t i = 0; i < io_Entries.size(); ++i) {
        o_Strings[i] = io_Entries[i].m_String;
    }
}

void SortTexts::sort(bool i_Descending, String** o_Strings) {
    if (i_Descending) {
        sortInto(m_Entries, StringPtrGreater{m_Texts.data()}, o_Strings);
    } else {
        sortInto(m_Entries, StringPtrLess{m_Texts.data()}, o_Strings);
    }
}

} // namespace

StringVector::StringVector() : m_Strings(nullptr), m_Capacity(0), m_Count(0) {}

StringVector::StringVector(StringVector const& i_Other) : StringVector() {
    *this = i_Other;
}

StringVector::~StringVector() {
    reset();
}

StringVector& StringVector::operator=(StringVector const& i_Other) {
    if (this == &i_Other) {
        return *this;
    }
    // removeAll, not reset: refilling reuses this vector's Strings and their buffers. A slot
    // array that cannot grow just leaves the copy shorter.
    removeAll();
    for (int i = 0; i < i_Other.m_Count; ++i) {
        addString(*i_Other.m_Strings[i]);
    }
    return *this;
}

int StringVector::addString(wchar_t const* i_Text) {
    int const result = resizeBuffer(m_Count + 1);
    if (result != PLUGIN_OK) {
        return result;
    }
    String*& slot = m_Strings[m_Count];
    if (slot == nullptr) {
        slot = new String();
    }
    *slot = i_Text;
    // Counted only once the text is in: if anything above throws, a new String stays behind
    // as a spare and the vector is as it was.
    ++m_Count;
    return PLUGIN_OK;
}

int StringVector::addString(String const& i_Text) {
    return addString(static_cast<wchar_t const*>(i_Text));
}

int StringVector::removeString(int i_Index) {
    if (i_Index >= m_Count) {
        return PLUGIN_ERROR_INDEX_OUT_OF_RANGE;
    }
    delete m_Strings[i_Index];
    // The whole rest of the array moves, spare Strings included, so they stay available.
    std::memmove(m_Strings + i_Index, m_Strings + i_Index + 1,
                 static_cast<std::size_t>(m_Capacity - i_Index - 1) * sizeof(String*));
    m_Strings[m_Capacity - 1] = nullptr;
    --m_Count;
    return PLUGIN_OK;
}

void StringVector::removeAll() {
    m_Count = 0;
}

void StringVector::reset() {
    for (int i = 0; i < m_Capacity; ++i) {
        delete m_Strings[i];
    }
    std::free(m_Strings);
    m_Strings = nullptr;
    m_Capacity = 0;
    m_Count = 0;
}

void StringVector::sort(bool i_Descending) {
    if (m_Count < 2) {
        return;
    }
    std::vector<WideEntry> wide = wideEntries(m_Strings, m_Count);
    if (wide.empty()) {
        SortTexts(m_Strings, m_Count).sort(i_Descending, m_Strings);
    } else if (i_Descending) {
        sortInto(wide, WideGreater(), m_Strings);
    } else {
        sortInto(wide, WideLess(), m_Strings);
    }
}

String const& StringVector::operator[](int i_Index) const {
    String const& marker = outOfBoundsMarker();
    return i_Index >= m_Count ? marker : *m_Strings[i_Index];
}

int StringVector::resizeBuffer(int i_Wanted) {
    if (m_Capacity >= i_Wanted) {
        return PLUGIN_OK;
    }
    if (i_Wanted > MAX_CAPACITY) {
        return PLUGIN_ERROR_OUT_OF_MEMORY;
    }
    int capacity = 1;
    while (capacity < i_Wanted) {
        capacity *= 2;
    }
    void* const slots =
        std::realloc(m_Strings, static_cast<std::size_t>(capacity) * sizeof(String*));
    if (slots == nullptr) {
        return PLUGIN_ERROR_OUT_OF_MEMORY;
    }
    m_Strings = static_cast<String**>(slots);
    std::fill(m_Strings + m_Capacity, m_Strings + capacity, nullptr);
    m_Capacity = capacity;
    return PLUGIN_OK;
}

int StringVector::length() const {
    return m_Count;
}

} // namespace Tessarine
