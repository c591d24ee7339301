#pragma once

/// @file
/// How a library exports functions on each platform: the only place that knows the compilers'
/// keywords for it. And the language version that all headers need.

// Some compilers that support C++20 report a lower version.
#if defined(_MSVC_LANG)
#if _MSVC_LANG < 202002L
#error "the headers of Zelvane and of the host need C++20: compile with /std:c++20 or later"
#endif
#elif __cplusplus < 201709L
#error "the headers of Zelvane and of the host need C++20: compile with -std=c++20 or later"
#endif

/// The function is exported by its name.
#if defined(_WIN32)
#define KZ_EXPORT __declspec(dllexport)
#else
#define KZ_EXPORT __attribute__((visibility("default")))
#endif

/// The function is local: each library has its own function of this name.
#if defined(_WIN32)
#define KZ_HIDDEN
#else
#define KZ_HIDDEN __attribute__((visibility("hidden")))
#endif

/// KZHOST_API: a function that the host offers to modules. KZHOST_BUILD is defined where the host itself is
/// built. Only Windows distinguishes the two sides: there the same declaration would make a library that
/// defines the function export it, and the module defines those of `host/platform.h` itself there.
#if defined(_WIN32) && !defined(KZHOST_BUILD)
#define KZHOST_API
#else
#define KZHOST_API KZ_EXPORT
#endif
