#include "Tessarine/Configuration.h"
