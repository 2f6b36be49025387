#include "Tessarine/Constants.h"

// The objects are writable, as hosts expect; the library itself never writes them.
wchar_t const* PLUGIN_RESULT_TRUE = L"true";
wchar_t const* PLUGIN_RESULT_FALSE = L"false";
wchar_t const* PLUGIN_EXTENSION = L".so";
wchar_t PLUGIN_PATH_SEPARATOR = L'/';
