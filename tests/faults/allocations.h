#pragma once

// Counts the allocations of the whole process, the libraries' included, and makes chosen ones fail.

namespace faults {

/// Allocations not yet given back.
long LiveAllocations();

/// Allocations so far.
long TotalAllocations();

enum class Mode {
  kOnce,        // the n-th allocation fails, later ones succeed
  kFromThenOn,  // the n-th and all later ones fail, those of clean-up included
};

/// The `n`-th allocation from now throws std::bad_alloc; the first is 1.
void FailAllocation(long n, Mode mode);

/// Ends failing; true when an allocation failed since FailAllocation.
bool StopFailing();

}  // namespace faults
