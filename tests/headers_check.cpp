// Compiled, never run: the umbrella header must build warning-free on its own.
#include <Tessarine/Tessarine.h>
