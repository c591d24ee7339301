#pragma once

/// @file
/// How each platform shows a function of one library to the others: the only place that knows the compilers'
/// own words for it. And what level of the language all headers need.

// Some compilers that have C++20 say that they are on the way there.
#if defined(_MSVC_LANG)
#if _MSVC_LANG < 202002L
#error "the headers of Zelvane and of the host need C++20: compile with /std:c++20 or later"
#endif
#elif __cplusplus < 201709L
#error "the headers of Zelvane and of the host need C++20: compile with -std=c++20 or later"
#endif

/// Other libraries find this function by its name.
#if defined(_WIN32)
#define KZ_EXPORT __declspec(dllexport)
#else
#define KZ_EXPORT __attribute__((visibility("default")))
#endif

/// Each library has a function of its own by this name.
#if defined(_WIN32)
#define KZ_HIDDEN
#else
#define KZ_HIDDEN __attribute__((visibility("hidden")))
#endif

/// KZHOST_API: a function that the host offers to modules. KZHOST_BUILD is defined where the host itself is
/// built. Only Windows tells the two sides apart: the same declaration would make whoever defines the
/// function export it, and the module defines those of `host/platform.h` itself there.
#if defined(_WIN32) && !defined(KZHOST_BUILD)
#define KZHOST_API
#else
#define KZHOST_API KZ_EXPORT
#endif
