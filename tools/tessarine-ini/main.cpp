// tessarine-ini: shows what the library reads from a properties file.

#include "HighBytes.h"
#include "IniListing.h"
#include "ReadableFile.h"
#include "Text.h"

#include <Tessarine/IniFileReader.h>
#include <Tessarine/String.h>

#include <clocale>
#include <cstring>
#include <iostream>
#include <string>

namespace {

constexpr char const* PROGRAM = "tessarine-ini";

constexpr char const* HELP = R"(usage: tessarine-ini [--json] FILE
       tessarine-ini [--json] --get SECTION KEY FILE

Shows what the Tessarine library reads from the properties file FILE: every section, key and
value, in file order, as the library decodes them.

  --json               machine-readable output (ASCII JSON, sections and keys in file order)
  --get SECTION KEY    only the value of KEY in SECTION; "" is the section of the keys
                       before the first header. SECTION and KEY are read with the file's own
                       escapes, so they can be given as the listing shows them.
  --help               show this text

Text is shown in plain ASCII: a backslash is doubled, every character outside printable
ASCII is written \uXXXX, or \UXXXXXXXX above U+FFFF (display only: in a file \U takes four
digits, like \u).

Exit status: 0 on success, 1 when --get finds no such section or key, 2 when FILE cannot be
read or the command line is wrong.
)";

struct Options {
    std::string m_File;
    bool m_Json = false;
    bool m_Help = false;
    bool m_Get = false;
    std::string m_Section;
    std::string m_Key;
};

int usageError(std::string const& i_Message) {
    std::cerr << PROGRAM << ": " << i_Message << "\ntry '" << PROGRAM << " --help'\n";
    return 2;
}

/// Fills the options; the empty text, or what is wrong with the command line.
std::string parseArguments(int i_Count, char** i_Arguments, Options& o_Options) {
    for (int index = 1; index < i_Count; ++index) {
        std::string const argument = i_Arguments[index];
        if (argument == "--help") {
            o_Options.m_Help = true;
        } else if (argument == "--json") {
            o_Options.m_Json = true;
        } else if (argument == "--get") {
            if (index + 2 >= i_Count) {
                return "--get needs a section and a key";
            }
            o_Options.m_Get = true;
            o_Options.m_Section = i_Arguments[++index];
            o_Options.m_Key = i_Arguments[++index];
        } else if (argument.rfind("--", 0) == 0 || !o_Options.m_File.empty()) {
            return "unexpected argument " + argument;
        } else {
            o_Options.m_File = argument;
        }
    }
    return o_Options.m_File.empty() && !o_Options.m_Help ? "no file given" : "";
}

int printValue(Tessarine::IniFileReader& io_Reader, Options const& i_Options) {
    std::wstring value;
    if (io_Reader.getProperty(io_Reader.unescape(i_Options.m_Section),
                              io_Reader.unescape(i_Options.m_Key), value) == 0) {
        return 1;
    }
    std::cout << (i_Options.m_Json ? TessarineTools::jsonString(value)
                                   : TessarineExamples::displayText(value))
              << '\n';
    return 0;
}

int inspect(Options const& i_Options) {
    std::string const& file = i_Options.m_File;
    // The reader answers a file it cannot open with an empty store, so ask first.
    std::string reason = TessarineExamples::unreadableReason(file.c_str());
    Tessarine::String const path(file.c_str());
    if (reason.empty() && path.length() == 0) {
        reason = "the name does not convert in the current locale";
    }
    if (!reason.empty()) {
        std::cerr << PROGRAM << ": cannot open " << file << ": " << reason << '\n';
        return 2;
    }
    std::string const warning = TessarineTools::highByteWarning(file);
    if (!warning.empty()) {
        std::cerr << PROGRAM << ": warning: " << warning << '\n';
    }
    Tessarine::IniFileReader reader(path);
    if (i_Options.m_Get) {
        return printValue(reader, i_Options);
    }
    std::vector<TessarineTools::IniSection> const sections = TessarineTools::readSections(reader);
    if (i_Options.m_Json) {
        TessarineTools::writeJson(std::cout, std::wstring(path), sections);
    } else {
        TessarineTools::writeListing(std::cout, sections);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // White space in the file and the conversion of its name follow the user's locale, as they
    // would in any program that uses the library.
    std::setlocale(LC_ALL, "");
    Options options;
    std::string const problem = parseArguments(argc, argv, options);
    if (!problem.empty()) {
        return usageError(problem);
    }
    if (options.m_Help) {
        std::cout << HELP;
        return 0;
    }
    return inspect(options);
}
