#pragma once

namespace telvar::core {

/// Lets the C library keep what is freed for the next that asks. GNU's malloc gives large blocks
/// back to the system at once, and a training that takes and frees megabytes at every step then
/// spends a quarter of its time on page faults. Once a block of a size has been freed, blocks up to
/// that size and twice as much at the top of the heap are kept (mallopt(3), M_MMAP_THRESHOLD); so
/// this takes and frees one of the largest size that counts, 32 MiB, none of it touched. A host
/// that has set these thresholds itself keeps them. Elsewhere it does nothing that matters.
void keep_freed_memory();

}  // namespace telvar::core
