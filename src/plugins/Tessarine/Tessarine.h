#include "Tessarine/Constants.h"

#ifndef TESSARINE_TESSARINE_H
#define TESSARINE_TESSARINE_H

/// @file
/// Umbrella header: every public class of the library, and its version.
///
/// Tessarine/PluginEntry.h is left out: it declares the entry points that a plug-in defines with
/// TESSARINE_PLUGIN(), which no host or library code should see declared as if they were its
/// own. A plug-in's entry file and a loader include it themselves.

#include "Tessarine/Configuration.h"
#include "Tessarine/Expression.h"
#include "Tessarine/ExpressionPool.h"
#include "Tessarine/IniFileReader.h"
#include "Tessarine/Plugin.h"
#include "Tessarine/String.h"
#include "Tessarine/StringVector.h"
#include "Tessarine/UnknownSoftwareRepository.h"
#include "Tessarine/VectorString.h"
#include "Tessarine/Version.h"

#endif
