#include "Tessarine/Constants.h"

#ifndef TESSARINE_INIFILEREADER_H
#define TESSARINE_INIFILEREADER_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace Tessarine {

/// Reads one sectioned properties file, whole, while it is constructed, and then answers from
/// memory: the sections in the order of their first key line, the keys of a section in the
/// order of their first appearance, and the value of a key (the last one given wins).
///
/// File format, in short: rows end at LF (CRs around a row are dropped); a row ending in an odd
/// run of backslashes goes on in the next row; a logical line starting with `#`, `!` or `;` is a
/// comment, one starting with `[` a section header, anything else a key line `key=value`,
/// `key: value` or `key value`. Names and values are decoded by unescape(). Keys before the
/// first header belong to the section with the empty name. The format has no invalid line.
///
/// A file that cannot be opened (also an empty path, or one the current locale cannot convert)
/// gives a valid, empty reader. Queries for unknown names or out-of-range indexes answer 0 or
/// the empty string; negative indexes included. Names are compared by their decoded wide text,
/// character by character and then by length, so a NUL inside a name is part of it.
///
/// White space is what `isspace` says in the process's LC_CTYPE; bytes are widened by the
/// character facet of `std::wcout`'s locale. Both are sampled at the start of each load.
///
/// The stream stays open until the reader is destroyed; nothing reads from it after load().
///
/// Storage: every decoded name and value is written once into an arena that the reader owns
/// (m_Arena), together with the nodes of its maps; the arrays and maps hold views of that text.
/// A key thus costs one copy of its text however many indexes refer to it, and the store is
/// released in one piece when the reader goes.
///
/// Decisions on the edges of the lifecycle:
/// - A second load() closes the stream of the first one before it opens the file again, reads
///   it from its start and merges it into the store: known sections and keys keep their
///   positions, values are overwritten, new names are appended, nothing disappears. If the
///   file can no longer be opened the call returns 0 and the store stays as it was; the reader
///   never reads from a stream that is not open.
/// - The stream and the read buffer are owned by RAII members, so they are released also when
///   an allocation failure leaves the constructor.
/// - A reader cannot be copied: it owns a stream and a buffer that must not be shared.
class TESSARINE_API IniFileReader {
public:
    /// Loads the file at once; a file that cannot be opened leaves the store empty.
    explicit IniFileReader(wchar_t const* i_FileName);
    virtual ~IniFileReader();

    IniFileReader(IniFileReader const&) = delete;
    IniFileReader& operator=(IniFileReader const&) = delete;

    /// Reads the file into the store. 1 when the end of the file was reached, 0 when the file
    /// could not be opened. The constructor has already called it.
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
    /// Decoded text held in m_Arena.
    using Text = std::wstring_view;

    /// Orders wide names by wmemcmp over the common length, then by length. Transparent, so a
    /// std::wstring is looked up as it is.
    struct NameOrder {
        using is_transparent = void;
        TESSARINE_LOCAL bool operator()(std::wstring_view i_Left, std::wstring_view i_Right) const;
    };

    struct Section {
        TESSARINE_LOCAL explicit Section(std::pmr::memory_resource* i_Arena);
        /// The keys in the order of their first appearance.
        std::vector<Text> m_Keys;
        std::pmr::map<Text, Text, NameOrder> m_Properties;
    };

    struct FileCloser {
        TESSARINE_LOCAL void operator()(std::FILE* i_File) const;
    };

    /// Which wide character each byte value stands for.
    using WidenTable = std::array<wchar_t, 256>;

    int open();
    int is_space(char const& i_Byte);
    bool get_char(char& o_Byte);
    bool get_row(std::string& o_Row);
    bool get_line(std::string& o_Line);
    bool get_next_key(std::string& io_Section, std::string& o_Key, std::string& o_Value);

    TESSARINE_LOCAL Section& sectionNamed(std::wstring const& i_Name);
    TESSARINE_LOCAL void storeProperty(Section& io_Section, std::wstring const& i_Key,
                                       std::string const& i_Value, WidenTable const& i_Widen);
    /// A copy of the text in the arena.
    TESSARINE_LOCAL Text keep(std::wstring_view i_Text);
    /// Room for that many characters in the arena.
    TESSARINE_LOCAL wchar_t* newText(std::size_t i_Length);

    /// Holds the store's text and map nodes; declared first, so it outlives everything in it.
    std::pmr::monotonic_buffer_resource m_Arena;
    /// The section names in the order of their first key line.
    std::vector<Text> m_SectionNames;
    std::pmr::map<Text, Section, NameOrder> m_Sections;
    std::wstring m_FileName;
    uint8_t m_IsOpen;
    std::unique_ptr<std::FILE, FileCloser> m_File;
    int32_t const m_BufferSize;
    std::unique_ptr<char[]> m_Buffer;
    uint32_t m_BufferLength;
    uint32_t m_BufferPosition;
    /// Which byte values are white space: isspace, asked once per value at the start of load().
    std::array<bool, 256> m_SpaceTable;
    /// The scanner's row and line, kept so that their capacity serves every line of a load.
    std::string m_Row;
    std::string m_Line;
};

} // namespace Tessarine

#endif
