#ifndef TESSARINE_PLUGIN_TOOL_COMMANDS_H
#define TESSARINE_PLUGIN_TOOL_COMMANDS_H

#include "Checks.h"

#include <string>
#include <utility>
#include <vector>

namespace TessarinePluginTool {

/// A command line that makes no sense; what() says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The exit status of the tool for the outcome of a child that ran the plug-in: 0 when it
/// passed; otherwise 1, 2 or 3, after one line on standard error.
int exitStatus(ChildOutcome const& i_Outcome, std::string const& i_Path);

/// `info`: the plug-in's texts, the library version it was built for, its expressions.
int info(std::string const& i_Path);

struct RunSettings {
    std::string m_Path;
    std::string m_Expression;
    std::vector<std::pair<std::string, std::string>> m_Properties;
    bool m_Verbose = false;
};

/// `run`: evaluates one expression and prints its result.
int run(RunSettings const& i_Settings);

/// `check`: runs the checks and prints one line (or one JSON object) per check.
int check(CheckSettings const& i_Settings, bool i_Json);

/// `new`: writes a plug-in project named `i_Name` into `i_Directory`.
int makeProject(std::string const& i_Name, std::string const& i_Directory);

} // namespace TessarinePluginTool

#endif
