#ifndef TESSARINE_PLUGIN_H
#define TESSARINE_PLUGIN_H

#include "Tessarine/Constants.h"

#endif
