// tessarine-ini: shows what the library reads from a properties file, checks a file against the
// traps of the format, and converts UTF-8 text into the format's escapes.

#include "CommandLine.h"
#include "Escape.h"
#include "IniContent.h"
#include "IniListing.h"
#include "Input.h"
#include "Lint.h"
#include "Utf8.h"

#include <Tessarine/IniFileReader.h>
#include <Tessarine/Version.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <getopt.h>
#include <initializer_list>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>

namespace {

using namespace TessarineTools;

constexpr char const* PROGRAM = "tessarine-ini";

constexpr char const* HELP = R"(Usage: tessarine-ini [OPTIONS] FILE

Shows what the Tessarine library reads from the properties file FILE: every section, key and
value, as a properties file that reads back as the same. FILE may be - for standard input, a
pipe or a FIFO; it is read once.

  --json               the same as JSON (ASCII, sections and keys in the reader's order)
  --get SECTION KEY    only the value of KEY in SECTION, written as in a file; "" is the
                       section of the keys before the first header. SECTION and KEY are read
                       with the file's own escapes, as the listing shows them.
  --raw                with --get: the value itself, in the character set of the locale
  --check              report the traps of the format that FILE falls into, as FILE:LINE: ...
                       a UTF-8 byte order mark, bytes above 127, a key given twice in a
                       section, blanks inside a header's brackets, text after ']', a '#' or
                       ';' behind white space in a value, white space at the end of a value,
                       \n, \t and \r, a header without key lines, a continuation at the end
  --escape             write FILE with every character outside ASCII as its \uXXXX sequence
                       and without a UTF-8 byte order mark; FILE is read as UTF-8
  -h, --help           show this text
  --version            show the version of the library

Exit status: 0 on success; 1 when --get finds nothing, --check finds something, or --escape
or --raw meet text they cannot write; 2 for a wrong command line or an input that cannot be
read; 3 when memory runs out.
)";

struct Options {
    enum class Action { Inspect, Help, Version } m_Action = Action::Inspect;
    std::string m_File;
    bool m_Json = false;
    bool m_Get = false;
    bool m_Raw = false;
    bool m_Check = false;
    bool m_Escape = false;
    std::string m_Section;
    std::string m_Key;
};

/// A command line that makes no sense; what() says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum OptionCode {
    OPTION_VERSION = 256,
    OPTION_JSON,
    OPTION_GET,
    OPTION_RAW,
    OPTION_CHECK,
    OPTION_ESCAPE
};

constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, OPTION_VERSION},
    {"json", no_argument, nullptr, OPTION_JSON},
    {"get", required_argument, nullptr, OPTION_GET},
    {"raw", no_argument, nullptr, OPTION_RAW},
    {"check", no_argument, nullptr, OPTION_CHECK},
    {"escape", no_argument, nullptr, OPTION_ESCAPE},
    {nullptr, 0, nullptr, 0},
};

/// --get takes two names: getopt gives the section, the key is the next argument.
void takeGet(int i_Count, char** i_Arguments, Options& io_Options) {
    if (io_Options.m_Get) {
        throw UsageError("--get is given twice");
    }
    if (optind >= i_Count) {
        throw UsageError("--get needs a section and a key");
    }
    io_Options.m_Get = true;
    io_Options.m_Section = optarg;
    io_Options.m_Key = i_Arguments[optind++];
}

void checkCombination(Options const& i_Options) {
    std::initializer_list<bool> const uses = {i_Options.m_Check, i_Options.m_Escape,
                                              i_Options.m_Json, i_Options.m_Get, i_Options.m_Raw};
    bool const alone = std::count(uses.begin(), uses.end(), true) == 1;
    if ((i_Options.m_Check || i_Options.m_Escape) && !alone) {
        throw UsageError("--check and --escape go with no other option");
    }
    if (i_Options.m_Raw && (!i_Options.m_Get || i_Options.m_Json)) {
        throw UsageError("--raw goes with --get, without --json");
    }
}

