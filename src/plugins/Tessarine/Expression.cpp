#include "Tessarine/Expression.h"
