#ifndef TESSARINE_INILOCALE_H
#define TESSARINE_INILOCALE_H

// What the locale makes of each byte value for IniFileReader, as tables that a load takes once
// instead of asking the locale at every byte. Internal to the library: never installed.
// - Byte classes: white space by isspace() in the current LC_CTYPE, and the bytes at which the
//   scan of a key has to look closer.
// - The widen table: the wide character of each byte, by the character facet of std::wcout's
//   locale, as the rest of a host's wide output would widen it.
// Each thread caches its last tables, so loads on different threads share nothing and need no
// lock.

#include <array>
#include <cstddef>

namespace Tessarine {
namespace Ini {

/// What a byte value is to the scanner; the classes are or-ed together.
enum ByteClass : unsigned char {
    /// White space, by isspace() in the current LC_CTYPE.
    SPACE = 1,
    /// A byte at which the scan of a key has to look closer: white space, separators, backslash.
    KEY_STOP = 2,
};

using ByteClasses = std::array<unsigned char, 256>;
using WidenTable = std::array<wchar_t, 256>;

/// The classes of every byte value in the current LC_CTYPE.
void fillByteClasses(ByteClasses& o_Classes);

/// One byte widened by the character facet of std::wcout's locale.
wchar_t widen(char i_Byte);

/// widen() of every byte value.
void fillWidenTable(WidenTable& o_Widen);

} // namespace Ini
} // namespace Tessarine

#endif
