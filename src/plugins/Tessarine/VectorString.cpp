#include "Tessarine/VectorString.h"
