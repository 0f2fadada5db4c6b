#pragma once

// Marks what TelvarTypes exports, and declares what every record has in common.

#if defined(_WIN32)
#if defined(TELVAR_TYPES_BUILDING)
#define TELVAR_TYPES_API __declspec(dllexport)
#else
#define TELVAR_TYPES_API __declspec(dllimport)
#endif
#else
#define TELVAR_TYPES_API __attribute__((visibility("default")))
#endif

// The copy and move operations and the destructor of a record. They are defined in TelvarTypes, so
// that host and library run the same code on the same layout. So is the constructor that takes the
// fields in their order: braces fill a record like an aggregate, and fields that are left out at
// the end keep their defaults.
#define TELVAR_TYPES_VALUE_OPERATIONS(Record) \
  Record(const Record&);                      \
  Record(Record&&) noexcept;                  \
  Record& operator=(const Record&);           \
  Record& operator=(Record&&) noexcept;       \
  ~Record()
