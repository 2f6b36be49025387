#include "Tessarine/IniLocale.h"

#include <cctype>
#include <clocale>
#include <cstring>
#include <iostream>
#include <locale>
#include <typeinfo>

namespace Tessarine {
namespace Ini {

namespace {

// The classes of every byte value, asked of the current LC_CTYPE.
void askByteClasses(ByteClasses& o_Classes) {
    for (unsigned value = 0; value < 256; ++value) {
        o_Classes[value] = std::isspace(static_cast<int>(value)) != 0 ? SPACE | KEY_STOP : 0;
    }
    for (char const stop : {'=', ':', '\\'}) {
        o_Classes[static_cast<unsigned char>(stop)] |= KEY_STOP;
    }
}

// The byte classes that the last load on this thread asked for, with the name of the global
// LC_CTYPE that they were asked under. The C library keeps the data of a locale that it has
// loaded under its name, so while the thread follows the global locale and LC_CTYPE keeps its
// name, isspace() keeps its answers, and the load of a small file is spared 256 calls. A thread
// with a locale of its own (uselocale), or a name too long to keep, is asked at every load.
class ByteClassCache {
public:
    void fill(ByteClasses& o_Classes) {
        char const* const name = globalName();
        if (name == nullptr || std::strcmp(name, m_Name.data()) != 0) {
            askByteClasses(m_Classes);
            // No locale has the empty name, so that no load matches it.
            std::strcpy(m_Name.data(), name == nullptr ? "" : name);
        }
        o_Classes = m_Classes;
    }

private:
    static constexpr size_t NAME_SIZE = 64;

    // The name of the global LC_CTYPE when this thread follows it and the name fits, else null.
    static char const* globalName() {
        if (uselocale(nullptr) != LC_GLOBAL_LOCALE) {
            return nullptr;
        }
        char const* const name = std::setlocale(LC_CTYPE, nullptr);
        return name != nullptr && std::strlen(name) < NAME_SIZE ? name : nullptr;
    }

    ByteClasses m_Classes{};
    std::array<char, NAME_SIZE> m_Name{};
};

// The widen table of the standard character facet that std::wcout had at the last load. That
// facet's answers are fixed when it is made, so while std::wcout keeps the same facet its table
// serves again; a program that imbues std::wcout with another locale gets that locale's table.
// The cache holds the facet's locale, which keeps the facet alive: no other facet can come to
// its address. Each thread keeps its own, so loads on different threads share nothing and the
// reader needs no lock.
class WidenCache {
public:
    void fill(std::locale const& i_Locale, std::ctype<wchar_t> const& i_Facet,
              WidenTable& o_Widen) {
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
    WidenTable m_Widen{};
};

} // namespace

// The classes of every byte value in the current LC_CTYPE.
void fillByteClasses(ByteClasses& o_Classes) {
    thread_local ByteClassCache cache;
    cache.fill(o_Classes);
}

// Widens one byte the way the rest of the host's wide output would: by the character facet of
// std::wcout's locale.
wchar_t widen(char i_Byte) {
    return std::wcout.widen(i_Byte);
}

// widen() of every byte value. The standard library's facet widens a range in one call
// exactly as byte by byte; a facet that the program brings is asked byte by byte.
void fillWidenTable(WidenTable& o_Widen) {
    std::locale const locale = std::wcout.getloc();
    auto const& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    if (typeid(facet) == typeid(std::ctype<wchar_t>)) {
        thread_local WidenCache cache;
        cache.fill(locale, facet, o_Widen);
        return;
    }
    for (unsigned value = 0; value < 256; ++value) {
        o_Widen[value] = widen(static_cast<char>(value));
    }
}

} // namespace Ini
} // namespace Tessarine
