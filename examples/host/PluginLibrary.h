#ifndef TESSARINE_EXAMPLES_PLUGIN_LIBRARY_H
#define TESSARINE_EXAMPLES_PLUGIN_LIBRARY_H

#include <Tessarine/PluginEntry.h>

#include <memory>
#include <string>
#include <vector>

namespace TessarineExamples {

/// One plug-in shared object, loaded with dlopen, and the plug-in that its factory made.
///
/// Destruction ends the plug-in's life in the only safe order: Plugin::cleanup() destroys every
/// expression it still holds, the shared object's own destroyer deletes the plug-in, and only
/// then is the shared object unloaded, since its code runs in both steps.
class PluginLibrary {
public:
    /// Loads the shared object and makes its plug-in. Throws HostError naming the file when
    /// it cannot be loaded, lacks one of its three entry points, was built for another major
    /// version of the library, or makes no plug-in.
    explicit PluginLibrary(std::string const& i_Path);
    ~PluginLibrary();

    PluginLibrary(PluginLibrary const&) = delete;
    PluginLibrary& operator=(PluginLibrary const&) = delete;

    Tessarine::Plugin& plugin() { return *m_Plugin; }
    std::string const& path() const { return m_Path; }

private:
    struct Unloader {
        void operator()(void* i_Handle) const;
    };

    void* entryPoint(char const* i_Symbol);

    std::string const m_Path;
    std::unique_ptr<void, Unloader> m_Handle;
    Tessarine::DestroyPluginFunction m_Destroy;
    Tessarine::Plugin* m_Plugin;
};

/// Loads every plug-in of the directory: the files whose names end in PLUGIN_EXTENSION, in the
/// order of their names. Throws HostError when the directory cannot be read, holds no plug-in,
/// or one of them fails to load.
std::vector<std::unique_ptr<PluginLibrary>> loadPlugins(std::string const& i_Directory);

} // namespace TessarineExamples

#endif
