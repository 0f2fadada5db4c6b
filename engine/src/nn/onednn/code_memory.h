#pragma once

namespace telvar::nn {

/// Throws std::bad_alloc unless the system grants as much memory as any primitive takes while it is
/// made. oneDNN 2.6 writes code to a null pointer where it cannot map memory for it, so call this
/// before each primitive, one at a time: other threads may take a little in between, for which the
/// amount leaves room.
void require_code_memory();

}  // namespace telvar::nn
