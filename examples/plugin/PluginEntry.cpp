// The two entry points through which the example host reaches this shared object.

#include "ComparisonPlugin.h"
#include "ExamplePluginApi.h"

#include <new>

TESSARINE_EXAMPLE_EXPORT Tessarine::Plugin* tessarine_example_create_plugin() {
    // No exception may leave a function with C linkage: a plug-in that cannot be allocated is
    // reported as null.
    return new (std::nothrow) TessarineExamples::ComparisonPlugin;
}

TESSARINE_EXAMPLE_EXPORT void tessarine_example_destroy_plugin(Tessarine::Plugin* i_Plugin) {
    delete i_Plugin;
}
