#include "IniListing.h"

#include "Text.h"

namespace TessarineTools {
namespace {

using TessarineSupport::displayText;
using TessarineSupport::IniSection;
using TessarineSupport::utf16Escape;

/// Where a text stands in a line of the listing.
enum class Place { Section, Key, Value };

/// How the character at i_Index must be written at that place so that the file reads it back as
/// itself and falls into no trap of --check, or the empty text when displayText() writes it well.
/// A key ends at `=`, `:` and white space and must not start like a comment or a header; a
/// section name ends at `]` and keeps the blanks at its ends, which look like padding; a value
/// loses the white space around it, and a `#` or `;` behind a blank looks like a comment.
std::string escapeFor(Place i_Place, std::wstring_view i_Text, std::size_t i_Index) {
    wchar_t const character = i_Text[i_Index];
    bool const atEnd = i_Index == 0 || i_Index + 1 == i_Text.size();
    switch (i_Place) {
    case Place::Key:
        if (character == L'=' || character == L':' ||
            (i_Index == 0 &&
             std::wstring_view(L"#!;[").find(character) != std::wstring_view::npos)) {
            return {'\\', static_cast<char>(character)};
        }
        return character == L' ' ? utf16Escape(' ') : "";
    case Place::Section:
        return character == L']' || (character == L' ' && atEnd)
                   ? utf16Escape(static_cast<std::uint32_t>(character))
                   : "";
    case Place::Value:
        if ((character == L'#' || character == L';') && i_Index > 0 &&
            i_Text[i_Index - 1] == L' ') {
            return {'\\', static_cast<char>(character)};
        }
        return character == L' ' && atEnd ? utf16Escape(' ') : "";
    }
    return "";
}

std::string listed(std::wstring_view i_Text, Place i_Place) {
    std::string text;
    for (std::size_t index = 0; index < i_Text.size(); ++index) {
        std::string const escape = escapeFor(i_Place, i_Text, index);
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
