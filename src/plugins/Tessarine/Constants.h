#ifndef TESSARINE_CONSTANTS_H
#define TESSARINE_CONSTANTS_H

// Every public header includes this one first, ahead of its own include guard. Below C++17 the
// headers cannot compile, and the compiler would say so from deep inside them, many times over.
// Instead it says so once, here, and the guards of all public headers are set, so that none of
// them is read any further.
#if defined(__cplusplus) && __cplusplus < 201703L
#error "the Tessarine headers need C++17 or later (-std=c++17)"
#define TESSARINE_CONFIGURATION_H
#define TESSARINE_EXPRESSION_H
#define TESSARINE_EXPRESSIONPOOL_H
#define TESSARINE_INIFILEREADER_H
#define TESSARINE_PLUGIN_H
#define TESSARINE_PLUGINENTRY_H
#define TESSARINE_STRING_H
#define TESSARINE_STRINGVECTOR_H
#define TESSARINE_TESSARINE_H
#define TESSARINE_UNKNOWNSOFTWAREREPOSITORY_H
#define TESSARINE_VECTORSTRING_H
#endif

#include <cstdint>

/// Everything the shared object exports carries this mark; the library is built with hidden
/// visibility, so whatever lacks it stays inside. Users see the same mark, which keeps the
/// vtables and type information of the exported classes shared with plug-ins that are built
/// with hidden visibility themselves.
#define TESSARINE_API __attribute__((visibility("default")))
/// Members of exported classes that only the library itself calls: kept out of the export table.
#define TESSARINE_LOCAL __attribute__((visibility("hidden")))

/// @file
/// Result codes and the constants exported for plug-in hosts.

/// Success.
constexpr int32_t PLUGIN_OK = 0;
/// The slot array of a StringVector could not grow.
constexpr int32_t PLUGIN_ERROR_OUT_OF_MEMORY = -100;
/// A required pointer was null.
constexpr int32_t PLUGIN_ERROR_INVALID_ARGUMENT = -101;
/// An index at or above the count.
constexpr int32_t PLUGIN_ERROR_INDEX_OUT_OF_RANGE = -110;
/// The pool found the instance already entered, or its entry not leased.
constexpr int32_t PLUGIN_ERROR_EXPRESSION_STATE = -10001;
/// The pool has no such entry, or is empty.
constexpr int32_t PLUGIN_ERROR_EXPRESSION_NOT_FOUND = -10002;
/// Configuration::getProperty found no entry for the key.
constexpr int32_t PLUGIN_ERROR_PROPERTY_NOT_FOUND = -10100;

/// Text of a true result: "true".
extern TESSARINE_API wchar_t const* PLUGIN_RESULT_TRUE;
/// Text of a false result: "false".
extern TESSARINE_API wchar_t const* PLUGIN_RESULT_FALSE;
/// File name extension of a plug-in, with its leading dot: ".so".
extern TESSARINE_API wchar_t const* PLUGIN_EXTENSION;
/// Separator of the components of a path: '/'.
extern TESSARINE_API wchar_t PLUGIN_PATH_SEPARATOR;

#endif
