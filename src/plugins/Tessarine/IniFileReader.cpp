#include "Tessarine/IniFileReader.h"
