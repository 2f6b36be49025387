#ifndef TESSARINE_VECTORSTRING_H
#define TESSARINE_VECTORSTRING_H

#include "Tessarine/Constants.h"

#endif
