#include "Tessarine/Constants.h"

#ifndef TESSARINE_PLUGINENTRY_H
#define TESSARINE_PLUGINENTRY_H

/// @file
/// The entry points through which a host reaches the plug-in of a shared object.
///
/// A plug-in's shared object exports three symbols with C linkage, so that their names are
/// plain and the same whichever compiler built it: a function that makes the plug-in, one that
/// destroys what the first made (in the same shared object, whose allocator made it), and the
/// major version of the library that the plug-in was built with, which a loader compares with
/// its own before it calls anything. One line in one source file of the plug-in defines them:
///
/// @code
/// TESSARINE_PLUGIN(MyPlugin)
/// @endcode
///
/// A loader finds them with `dlsym` under the names and types below. Nothing of this header is
/// part of the library: the plug-in defines the symbols, the host looks them up.

#include "Tessarine/Plugin.h"
#include "Tessarine/Version.h"

#include <new>

extern "C" {
/// Makes the plug-in of this shared object; null when it cannot be made. Throws nothing.
TESSARINE_API Tessarine::Plugin* tessarine_create_plugin() noexcept;
/// Destroys a plug-in made by tessarine_create_plugin() of the same shared object.
TESSARINE_API void tessarine_destroy_plugin(Tessarine::Plugin* i_Plugin) noexcept;
/// The TESSARINE_VERSION_MAJOR of the headers that the plug-in was built with.
TESSARINE_API extern int const tessarine_plugin_version_major;
}

/// Defines the three entry points of a plug-in shared object for the plug-in class `ClassName`,
/// which must be default-constructible. Write it once, at namespace scope, in one source file.
/// No exception leaves the entry points: a plug-in whose construction fails is made as null.
#define TESSARINE_PLUGIN(ClassName)                                                                \
    extern "C" TESSARINE_API Tessarine::Plugin* tessarine_create_plugin() noexcept {               \
        try {                                                                                      \
            return new (std::nothrow) ClassName;                                                   \
        } catch (...) {                                                                            \
            return nullptr;                                                                        \
        }                                                                                          \
    }                                                                                              \
    extern "C" TESSARINE_API void tessarine_destroy_plugin(Tessarine::Plugin* i_Plugin) noexcept { \
        delete i_Plugin;                                                                           \
    }                                                                                              \
    extern "C" TESSARINE_API int const tessarine_plugin_version_major = TESSARINE_VERSION_MAJOR

namespace Tessarine {

/// The type of tessarine_create_plugin(), as a loader casts the address that `dlsym` gives.
using CreatePluginFunction = decltype(&tessarine_create_plugin);
/// The type of tessarine_destroy_plugin().
using DestroyPluginFunction = decltype(&tessarine_destroy_plugin);
/// The type of what `dlsym` gives for tessarine_plugin_version_major.
using PluginVersionMajorPointer = decltype(&tessarine_plugin_version_major);

/// The name under which a loader finds tessarine_create_plugin().
constexpr char const* CREATE_PLUGIN_SYMBOL = "tessarine_create_plugin";
/// The name under which a loader finds tessarine_destroy_plugin().
constexpr char const* DESTROY_PLUGIN_SYMBOL = "tessarine_destroy_plugin";
/// The name under which a loader finds tessarine_plugin_version_major.
constexpr char const* PLUGIN_VERSION_MAJOR_SYMBOL = "tessarine_plugin_version_major";

} // namespace Tessarine

#endif
