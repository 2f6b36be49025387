#include "IniListing.h"

#include "Text.h"

namespace TessarineTools {
namespace {

using TessarineSupport::displayText;
using TessarineSupport::IniSection;
using TessarineSupport::utf16Escape;

/// Where a text stands in a line of the listing.
enum class Place { Section, Key, Value };

/// How a character must be written at that place so that the file reads it back as itself, or
/// the empty text when displayText() writes it well. A key ends at `=`, `:` and white space and
/// must not start like a comment or a header; a section name ends at `]`; a value loses the
/// white space around it.
std::string escapeFor(Place i_Place, wchar_t i_Character, bool i_First, bool i_Last) {
    switch (i_Place) {
    case Place::Key:
        if (i_Character == L'=' || i_Character == L':' ||
            (i_First && std::wstring_view(L"#!;[").find(i_Character) != std::wstring_view::npos)) {
            return {'\\', static_cast<char>(i_Character)};
        }
        return i_Character == L' ' ? utf16Escape(' ') : "";
    case Place::Section:
        return i_Character == L']' ? utf16Escape(']') : "";
    case Place::Value:
        return i_Character == L' ' && (i_First || i_Last) ? utf16Escape(' ') : "";
    }
    return "";
}

std::string listed(std::wstring_view i_Text, Place i_Place) {
    std::string text;
    for (std::size_t index = 0; index < i_Text.size(); ++index) {
        std::string const escape =
            escapeFor(i_Place, i_Text[index], index == 0, index + 1 == i_Text.size());
        text += escape.empty() ? displayText(i_Text.substr(index, 1)) : escape;
    }
    return text;
}

} // namespace

std::string listedValue(std::wstring_view i_Value) {
    return listed(i_Value, Place::Value);
}

void writeListing(std::ostream& o_Out, std::vector<IniSection> const& i_Sections) {
    char const* separator = "";
    for (IniSection const& section : i_Sections) {
        o_Out << separator << '[' << listed(section.m_Name, Place::Section) << "]\n";
        for (IniSection::Entry const& entry : section.m_Entries) {
            o_Out << listed(entry.m_Key, Place::Key) << " =" << (entry.m_Value.empty() ? "" : " ")
                  << listedValue(entry.m_Value) << '\n';
        }
        separator = "\n";
    }
}

std::string jsonString(std::wstring_view i_Text) {
    // The display form is already JSON but for the quotes, which it leaves as they are.
    std::string quoted = "\"";
    for (char const character : displayText(i_Text)) {
        quoted += character == '"' ? "\\\"" : std::string(1, character);
    }
    return quoted + '"';
}

void writeJson(std::ostream& o_Out, std::wstring_view i_File,
               std::vector<IniSection> const& i_Sections) {
    o_Out << "{\"file\": " << jsonString(i_File) << ", \"sections\": [";
    char const* sectionSeparator = "";
    for (IniSection const& section : i_Sections) {
        o_Out << sectionSeparator << "\n  {\"name\": " << jsonString(section.m_Name)
              << ", \"keys\": [";
        char const* keySeparator = "";
        for (IniSection::Entry const& entry : section.m_Entries) {
            o_Out << keySeparator << "\n    {\"key\": " << jsonString(entry.m_Key)
                  << ", \"value\": " << jsonString(entry.m_Value) << '}';
            keySeparator = ",";
        }
        o_Out << "]}";
        sectionSeparator = ",";
    }
    o_Out << "]}\n";
}

} // namespace TessarineTools
