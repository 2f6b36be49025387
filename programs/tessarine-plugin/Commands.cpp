#include "Commands.h"

#include "PluginLibrary.h"
#include "Text.h"

#include <Tessarine/Plugin.h>

#include <csignal>
#include <cstdio>
#include <iostream>

namespace TessarinePluginTool {

namespace {

using Tessarine::Expression;
using Tessarine::Plugin;
using TessarineSupport::displayText;

constexpr char const* PROGRAM = "tessarine-plugin";

volatile std::sig_atomic_t g_Interrupted = 0;

extern "C" void onInterrupt(int) {
    g_Interrupted = 1;
}

bool interruptRequested() {
    return g_Interrupted != 0;
}

void showEvent(char const* i_Event, bool i_Failure) {
    std::fprintf(stderr, "%s: event: %s%s\n", PROGRAM, i_Failure ? "failure: " : "", i_Event);
}

std::string text(wchar_t const* i_Text) {
    return i_Text == nullptr ? "(null)" : displayText(i_Text);
}

std::wstring widen(std::string const& i_Text) {
    std::wstring wide(i_Text.size(), L'\0');
    std::mbstate_t state{};
    char const* source = i_Text.c_str();
    std::size_t const length = std::mbsrtowcs(wide.data(), &source, wide.size(), &state);
    if (length == static_cast<std::size_t>(-1)) {
        throw UsageError("'" + i_Text + "' is no text in the locale's character set");
    }
    wide.resize(length);
    return wide;
}

/// A text as a JSON string, in ASCII: a byte above 127 stands for the character of its value.
std::string jsonText(std::string const& i_Text) {
    std::string quoted = "\"";
    for (char const character : i_Text) {
        auto const byte = static_cast<unsigned char>(character);
        if (byte == '"' || byte == '\\') {
            quoted += {'\\', character};
        } else if (byte < 0x20 || byte >= 0x7F) {
            char escape[7];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(byte));
            quoted += escape;
        } else {
            quoted += character;
        }
    }
    return quoted + '"';
}

void writeInfo(std::string const& i_Path, int i_Out) {
    PluginLibrary library(i_Path);
    Plugin& plugin = library.create();
    initialize(plugin);
    std::string listing = "name: " + text(plugin.getName()) +
                          "\nversion: " + text(plugin.getVersion()) +
                          "\ndescription: " + text(plugin.getDescription()) +
                          "\nvendor: " + text(plugin.getVendor()) + "\nbuilt for: Tessarine " +
                          std::to_string(library.versionMajor()) + "\nexpressions:\n";
    for (std::wstring const& name : advertised(plugin)) {
        listing += displayText(name) + '\n';
    }
    plugin.cleanup();
    library.destroy(plugin);
    writeAll(i_Out, listing);
}

Expression& leased(Plugin& io_Plugin, std::wstring const& i_Name) {
    Expression* expression = nullptr;
    int32_t const result = io_Plugin.getExpression(i_Name.c_str(), &expression);
    if (result != PLUGIN_OK || expression == nullptr) {
        throw Failure("cannot lease " + displayText(i_Name) + ": code " + std::to_string(result));
    }
    return *expression;
}

void evaluateOnce(RunSettings const& i_Settings, int i_Out) {
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);
    PluginLibrary library(i_Settings.m_Path);
    Plugin& plugin = library.create();
    plugin.setInterruptSignaler(interruptRequested);
    if (i_Settings.m_Verbose) {
        plugin.setEventTrigger(showEvent);
    }
    initialize(plugin);
    std::wstring const name = widen(i_Settings.m_Expression);
    Expression& expression = leased(plugin, name);
    for (auto const& [key, value] : i_Settings.m_Properties) {
        expression.setProperty(widen(key).c_str(), widen(value).c_str());
    }
    int32_t const result = expression.evaluate();
    if (result == PLUGIN_OK) {
        writeAll(i_Out, text(expression.getResult()) + '\n');
    }
    plugin.disposeExpression(&expression);
    plugin.cleanup();
    library.destroy(plugin);
    if (result != PLUGIN_OK) {
        throw Failure(i_Settings.m_Expression + ": evaluate() returned code " +
                      std::to_string(result));
    }
}

