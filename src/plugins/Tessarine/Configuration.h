#ifndef TESSARINE_CONFIGURATION_H
#define TESSARINE_CONFIGURATION_H

#include "Tessarine/Constants.h"

#endif
