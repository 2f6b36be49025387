#ifndef TESSARINE_EXAMPLES_PLUGIN_API_H
#define TESSARINE_EXAMPLES_PLUGIN_API_H

#include <Tessarine/Plugin.h>

#include <cstdint>

// How the example host and the example plug-ins find each other. Every plug-in shared object
// exports two functions with C linkage, so that their names in the symbol table are plain and
// the same whichever compiler built the plug-in: one makes the plug-in, the other destroys what
// the first made. The plug-in is destroyed by the shared object that allocated it, never by
// the host. This is the example's convention; the library itself loads nothing.

extern "C" {
/// Makes the plug-in of this shared object; null when it cannot be made. Throws nothing.
Tessarine::Plugin* tessarine_example_create_plugin();
/// Destroys a plug-in made by tessarine_example_create_plugin() of the same shared object.
void tessarine_example_destroy_plugin(Tessarine::Plugin* i_Plugin);
}

/// Marks the two entry points of a plug-in: plug-ins are built with hidden visibility, so only
/// what carries this mark can be found with dlsym.
#define TESSARINE_EXAMPLE_EXPORT extern "C" __attribute__((visibility("default")))

namespace TessarineExamples {

using CreatePluginFunction = decltype(&tessarine_example_create_plugin);
using DestroyPluginFunction = decltype(&tessarine_example_destroy_plugin);

constexpr char const* CREATE_PLUGIN_SYMBOL = "tessarine_example_create_plugin";
constexpr char const* DESTROY_PLUGIN_SYMBOL = "tessarine_example_destroy_plugin";

/// What Expression::evaluate() returns when the host's interrupt signaler asked it to stop.
/// Outside the library's own range of result codes.
constexpr int32_t EXAMPLE_ERROR_INTERRUPTED = -20001;

} // namespace TessarineExamples

#endif