/// What the plug-in printed, on one line, cut short when long.
std::string printed(std::string const& i_Output) {
    constexpr std::size_t SHOWN = 200;
    return jsonText(i_Output.size() > SHOWN ? i_Output.substr(0, SHOWN) + "..." : i_Output);
}

void printPlain(CheckResult const& i_Result) {
    ChildOutcome const& outcome = i_Result.m_Outcome;
    if (outcome.m_Kind == ChildOutcome::Kind::Passed) {
        std::cout << "ok " << i_Result.m_Name << '\n';
        return;
    }
    std::cout << (i_Result.m_Skipped ? "skip " : "FAIL ") << i_Result.m_Name << ": "
              << outcome.m_Reason;
    if (!outcome.m_Output.empty()) {
        std::cout << " (the plug-in printed " << printed(outcome.m_Output) << ')';
    }
    std::cout << '\n';
}

void printJson(CheckResult const& i_Result) {
    ChildOutcome const& outcome = i_Result.m_Outcome;
    bool const passed = outcome.m_Kind == ChildOutcome::Kind::Passed;
    std::cout << "{\"check\": " << jsonText(i_Result.m_Name) << ", \"result\": \""
              << (passed               ? "ok"
                  : i_Result.m_Skipped ? "skip"
                                       : "fail")
              << '"';
    if (!passed) {
        std::cout << ", \"reason\": " << jsonText(outcome.m_Reason)
                  << ", \"output\": " << jsonText(outcome.m_Output);
    }
    std::cout << "}\n";
}

} // namespace

int exitStatus(ChildOutcome const& i_Outcome, std::string const& i_Path) {
    switch (i_Outcome.m_Kind) {
    case ChildOutcome::Kind::Passed:
        return 0;
    case ChildOutcome::Kind::LoadFailed:
        std::cerr << PROGRAM << ": cannot load " << i_Path << ": " << i_Outcome.m_Reason << '\n';
        return 2;
    case ChildOutcome::Kind::OutOfMemory:
        std::cerr << PROGRAM << ": out of memory running " << i_Path << '\n';
        return 3;
    case ChildOutcome::Kind::NotAPlugin:
    case ChildOutcome::Kind::Failed:
        break;
    }
    std::cerr << PROGRAM << ": " << i_Path << ": " << i_Outcome.m_Reason << '\n';
    return i_Outcome.m_Kind == ChildOutcome::Kind::NotAPlugin ? 2 : 1;
}

int info(std::string const& i_Path) {
    return exitStatus(
        runInChild([&i_Path](int i_Out) { writeInfo(i_Path, i_Out); }, ChildOutput::ToError, 0),
        i_Path);
}

int run(RunSettings const& i_Settings) {
    // The tool outlives an interrupted plug-in and reports how it ended; the child, where the
    // plug-in runs, takes SIGINT as a request to stop.
    forwardInterrupts();
    return exitStatus(runInChild([&i_Settings](int i_Out) { evaluateOnce(i_Settings, i_Out); },
                                 ChildOutput::ToError, 0),
                      i_Settings.m_Path);
}

int check(CheckSettings const& i_Settings, bool i_Json) {
    std::vector<CheckResult> results;
    try {
        results = runChecks(i_Settings);
    } catch (LoadError const& error) {
        std::cerr << PROGRAM << ": cannot load " << i_Settings.m_Path << ": " << error.what()
                  << '\n';
        return 2;
    }
    int status = 0;
    for (CheckResult const& result : results) {
        (i_Json ? printJson : printPlain)(result);
        status = result.m_Outcome.m_Kind == ChildOutcome::Kind::Passed ? status : 1;
    }
    return status;
}

} // namespace TessarinePluginTool
