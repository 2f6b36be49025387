// tessarine-example-host: loads the example plug-ins and evaluates the expressions that a
// properties file asks for, one per section. See docs/writing-a-plugin.md.

#include "Host.h"
#include "HostError.h"

#include <clocale>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace {

constexpr char const* PROGRAM = "tessarine-example-host";

constexpr char const* USAGE = R"(usage: tessarine-example-host [--plugins DIR] [--verbose] FILE

Evaluates the expressions that the properties file FILE asks for: each section names one
with its key `expression`, and its other keys become the expression's properties. Prints one
line per section: [section] Expression(key=value, ...) = result.

  --plugins DIR   load the plug-ins (*.so) of DIR; default: plugins/ beside this program
  --verbose       show the plug-ins' events on the error stream
  --help          show this text

Exit status: 0 when every expression was evaluated, 1 for a fault in the file, a plug-in or
an expression (one line on the error stream names it), 2 for a wrong command line, 130 when
interrupted.
)";

std::string defaultPluginDirectory() {
    std::error_code error;
    std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / "plugins").string();
}

/// Fills the options from the command line; false, with a message, when it makes no sense.
bool parseArguments(int i_Count, char** i_Arguments, TessarineExamples::HostOptions& o_Options,
                    bool& o_Help) {
    o_Options.m_PluginDirectory = defaultPluginDirectory();
    for (int index = 1; index < i_Count; ++index) {
        char const* const argument = i_Arguments[index];
        if (std::strcmp(argument, "--help") == 0) {
            o_Help = true;
        } else if (std::strcmp(argument, "--verbose") == 0) {
            o_Options.m_Verbose = true;
        } else if (std::strcmp(argument, "--plugins") == 0) {
            if (index + 1 == i_Count) {
                std::cerr << PROGRAM << ": --plugins needs a directory\n";
                return false;
            }
            o_Options.m_PluginDirectory = i_Arguments[++index];
        } else if (argument[0] == '-' || !o_Options.m_File.empty()) {
            std::cerr << PROGRAM << ": unexpected argument " << argument << '\n';
            return false;
        } else {
            o_Options.m_File = argument;
        }
    }
    if (o_Options.m_File.empty() && !o_Help) {
        std::cerr << PROGRAM << ": no file given\n";
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    // Paths, case-insensitive comparisons and the conversions of names follow the user's locale.
    std::setlocale(LC_ALL, "");
    TessarineExamples::HostOptions options;
    bool help = false;
    if (!parseArguments(argc, argv, options, help)) {
        std::cerr << "try '" << PROGRAM << " --help'\n";
        return 2;
    }
    if (help) {
        std::cout << USAGE;
        return 0;
    }
    TessarineExamples::installInterruptHandler();
    try {
        TessarineExamples::runHost(options, std::cout);
        return 0;
    } catch (TessarineExamples::HostError const& error) {
        std::cerr << PROGRAM << ": " << error.what() << '\n';
        return error.exitStatus();
    } catch (std::exception const& error) {
        std::cerr << PROGRAM << ": " << error.what() << '\n';
        return 1;
    }
}
