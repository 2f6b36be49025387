// tessarine-plugin: shows, runs and checks Tessarine plug-ins, and starts new ones.

#include "CommandLine.h"
#include "Commands.h"

#include <Tessarine/Version.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <iostream>
#include <new>

namespace {

using namespace TessarinePluginTool;

constexpr char const* PROGRAM = "tessarine-plugin";

constexpr char const* HELP = R"(Usage: tessarine-plugin info PLUGIN
  or:  tessarine-plugin run [-v] PLUGIN NAME [KEY=VALUE]...
  or:  tessarine-plugin check [--json] [--cycles N] [--timeout S] PLUGIN
  or:  tessarine-plugin new NAME [DIR]

Shows, runs and checks plug-ins of the Tessarine library, and starts new ones. PLUGIN is the
path of a plug-in's shared object. The plug-in always runs in a child process: its crash, its
hang or its own output (sent to standard error) never takes the tool down.

Commands:
  info PLUGIN          the plug-in's name, version, description and vendor, the major version
                       of the library it was built for, and its expressions, one a line
  run PLUGIN NAME [KEY=VALUE]...
                       initializes the plug-in, leases the expression NAME, sets the
                       properties, evaluates it and prints its result alone on one line;
                       SIGINT asks the plug-in to stop through its interrupt signaler
  check PLUGIN         runs the checks of the plug-in contract, each in a child process of its
                       own, and prints one line per check: "ok CHECK", or "FAIL CHECK: reason"
                       with what the plug-in printed. The checks, in order: load (the entry
                       points and the major version), metadata, initialize, names, lease,
                       dispose, reuse, evaluate, properties, unload, lease-leak, plugin-leak.
                       When load fails, the others are skipped ("skip CHECK: reason").
  new NAME [DIR]       writes a plug-in project named NAME into DIR (default: NAME): a
                       CMakeLists.txt on find_package(Tessarine) and tessarine_add_plugin(), a
                       plug-in class with one expression, and a test that runs check on it

Options:
  -v, --verbose        with run: show the plug-in's events on standard error
  --json               with check: one JSON object a line per check, with "check", "result"
                       ("ok", "fail" or "skip") and, unless ok, "reason" and "output"
  --cycles N           with check: the leak checks run three rounds of N cycles and fail when
                       the heap grows by at least N bytes in both of the last two (default 200)
  --timeout S          with check: seconds a check may take before it counts as a hang and is
                       killed (default 10)
  -h, --help           show this text
  --version            show the version of the library
  --                   end the options, for an argument that starts with -

Exit status: 0 on success; 1 when a check fails, evaluate does not return PLUGIN_OK or the
plug-in crashes; 2 for a wrong command line, a file that cannot be loaded or is no plug-in of
this library's major version, or a project that cannot be written; 3 when memory runs out.
)";

struct Options {
    enum class Action { Command, Help, Version } m_Action = Action::Command;
    bool m_Verbose = false;
    bool m_Json = false;
    bool m_Cycles = false;
    bool m_Timeout = false;
    CheckSettings m_Check;
    std::vector<std::string> m_Operands;
};

enum OptionCode { OPTION_VERSION = 256, OPTION_JSON, OPTION_CYCLES, OPTION_TIMEOUT };

constexpr option LONG_OPTIONS[] = {
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, OPTION_VERSION},
    {"verbose", no_argument, nullptr, 'v'},
    {"json", no_argument, nullptr, OPTION_JSON},
    {"cycles", required_argument, nullptr, OPTION_CYCLES},
    {"timeout", required_argument, nullptr, OPTION_TIMEOUT},
    {nullptr, 0, nullptr, 0},
};

/// A number after an option, in (0, i_Most].
double number(char const* i_Option, char const* i_Text, double i_Most) {
    char* end = nullptr;
    double const value = std::strtod(i_Text, &end);
    if (end == i_Text || *end != '\0' || !(value > 0 && value <= i_Most)) {
        throw UsageError(std::string(i_Option) + " takes a number above 0, at most " +
                         std::to_string(static_cast<long>(i_Most)));
    }
    return value;
}

int cycles(char const* i_Text) {
    double const value = number("--cycles", i_Text, 1'000'000);
    if (value != static_cast<int>(value)) {
        throw UsageError("--cycles takes a whole number");
    }
    return static_cast<int>(value);
}

