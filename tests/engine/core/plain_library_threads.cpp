// Stands in for the tensor library's thread setting where that library is left out.

#include "core/library_threads.h"

namespace telvar::core {

LibraryThreadScope::LibraryThreadScope() : threads_(0), control_(0) {}
LibraryThreadScope::~LibraryThreadScope() = default;

}  // namespace telvar::core
