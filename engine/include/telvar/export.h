#pragma once

// Marks what a telvar library exports. Define TELVAR_BUILDING while compiling the library itself.
#if defined(_WIN32)
#if defined(TELVAR_BUILDING)
#define TELVAR_API __declspec(dllexport)
#else
#define TELVAR_API __declspec(dllimport)
#endif
#else
#define TELVAR_API __attribute__((visibility("default")))
#endif
