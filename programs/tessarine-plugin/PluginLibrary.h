#ifndef TESSARINE_PLUGIN_TOOL_PLUGIN_LIBRARY_H
#define TESSARINE_PLUGIN_TOOL_PLUGIN_LIBRARY_H

#include <Tessarine/PluginEntry.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace TessarinePluginTool {

/// The file cannot be loaded at all: what() says why, in one line.
class LoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The file loads but is no plug-in of this kit, or one built for another major version.
class EntryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One plug-in shared object loaded with dlopen, and its three entry points. Nothing is
/// unloaded by the destructor: the tool loads in a child process that ends instead, and unloads
/// only where unloading itself is under test (unload()).
class PluginLibrary {
public:
    /// Loads `i_Path` (a name without a slash is a file of the working directory, never one
    /// of the linker's search path). Throws LoadError or EntryError.
    explicit PluginLibrary(std::string const& i_Path);

    PluginLibrary(PluginLibrary const&) = delete;
    PluginLibrary& operator=(PluginLibrary const&) = delete;

    /// A new plug-in from the factory; throws EntryError when it makes none.
    Tessarine::Plugin& create();
    void destroy(Tessarine::Plugin& i_Plugin) { m_Destroy(&i_Plugin); }
    /// The major version of the library that the plug-in was built with.
    int versionMajor() const { return m_VersionMajor; }
    /// Unloads the shared object; throws LoadError when dlclose fails.
    void unload();

private:
    void* entryPoint(char const* i_Symbol);

    std::string const m_Path;
    void* m_Handle;
    int m_VersionMajor;
    Tessarine::CreatePluginFunction m_Create;
    Tessarine::DestroyPluginFunction m_Destroy;
};

/// The names that the plug-in advertises, in its order.
std::vector<std::wstring> advertised(Tessarine::Plugin& io_Plugin);

/// Initialises the plug-in; throws Failure when initialize() does not return PLUGIN_OK.
void initialize(Tessarine::Plugin& io_Plugin);

} // namespace TessarinePluginTool

#endif
