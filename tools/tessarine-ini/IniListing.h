#ifndef TESSARINE_TOOLS_INI_LISTING_H
#define TESSARINE_TOOLS_INI_LISTING_H

#include <Tessarine/IniFileReader.h>

#include <ostream>
#include <string>
#include <vector>

namespace TessarineTools {

/// What a reader holds, in file order: sections in the order of their first key line, keys in
/// the order of their first appearance, each with its last value.
struct IniSection {
    struct Entry {
        std::wstring m_Key;
        std::wstring m_Value;
    };
    std::wstring m_Name;
    std::vector<Entry> m_Entries;
};

std::vector<IniSection> readSections(Tessarine::IniFileReader& io_Reader);

/// One `[section]` line per section, then one `key = value` line per key, a blank line between
/// sections. Text is shown by TessarineExamples::displayText(): plain ASCII whatever it holds.
void writeListing(std::ostream& o_Out, std::vector<IniSection> const& i_Sections);

/// {"file": ..., "sections": [{"name": ..., "keys": [{"key": ..., "value": ...}]}]}, in file
/// order. The output is ASCII; see jsonString().
void writeJson(std::ostream& o_Out, std::wstring const& i_File,
               std::vector<IniSection> const& i_Sections);

/// A JSON string literal of the text. Everything outside printable ASCII is a `\u` escape:
/// characters above 0xFFFF as a surrogate pair, and values beyond Unicode (which only a
/// byte widening can produce) as U+FFFD, since JSON has no way to carry them.
std::string jsonString(std::wstring const& i_Text);

} // namespace TessarineTools

#endif
