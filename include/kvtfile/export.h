#pragma once

/// @file
/// `KVTFILE_API` marks what the shared library exports: everything else stays hidden in it.

#if defined(_WIN32)
#if defined(KVTFILE_BUILDING)
#define KVTFILE_API __declspec(dllexport)
#else
#define KVTFILE_API __declspec(dllimport)
#endif
#else
#define KVTFILE_API __attribute__((visibility("default")))
#endif
