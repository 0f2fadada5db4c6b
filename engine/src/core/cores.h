#pragma once

// How many threads may work.

#include <iosfwd>
#include <string>

#include "telvar/device.h"

namespace telvar::core {

/// The number of cores that this process may use, by affinity mask and control-group quota; at
/// least 1.
unsigned available_cores();

/// The threads that a device grants; 0: as many as there are available_cores. Throws
/// invalid_parameters for any device but the CPU.
unsigned threads_of(const types::Device& device);

/// The smallest quota, in cores, of the control groups that `groups` lists (as /proc/self/cgroup
/// does, both versions of the file system) and of those above them, with their files under `root`
/// (/sys/fs/cgroup); infinity without one.
double smallest_quota(std::istream& groups, const std::string& root);

}  // namespace telvar::core
