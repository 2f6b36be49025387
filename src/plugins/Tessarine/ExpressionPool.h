#ifndef TESSARINE_EXPRESSIONPOOL_H
#define TESSARINE_EXPRESSIONPOOL_H

#include "Tessarine/Constants.h"

#endif
