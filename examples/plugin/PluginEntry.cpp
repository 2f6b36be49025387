// The entry points through which a host reaches this shared object.

#include "ComparisonPlugin.h"

#include <Tessarine/PluginEntry.h>

TESSARINE_PLUGIN(TessarineExamples::ComparisonPlugin);
