#ifndef TESSARINE_EXPRESSION_H
#define TESSARINE_EXPRESSION_H

#include "Tessarine/Constants.h"

#endif
