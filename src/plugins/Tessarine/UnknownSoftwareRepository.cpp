#include "Tessarine/UnknownSoftwareRepository.h"
