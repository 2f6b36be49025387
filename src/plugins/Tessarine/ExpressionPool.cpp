#include "Tessarine/ExpressionPool.h"
