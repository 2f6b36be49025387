#include "Checks.h"

#include "HeapCounter.h"
#include "PluginLibrary.h"
#include "Text.h"

#include <Tessarine/Plugin.h>

#include <set>
#include <string>

namespace TessarinePluginTool {

namespace {

using Tessarine::Expression;
using Tessarine::Plugin;
using TessarineSupport::displayText;

constexpr wchar_t const* CHECK_PROPERTY = L"tessarine-check";
constexpr wchar_t const* CHECK_VALUE = L"a value set by tessarine-plugin check";

std::string code(int32_t i_Code) {
    return "code " + std::to_string(i_Code);
}

std::string quoted(std::wstring const& i_Name) {
    return "'" + displayText(i_Name) + "'";
}

Plugin& initialized(PluginLibrary& io_Library) {
    Plugin& plugin = io_Library.create();
    initialize(plugin);
    return plugin;
}

Expression& lease(Plugin& io_Plugin, std::wstring const& i_Name) {
    Expression* expression = nullptr;
    int32_t const result = io_Plugin.getExpression(i_Name.c_str(), &expression);
    if (result != PLUGIN_OK) {
        throw Failure(quoted(i_Name) + " is advertised but refused with " + code(result));
    }
    if (expression == nullptr) {
        throw Failure(quoted(i_Name) + " leased as null with PLUGIN_OK");
    }
    return *expression;
}

void dispose(Plugin& io_Plugin, std::wstring const& i_Name, Expression& io_Expression) {
    int32_t const result = io_Plugin.disposeExpression(&io_Expression);
    if (result != PLUGIN_OK) {
        throw Failure(quoted(i_Name) + ": disposeExpression() returned " + code(result));
    }
}

/// One lease cycle of the name: lease, set a property, evaluate, read the result, dispose.
void leaseCycle(Plugin& io_Plugin, std::wstring const& i_Name) {
    Expression& expression = lease(io_Plugin, i_Name);
    expression.setProperty(CHECK_PROPERTY, CHECK_VALUE);
    expression.evaluate();
    expression.getResult();
    dispose(io_Plugin, i_Name, expression);
}

void leaseEach(Plugin& io_Plugin) {
    for (std::wstring const& name : advertised(io_Plugin)) {
        leaseCycle(io_Plugin, name);
    }
}

/// Runs `i_Cycle` in three rounds of `i_Cycles`: the first fills what a plug-in rightly keeps
/// (pools, caches, buffers that grow once), the two others are measured. Memory that grows in
/// both by at least a byte a cycle is a leak; growth that stops, such as a vector that doubles
/// once, is not.
template <typename Cycle>
void requireNoGrowth(int i_Cycles, char const* i_What, Cycle const& i_Cycle) {
    long long measures[3] = {};
    for (long long& measure : measures) {
        for (int cycle = 0; cycle < i_Cycles; ++cycle) {
            i_Cycle();
        }
        measure = heapInUse();
    }
    long long const cycles = i_Cycles;
    if (measures[1] >= measures[0] + cycles && measures[2] >= measures[1] + cycles) {
        throw Failure("the heap grows with each " + std::string(i_What) + ": by " +
                      std::to_string(measures[1] - measures[0]) + " bytes over " +
                      std::to_string(i_Cycles) + " cycles, then by " +
                      std::to_string(measures[2] - measures[1]) + " over as many");
    }
}

void checkLoad(PluginLibrary& io_Library, CheckSettings const&) {
    io_Library.create();
}

void checkMetadata(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = io_Library.create();
    std::pair<char const*, wchar_t const*> const texts[] = {
        {"getName()", plugin.getName()},
        {"getVersion()", plugin.getVersion()},
        {"getDescription()", plugin.getDescription()},
        {"getVendor()", plugin.getVendor()},
    };
    for (auto const& [what, text] : texts) {
        if (text == nullptr) {
            throw Failure(std::string(what) + " gives null");
        }
    }
}

void checkInitialize(PluginLibrary& io_Library, CheckSettings const&) {
    initialized(io_Library);
}

void checkNames(PluginLibrary& io_Library, CheckSettings const&) {
    std::vector<std::wstring> const names = advertised(initialized(io_Library));
    if (names.empty()) {
        throw Failure("no expression is advertised");
    }
    std::set<std::wstring> seen;
    for (std::wstring const& name : names) {
        if (!seen.insert(name).second) {
            throw Failure(quoted(name) + " is advertised twice");
        }
    }
}

void checkLease(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    for (std::wstring const& name : advertised(plugin)) {
        lease(plugin, name);
    }
}

void checkDispose(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    for (std::wstring const& name : advertised(plugin)) {
        dispose(plugin, name, lease(plugin, name));
    }
}

void checkReuse(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    for (std::wstring const& name : advertised(plugin)) {
        Expression& first = lease(plugin, name);
        dispose(plugin, name, first);
        Expression& again = lease(plugin, name);
        if (&again != &first) {
            throw Failure(quoted(name) + ": a lease after dispose got a new instance");
        }
        Expression* second = nullptr;
        int32_t const result = plugin.getExpression(name.c_str(), &second);
        if (result != PLUGIN_OK || second == nullptr || second == &again) {
            // The pool refuses an instance that is out on lease already: a factory that hands
            // out one instance twice shows as this refusal.
            throw Failure(quoted(name) + ": two leases at once did not get two instances (" +
                          code(result) + ")");
        }
        dispose(plugin, name, *second);
        dispose(plugin, name, again);
    }
}

void checkEvaluate(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    for (std::wstring const& name : advertised(plugin)) {
        Expression& expression = lease(plugin, name);
        expression.evaluate();
        if (expression.getResult() == nullptr) {
            throw Failure(quoted(name) + ": getResult() gives null after evaluate()");
        }
        dispose(plugin, name, expression);
    }
}

void checkProperties(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    for (std::wstring const& name : advertised(plugin)) {
        Expression& expression = lease(plugin, name);
        expression.setProperty(CHECK_PROPERTY, CHECK_VALUE);
        expression.evaluate();
        wchar_t const* const value = expression.getProperty(CHECK_PROPERTY);
        if (value == nullptr || std::wstring(value) != CHECK_VALUE) {
            throw Failure(quoted(name) + ": a property set before evaluate() does not read back");
        }
        dispose(plugin, name, expression);
    }
}

void checkUnload(PluginLibrary& io_Library, CheckSettings const&) {
    Plugin& plugin = initialized(io_Library);
    leaseEach(plugin);
    plugin.cleanup();
    io_Library.destroy(plugin);
    io_Library.unload();
}

void checkLeaseLeak(PluginLibrary& io_Library, CheckSettings const& i_Settings) {
    Plugin& plugin = initialized(io_Library);
    requireNoGrowth(i_Settings.m_Cycles, "lease cycle", [&plugin] { leaseEach(plugin); });
}

void checkPluginLeak(PluginLibrary& io_Library, CheckSettings const& i_Settings) {
    requireNoGrowth(i_Settings.m_Cycles, "initialize/cleanup cycle", [&io_Library] {
        Plugin& plugin = initialized(io_Library);
        leaseEach(plugin);
        plugin.cleanup();
        io_Library.destroy(plugin);
    });
}

struct Check {
    char const* m_Name;
    void (*m_Run)(PluginLibrary&, CheckSettings const&);
};

constexpr Check CHECKS[] = {
    {"load", checkLoad},     {"metadata", checkMetadata},    {"initialize", checkInitialize},
    {"names", checkNames},   {"lease", checkLease},          {"dispose", checkDispose},
    {"reuse", checkReuse},   {"evaluate", checkEvaluate},    {"properties", checkProperties},
    {"unload", checkUnload}, {"lease-leak", checkLeaseLeak}, {"plugin-leak", checkPluginLeak},
};

} // namespace

std::vector<CheckResult> runChecks(CheckSettings const& i_Settings) {
    std::vector<CheckResult> results;
    bool loads = true;
    for (Check const& check : CHECKS) {
        CheckResult result{check.m_Name, {}};
        if (!loads) {
            result.m_Skipped = true;
            result.m_Outcome.m_Kind = ChildOutcome::Kind::Failed;
            result.m_Outcome.m_Reason = "the plug-in does not load";
        } else {
            result.m_Outcome = runInChild(
                [&check, &i_Settings](int) {
                    PluginLibrary library(i_Settings.m_Path);
                    check.m_Run(library, i_Settings);
                },
                ChildOutput::Captured, i_Settings.m_TimeoutSeconds);
        }
        if (result.m_Outcome.m_Kind == ChildOutcome::Kind::LoadFailed) {
            throw LoadError(result.m_Outcome.m_Reason);
        }
        if (&check == &CHECKS[0]) {
            loads = result.m_Outcome.m_Kind == ChildOutcome::Kind::Passed;
        }
        results.push_back(std::move(result));
    }
    return results;
}

} // namespace TessarinePluginTool
