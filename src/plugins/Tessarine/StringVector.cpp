#include "Tessarine/StringVector.h"