Options parseArguments(int i_Count, char** i_Arguments) {
    Options options;
    opterr = 0;
    // '+': the options come before the file; ':': a missing argument is told from an unknown
    // option.
    int code = 0;
    while ((code = getopt_long(i_Count, i_Arguments, "+:h", LONG_OPTIONS, nullptr)) != -1) {
        switch (code) {
        case 'h':
            options.m_Action = Options::Action::Help;
            return options;
        case OPTION_VERSION:
            options.m_Action = Options::Action::Version;
            return options;
        case OPTION_JSON:
            options.m_Json = true;
            break;
        case OPTION_GET:
            takeGet(i_Count, i_Arguments, options);
            break;
        case OPTION_RAW:
            options.m_Raw = true;
            break;
        case OPTION_CHECK:
            options.m_Check = true;
            break;
        case OPTION_ESCAPE:
            options.m_Escape = true;
            break;
        case ':':
            throw UsageError("--get needs a section and a key");
        default:
            throw UsageError(TessarineSupport::unknownOption(i_Arguments, OPTION_VERSION));
        }
    }
    if (optind != i_Count - 1) {
        throw UsageError(optind == i_Count ? "no file given" : "one file only, after the options");
    }
    options.m_File = i_Arguments[optind];
    checkCombination(options);
    return options;
}

/// The value in the character set of the current locale, NUL characters included; false when
/// the locale cannot write one of its characters.
bool toMultibyte(std::wstring const& i_Value, std::string& o_Text) {
    std::mbstate_t state{};
    char buffer[MB_LEN_MAX];
    for (wchar_t const character : i_Value) {
        std::size_t const length = std::wcrtomb(buffer, character, &state);
        if (length == static_cast<std::size_t>(-1)) {
            return false;
        }
        o_Text.append(buffer, length);
    }
    return true;
}

int printValue(Tessarine::IniFileReader& io_Reader, Options const& i_Options) {
    std::wstring value;
    if (io_Reader.getProperty(io_Reader.unescape(i_Options.m_Section),
                              io_Reader.unescape(i_Options.m_Key), value) == 0) {
        return 1;
    }
    std::string text;
    if (!i_Options.m_Raw) {
        text = i_Options.m_Json ? jsonString(value) : listedValue(value);
    } else if (!toMultibyte(value, text)) {
        std::cerr << PROGRAM << ": the value holds characters that the locale's character set "
                  << "cannot write; without --raw they are shown escaped\n";
        return 1;
    }
    std::cout << text << '\n';
    return 0;
}

int check(Input const& i_Input, Options const& i_Options) {
    Tessarine::IniFileReader reader(i_Input.readerPath().c_str());
    std::vector<Finding> const findings = lint(i_Input.bytes(), reader);
    for (Finding const& finding : findings) {
        std::cout << i_Options.m_File << ':' << finding.m_Line << ": " << finding.m_Message << '\n';
    }
    return findings.empty() ? 0 : 1;
}

int escape(Input const& i_Input, Options const& i_Options) {
    std::string text;
    std::string reason;
    FilePlace place{};
    if (!escapeUtf8(i_Input.bytes(), text, place, reason)) {
        std::cerr << i_Options.m_File << ':' << place.m_Line << ':' << place.m_Column << ": "
                  << reason << '\n';
        return 1;
    }
    std::cout << text;
    return 0;
}

int inspect(Options const& i_Options) {
    Input const input(i_Options.m_File);
    if (i_Options.m_Check) {
        return check(input, i_Options);
    }
    if (i_Options.m_Escape) {
        return escape(input, i_Options);
    }
    Tessarine::IniFileReader reader(input.readerPath().c_str());
    if (i_Options.m_Get) {
        return printValue(reader, i_Options);
    }
    auto const sections = TessarineSupport::readContent(reader);
    if (i_Options.m_Json) {
        writeJson(std::cout, widenUtf8(i_Options.m_File), sections);
    } else {
        writeListing(std::cout, sections);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // White space in the file, the names given on the command line and --raw follow the user's
    // locale, as they would in any program that uses the library.
    std::setlocale(LC_ALL, "");
    Options options;
    try {
        options = parseArguments(argc, argv);
        switch (options.m_Action) {
        case Options::Action::Help:
            std::cout << HELP;
            return 0;
        case Options::Action::Version:
            std::cout << PROGRAM << ' ' << TESSARINE_VERSION << '\n';
            return 0;
        case Options::Action::Inspect:
            break;
        }
        return inspect(options);
    } catch (UsageError const& error) {
        std::cerr << PROGRAM << ": " << error.what() << "\nTry '" << PROGRAM
                  << " --help' for more information.\n";
        return 2;
    } catch (InputError const& error) {
        std::cerr << PROGRAM << ": cannot open " << options.m_File << ": " << error.what() << '\n';
        return 2;
    } catch (std::bad_alloc const&) {
        // Nothing here may allocate any more.
        std::fprintf(stderr, "%s: out of memory reading %s\n", PROGRAM, options.m_File.c_str());
        return 3;
    }
}