Options parseArguments(int i_Count, char** i_Arguments) {
    Options options;
    opterr = 0;
    // Options may come after the operands, as in `check PLUGIN --json`; ':' tells a missing
    // argument from an unknown option.
    int code = 0;
    while ((code = getopt_long(i_Count, i_Arguments, ":hv", LONG_OPTIONS, nullptr)) != -1) {
        switch (code) {
        case 'h':
            options.m_Action = Options::Action::Help;
            return options;
        case OPTION_VERSION:
            options.m_Action = Options::Action::Version;
            return options;
        case 'v':
            options.m_Verbose = true;
            break;
        case OPTION_JSON:
            options.m_Json = true;
            break;
        case OPTION_CYCLES:
            options.m_Cycles = true;
            options.m_Check.m_Cycles = cycles(optarg);
            break;
        case OPTION_TIMEOUT:
            options.m_Timeout = true;
            options.m_Check.m_TimeoutSeconds = number("--timeout", optarg, 86400);
            break;
        case ':':
            throw UsageError(std::string(i_Arguments[optind - 1]) + " needs a value");
        default:
            throw UsageError(TessarineSupport::unknownOption(i_Arguments, OPTION_VERSION));
        }
    }
    options.m_Operands.assign(i_Arguments + optind, i_Arguments + i_Count);
    return options;
}

void requireOperands(std::vector<std::string> const& i_Operands, std::size_t i_Least,
                     std::size_t i_Most, char const* i_Usage) {
    if (i_Operands.size() < i_Least + 1 || i_Operands.size() > i_Most + 1) {
        throw UsageError(std::string("usage: ") + PROGRAM + ' ' + i_Usage);
    }
}

void requireNoOption(bool i_Given, char const* i_Option, std::string const& i_Command) {
    if (i_Given) {
        throw UsageError(std::string(i_Option) + " does not go with " + i_Command);
    }
}

RunSettings runSettings(Options const& i_Options) {
    std::vector<std::string> const& operands = i_Options.m_Operands;
    RunSettings settings{operands[1], operands[2], {}, i_Options.m_Verbose};
    for (auto property = operands.begin() + 3; property != operands.end(); ++property) {
        std::size_t const equals = property->find('=');
        if (equals == std::string::npos || equals == 0) {
            throw UsageError("a property is KEY=VALUE, not '" + *property + "'");
        }
        settings.m_Properties.emplace_back(property->substr(0, equals),
                                           property->substr(equals + 1));
    }
    return settings;
}

int command(Options& io_Options) {
    if (io_Options.m_Action == Options::Action::Help) {
        std::cout << HELP;
        return 0;
    }
    if (io_Options.m_Action == Options::Action::Version) {
        std::cout << PROGRAM << ' ' << TESSARINE_VERSION << '\n';
        return 0;
    }
    std::vector<std::string> const& operands = io_Options.m_Operands;
    if (operands.empty()) {
        throw UsageError("no command given");
    }
    std::string const& name = operands[0];
    if (name != "check") {
        requireNoOption(io_Options.m_Json, "--json", name);
        requireNoOption(io_Options.m_Cycles, "--cycles", name);
        requireNoOption(io_Options.m_Timeout, "--timeout", name);
    }
    if (name != "run") {
        requireNoOption(io_Options.m_Verbose, "-v", name);
    }
    if (name == "info") {
        requireOperands(operands, 1, 1, "info PLUGIN");
        return info(operands[1]);
    }
    if (name == "run") {
        requireOperands(operands, 2, SIZE_MAX - 1, "run [-v] PLUGIN NAME [KEY=VALUE]...");
        return run(runSettings(io_Options));
    }
    if (name == "check") {
        requireOperands(operands, 1, 1, "check [--json] [--cycles N] [--timeout S] PLUGIN");
        io_Options.m_Check.m_Path = operands[1];
        return check(io_Options.m_Check, io_Options.m_Json);
    }
    if (name == "new") {
        requireOperands(operands, 1, 2, "new NAME [DIR]");
        return makeProject(operands[1], operands.size() > 2 ? operands[2] : operands[1]);
    }
    throw UsageError("unknown command '" + name + "'");
}

} // namespace

int main(int argc, char** argv) {
    // Properties given on the command line are read in the user's locale.
    std::setlocale(LC_ALL, "");
    try {
        Options options = parseArguments(argc, argv);
        return command(options);
    } catch (UsageError const& error) {
        std::cerr << PROGRAM << ": " << error.what() << "\nTry '" << PROGRAM
                  << " --help' for more information.\n";
        return 2;
    } catch (std::bad_alloc const&) {
        // Nothing here may allocate any more.
        std::fputs("tessarine-plugin: out of memory\n", stderr);
        return 3;
    } catch (std::exception const& error) {
        std::cerr << PROGRAM << ": " << error.what() << '\n';
        return 2;
    }
}
