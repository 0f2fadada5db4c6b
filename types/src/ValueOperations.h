#pragma once

// Defines what TELVAR_TYPES_VALUE_OPERATIONS declares, and the default constructor.
#define TELVAR_TYPES_DEFINE_RECORD(Record)                \
  Record::Record() = default;                             \
  Record::Record(const Record&) = default;                \
  Record::Record(Record&&) noexcept = default;            \
  Record& Record::operator=(const Record&) = default;     \
  Record& Record::operator=(Record&&) noexcept = default; \
  Record::~Record() = default

// Defines a tool's state record.
#define TELVAR_TYPES_DEFINE_DATA(Data)                                                \
  Data::Data(const std::string& artifact_bytes, const std::string& train_cache_bytes) \
      : artifact(artifact_bytes), trainCache(train_cache_bytes) {}                    \
  Data::Data(const Data&) = default;                                                  \
  Data::Data(Data&&) noexcept = default;                                              \
  Data& Data::operator=(const Data&) = default;                                       \
  Data& Data::operator=(Data&&) noexcept = default;                                   \
  Data::~Data() = default
