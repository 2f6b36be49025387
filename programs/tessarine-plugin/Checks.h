#ifndef TESSARINE_PLUGIN_TOOL_CHECKS_H
#define TESSARINE_PLUGIN_TOOL_CHECKS_H

#include "Child.h"

#include <string>
#include <vector>

namespace TessarinePluginTool {

struct CheckSettings {
    std::string m_Path;
    /// Cycles between two measures of the heap in the leak checks.
    int m_Cycles = 200;
    /// Seconds that one check may take before it counts as hanging.
    double m_TimeoutSeconds = 10;
};

struct CheckResult {
    char const* m_Name;
    ChildOutcome m_Outcome;
    /// Not run, as the plug-in does not load; m_Outcome.m_Reason says so.
    bool m_Skipped = false;
};

/// Runs every check of the plug-in's contract, each in a child process of its own, in order.
/// After a failed `load` the others are skipped. Throws LoadError when the file cannot be
/// loaded at all.
std::vector<CheckResult> runChecks(CheckSettings const& i_Settings);

} // namespace TessarinePluginTool

#endif
