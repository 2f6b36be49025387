#include "Tessarine/String.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <new>

// Sizes are kept in bytes, never in characters: a text of n characters takes n * 4 + 4 bytes,
// a String built without text holds 8 bytes and assignment of nothing asks for 4. m_Size only
// rises during the object's life, and growth asks for the exact size needed, without doubling.

namespace Tessarine {

namespace {

// Capacity of a String built without text: one character and its terminator.
constexpr unsigned int EMPTY_SIZE = 2 * sizeof(wchar_t);
// Room for nothing but a terminator.
constexpr unsigned int TERMINATOR_SIZE = sizeof(wchar_t);

// Bytes that a text of i_Length characters takes with its terminator. Sizes are kept in an
// unsigned int, so a text too long to be counted there is treated as memory we cannot have
// rather than silently wrapping to a small buffer.
unsigned int bytesFor(std::size_t i_Length) {
    if (i_Length > (UINT_MAX - sizeof(wchar_t)) / sizeof(wchar_t)) {
        throw std::bad_alloc();
    }
    return static_cast<unsigned int>((i_Length + 1) * sizeof(wchar_t));
}

// Counts the characters of a multibyte text in LC_CTYPE; 0 also for text that does not convert.
std::size_t convertibleLength(char const* i_Text) {
    std::size_t const length = std::mbstowcs(nullptr, i_Text, 0);
    return length == static_cast<std::size_t>(-1) ? 0 : length;
}

void mapCharacters(wchar_t* i_Text, std::wint_t (*i_Map)(std::wint_t)) {
    for (; *i_Text != L'\0'; ++i_Text) {
        *i_Text = static_cast<wchar_t>(i_Map(static_cast<std::wint_t>(*i_Text)));
    }
}

// getMultibyteString hands out malloc'ed text; this frees it on every way out of collate.
struct FreeText {
    void operator()(char* i_Text) const { std::free(i_Text); }
};
using MultibyteText = std::unique_ptr<char, FreeText>;

} // namespace

// Only the destructor leaves m_Buffer null, so no live String has a null buffer. A String of
// static storage can still be reached after its destructor ran at exit, from another static
// object's destructor: Realloc, the copy constructor (for its source), Compare, trim and toLong
// take that case without touching memory.

void String::Create(unsigned int i_Size) {
    m_Size = 0;
    m_Buffer = nullptr;
    // Two zero bytes beyond the counted size: a margin behind the text that no size counts and
    // no growth relies on.
    void* const buffer = std::malloc(std::size_t{i_Size} + 2);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(buffer, 0, std::size_t{i_Size} + 2);
    m_Buffer = static_cast<wchar_t*>(buffer);
    m_Size = i_Size;
}

void String::Realloc(unsigned int i_Size) {
    if (i_Size <= m_Size) {
        return;
    }
    // Exactly the size asked for: callers always write their own terminator, so the new bytes
    // are left as they come. A failed realloc keeps the old buffer, and so the old text. A null
    // buffer (a destroyed String) is given a zeroed one.
    void* const buffer =
        m_Buffer != nullptr ? std::realloc(m_Buffer, i_Size) : std::calloc(1, i_Size);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    m_Buffer = static_cast<wchar_t*>(buffer);
    m_Size = i_Size;
}

String::String() {
    Create(EMPTY_SIZE);
}

String::String(wchar_t i_Character) {
    Create(EMPTY_SIZE);
    m_Buffer[0] = i_Character;
}

String::String(wchar_t const* i_Text) {
    if (i_Text == nullptr || *i_Text == L'\0') {
        Create(EMPTY_SIZE);
        return;
    }
    Create(bytesFor(std::wcslen(i_Text)));
    std::wcscpy(m_Buffer, i_Text);
}

String::String(char const* i_Text) {
    std::size_t const length = i_Text != nullptr ? convertibleLength(i_Text) : 0;
    if (length == 0) {
        Create(EMPTY_SIZE);
        return;
    }
    Create(bytesFor(length));
    std::size_t const written = std::mbstowcs(m_Buffer, i_Text, length + 1);
    // The text converted a moment ago: this fails only if another thread changed the locale
    // in between.
    if (written == static_cast<std::size_t>(-1) || written == 0) {
        m_Buffer[0] = L'\0';
    }
}

String::String(String const& i_Other) {
    if (i_Other.m_Buffer == nullptr) { // a destroyed String
        Create(EMPTY_SIZE);
        return;
    }
    // The whole buffer travels, so the copy keeps the capacity the source has grown to.
    Create(i_Other.m_Size);
    std::memcpy(m_Buffer, i_Other.m_Buffer, m_Size);
}

String::~String() {
    std::free(m_Buffer);
    m_Buffer = nullptr;
    m_Size = 0;
}

String& String::operator=(String const& i_Other) {
    if (this == &i_Other) {
        return *this;
    }
    return *this = i_Other.m_Buffer;
}

String& String::operator=(wchar_t const* i_Text) {
    if (i_Text == nullptr) {
        Realloc(TERMINATOR_SIZE);
        m_Buffer[0] = L'\0';
        return *this;
    }
    unsigned int const size = bytesFor(std::wcslen(i_Text));
    Realloc(size);
    // memmove: a text taken from this String's own buffer fits without growth, so it is still
    // where it was, but it overlaps the destination.
    std::memmove(m_Buffer, i_Text, size);
    return *this;
}

String& String::operator=(char const* i_Text) {
    std::size_t const length = i_Text != nullptr ? convertibleLength(i_Text) : 0;
    unsigned int const size = bytesFor(length);
    Realloc(size);
    std::memset(m_Buffer, 0, size);
    // As in the constructor, the second conversion fails only under a locale changed meanwhile.
    if (length != 0 &&
        std::mbstowcs(m_Buffer, i_Text, length + 1) == static_cast<std::size_t>(-1)) {
        m_Buffer[0] = L'\0';
    }
    return *this;
}

String String::operator+(String const& i_Other) {
    String result(*this);
    result += i_Other;
    return result;
}

// An empty right side needs neither growth nor copying, so this shares the path of the text form.
String& String::operator+=(String const& i_Other) {
    return *this += i_Other.m_Buffer;
}

String& String::operator+=(wchar_t const* i_Text) {
    if (i_Text == nullptr || *i_Text == L'\0') {
        return *this;
    }
    std::size_t const current = std::wcslen(m_Buffer);
    std::size_t const added = std::wcslen(i_Text);
    // The text may be this String's own (s += s). Growth can move the buffer, so keep its
    // place as an offset and find it again afterwards.
    auto const begin = reinterpret_cast<std::uintptr_t>(m_Buffer);
    auto const at = reinterpret_cast<std::uintptr_t>(i_Text);
    bool const own = at >= begin && at < begin + m_Size;
    Realloc(bytesFor(current + added));
    if (own) {
        i_Text = reinterpret_cast<wchar_t const*>(reinterpret_cast<std::uintptr_t>(m_Buffer) +
                                                  (at - begin));
    }
    // Exactly the measured characters, then a terminator: copying up to the source's own
    // terminator would never stop when the source is the text being extended.
    std::wmemmove(m_Buffer + current, i_Text, added);
    m_Buffer[current + added] = L'\0';
    return *this;
}

String& String::operator+=(wchar_t i_Character) {
    wchar_t const text[2] = {i_Character, L'\0'};
    return *this += text;
}

String& String::operator+=(char i_Character) {
    wchar_t text[2] = {L'\0', L'\0'};
    // A byte that does not convert leaves the text empty, and nothing is appended.
    static_cast<void>(std::mbtowc(text, &i_Character, 1));
    return *this += text;
}

bool String::operator==(String const& i_Other) const {
    return *this == i_Other.m_Buffer;
}
bool String::operator==(wchar_t const* i_Text) const {
    return Compare(i_Text) == 0;
}
bool String::operator!=(String const& i_Other) const {
    return *this != i_Other.m_Buffer;
}
bool String::operator!=(wchar_t const* i_Text) const {
    return Compare(i_Text) != 0;
}
bool String::operator<(String const& i_Other) const {
    return *this < i_Other.m_Buffer;
}
bool String::operator<(wchar_t const* i_Text) const {
    return Compare(i_Text) < 0;
}
bool String::operator<=(String const& i_Other) const {
    return *this <= i_Other.m_Buffer;
}
bool String::operator<=(wchar_t const* i_Text) const {
    return Compare(i_Text) <= 0;
}
bool String::operator>(String const& i_Other) const {
    return *this > i_Other.m_Buffer;
}
bool String::operator>(wchar_t const* i_Text) const {
    return Compare(i_Text) > 0;
}
bool String::operator>=(String const& i_Other) const {
    return *this >= i_Other.m_Buffer;
}
bool String::operator>=(wchar_t const* i_Text) const {
    return Compare(i_Text) >= 0;
}

int String::Compare(wchar_t const* i_Text) const {
    if (m_Buffer == nullptr) { // a destroyed String
        return i_Text == nullptr ? 0 : -1;
    }
    // A String is never equal to, nor above, a missing text: containers keyed by String rely
    // on a fixed answer here rather than on treating null as empty.
    if (i_Text == nullptr) {
        return -1;
    }
    return std::wcscmp(m_Buffer, i_Text);
}

unsigned int String::length() const {
    return static_cast<unsigned int>(std::wcslen(m_Buffer));
}

String::operator wchar_t const*() const {
    return m_Buffer;
}

String& String::trim() {
    if (m_Buffer == nullptr || *m_Buffer == L'\0') { // null: a destroyed String
        return *this;
    }
    std::size_t const length = std::wcslen(m_Buffer);
    std::size_t start = 0;
    while (start < length && std::iswspace(static_cast<std::wint_t>(m_Buffer[start]))) {
        ++start;
    }
    if (start > 0) {
        std::size_t const rest = length - start;
        std::wmemmove(m_Buffer, m_Buffer + start, rest + 1);
        if (rest == 0) {
            return *this;
        }
    }
    // The first character stopped the walk above, so it is never white space.
    wchar_t* last = m_Buffer + std::wcslen(m_Buffer) - 1;
    while (last > m_Buffer && std::iswspace(static_cast<std::wint_t>(*last))) {
        --last;
    }
    last[1] = L'\0';
    return *this;
}

String& String::toLowerCase() {
    mapCharacters(m_Buffer, std::towlower);
    return *this;
}

String& String::toUpperCase() {
    mapCharacters(m_Buffer, std::towupper);
    return *this;
}

String& String::replace(wchar_t i_From, wchar_t i_To) {
    // Measured first: replacing with a zero character cuts the text, yet every later occurrence
    // up to the old end is overwritten as well.
    std::size_t const length = std::wcslen(m_Buffer);
    for (std::size_t i = 0; i < length; ++i) {
        if (m_Buffer[i] == i_From) {
            m_Buffer[i] = i_To;
        }
    }
    return *this;
}

bool String::toLong(long& o_Value, bool i_WholeText) {
    if (m_Buffer == nullptr) { // a destroyed String
        return false;
    }
    wchar_t* end = nullptr;
    // errno is not consulted: an overflow gives the clamped limit and counts as a number.
    long const value = std::wcstol(m_Buffer, &end, 10);
    if (end == m_Buffer || (i_WholeText && *end != L'\0')) {
        return false;
    }
    o_Value = value;
    return true;
}

char* String::getMultibyteString(wchar_t const* i_Text) {
    std::size_t const length =
        i_Text != nullptr ? std::wcstombs(nullptr, i_Text, 0) : static_cast<std::size_t>(-1);
    if (length != static_cast<std::size_t>(-1)) {
        auto* const text = static_cast<char*>(std::malloc(length + 1));
        if (text == nullptr) {
            throw std::bad_alloc();
        }
        // Zeroed beforehand: a conversion that fills all `length` bytes writes no terminator.
        std::memset(text, 0, length + 1);
        if (std::wcstombs(text, i_Text, length) != static_cast<std::size_t>(-1)) {
            return text;
        }
        // Measured a moment ago: only a locale changed by another thread gets here.
        std::free(text);
    }
    char* const empty = strdup("");
    if (empty == nullptr) {
        throw std::bad_alloc();
    }
    return empty;
}

int String::collate(wchar_t const* i_Left, wchar_t const* i_Right) {
    if (i_Left == nullptr) {
        return i_Right == nullptr ? 0 : -1;
    }
    MultibyteText const left(getMultibyteString(i_Left));
    MultibyteText const right(getMultibyteString(i_Right));
    return std::strcoll(left.get(), right.get());
}

int String::collate(String const& i_Left, String const& i_Right) {
    return collate(i_Left.m_Buffer, i_Right.m_Buffer);
}

} // namespace Tessarine
