#include "Tessarine/String.h"
