#ifndef TESSARINE_INIFILEREADER_H
#define TESSARINE_INIFILEREADER_H

#include "Tessarine/Constants.h"

#endif
