#include "Tessarine/Plugin.h"
