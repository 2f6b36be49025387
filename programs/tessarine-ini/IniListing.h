#ifndef TESSARINE_TOOLS_INI_LISTING_H
#define TESSARINE_TOOLS_INI_LISTING_H

#include "IniContent.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace TessarineTools {

/// A properties file of the content: one `[section]` line per section, then one `key = value`
/// line per key, a blank line between sections. Reading it gives the same sections, keys and
/// values for all text up to U+FFFF. The output is ASCII.
void writeListing(std::ostream& o_Out, std::vector<TessarineSupport::IniSection> const& i_Sections);

/// A value as the listing writes it.
std::string listedValue(std::wstring_view i_Value);

/// {"file": ..., "sections": [{"name": ..., "keys": [{"key": ..., "value": ...}]}]}, in the
/// reader's order. The output is ASCII; see jsonString().
void writeJson(std::ostream& o_Out, std::wstring_view i_File,
               std::vector<TessarineSupport::IniSection> const& i_Sections);

/// A JSON string literal of the text, in ASCII: TessarineSupport::displayText() with the quotes
/// escaped.
std::string jsonString(std::wstring_view i_Text);

} // namespace TessarineTools

#endif
