#include "Tessarine/Constants.h"

#ifndef TESSARINE_INIFILEREADER_H
#define TESSARINE_INIFILEREADER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Tessarine {

/// Reads one properties file whole while it is constructed, and then answers from memory. The
/// format is described in @ref properties-format (docs/properties-format.md).
///
/// ```cpp
/// Tessarine::IniFileReader reader(L"/etc/sample/plugin.ini");
/// std::wstring mirror = L"https://mirror.example.org";
/// reader.getProperty(L"channel", L"mirror", mirror); // keeps the default when there is none
/// for (int i = 0; i < reader.getKeyCount(L"limits"); ++i) {
///     std::wcout << reader.getKeyAt(L"limits", i) << L'\n'; // in the order of the file
/// }
/// ```
///
/// The sections come in the order of their first key line (a header without key lines makes no
/// section), the keys of a section in the order of their first appearance, and the last value of
/// a key wins. Names are the decoded text, compared character by character and then by length,
/// so a NUL inside a name is part of it. A file that cannot be opened (also an empty path, or
/// one that the current locale cannot convert) gives a valid, empty reader, as does a file
/// without key lines. Queries for unknown names or indexes out of range, negative ones
/// included, answer 0 or the empty string.
///
/// White space is what `isspace` says in the process's LC_CTYPE, and bytes are widened by the
/// character facet of `std::wcout`'s locale; both are sampled at the start of each load. The
/// file stays open until the reader is destroyed. A reader cannot be copied.
///
/// Limits:
/// - A FIFO with no writer blocks the constructor until a writer comes.
/// - A read error, a directory or a file truncated while it is read ends the load as if the
///   file ended there.
/// - Running out of memory inside the C library's `fopen` looks like a file that cannot be
///   opened. Anywhere else it throws std::bad_alloc: out of the constructor, which leaves no
///   reader, or out of load(), after which the reader keeps what that load had stored so far,
///   every name in it both countable and findable.
/// - One reader is used from one thread at a time; different readers may load in different
///   threads at once. Changing the locale or `std::wcout`'s locale while another thread loads
///   is a race.
class TESSARINE_API IniFileReader {
public:
    /// Loads the file at once; a file that cannot be opened leaves the store empty.
    explicit IniFileReader(wchar_t const* i_FileName);
    virtual ~IniFileReader();

    IniFileReader(IniFileReader const&) = delete;
    IniFileReader& operator=(IniFileReader const&) = delete;

    /// Reads the file again, from its start, and merges it into the store: known sections and
    /// keys keep their positions, values are overwritten, new names are appended and nothing
    /// disappears. 1 when the end of the file was reached; 0 when the file could not be opened,
    /// and the store is then as it was. The constructor has already called it once.
    int32_t load();

    /// The number of sections, that is of distinct section names with at least one key.
    int32_t getSectionCount();
    /// The name of the section at that position, or the empty string.
    std::wstring getSectionAt(int i_Index);
    /// The number of keys of that section, 0 when there is no such section.
    int32_t getKeyCount(std::wstring const& i_Section);
    /// The key at that position of the section, or the empty string.
    std::wstring getKeyAt(std::wstring const& i_Section, int i_Index);
    /// Writes the value of the key into o_Value and returns 1; returns 0 and leaves o_Value
    /// untouched when the section or the key does not exist.
    int32_t getProperty(std::wstring const& i_Section, std::wstring const& i_Key,
                        std::wstring& o_Value);

    /// Decodes raw file text: `\u` or `\U` and four hexadecimal digits give that code value (a
    /// non-digit counts as 0); a backslash before any other byte gives that byte; a lone last
    /// backslash stays. Every other byte is widened on its own.
    std::wstring unescape(std::string const& i_Text);
    /// The value of two hexadecimal digits, high first; a byte that is no digit counts as 0.
    uint8_t hex2char(char const* i_Digits);

private:
    // The stream, the scanner's buffers and the store of what the file held; defined in the
    // source, so that none of them shows here.
    struct State;

    TESSARINE_LOCAL int open();
    TESSARINE_LOCAL bool get_char(char& o_Byte);
    TESSARINE_LOCAL bool get_row(std::string_view& o_Row);
    TESSARINE_LOCAL bool get_line(std::string_view& o_Line);
    TESSARINE_LOCAL bool get_next_key(std::string& io_Section, std::string_view& o_Key,
                                      std::string_view& o_Value);

    std::wstring m_FileName;
    std::unique_ptr<State> m_State;
};

} // namespace Tessarine

#endif
