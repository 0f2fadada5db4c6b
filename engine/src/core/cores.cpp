#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "core/worker_pool.h"
#include "telvar/exceptions.h"

#if defined(__linux__)
#include <sched.h>
#elif defined(_WIN32)
#include <windows.h>
#endif

namespace telvar::core {
namespace {

#if defined(__linux__)

unsigned cores_by_affinity() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof(set), &set) != 0) return std::thread::hardware_concurrency();
  return static_cast<unsigned>(CPU_COUNT(&set));
}

/// Cores that "quota period" grants; "max" or -1 is no limit.
double cores_of(const std::string& quota, const std::string& period) {
  std::istringstream in(quota + " " + period);
  in.imbue(std::locale::classic());
  double granted = 0, length = 0;
  if (!(in >> granted >> length) || granted <= 0 || length <= 0) return HUGE_VAL;
  return granted / length;
}

std::string first_line(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

/// The smallest quota of a control group and those above it; both versions of the file system.
double cores_by_quota() {
  double cores = HUGE_VAL;
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    const auto first = line.find(':'), second = line.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    const bool unified = controllers.empty();
    if (!unified && controllers.find("cpu") == std::string::npos) continue;
    const std::string root = unified ? "/sys/fs/cgroup" : "/sys/fs/cgroup/cpu";
    for (std::string group = line.substr(second + 1);; group.resize(group.rfind('/'))) {
      if (group == "/") group.clear();
      if (unified) {
        cores = std::min(cores, cores_of(first_line(root + group + "/cpu.max"), ""));
      } else {
        cores = std::min(cores, cores_of(first_line(root + group + "/cpu.cfs_quota_us"),
                                         first_line(root + group + "/cpu.cfs_period_us")));
      }
      if (group.find('/') == std::string::npos) break;
    }
  }
  return cores;
}

#elif defined(_WIN32)

unsigned cores_by_affinity() {
  DWORD_PTR process = 0, system = 0;
  if (!GetProcessAffinityMask(GetCurrentProcess(), &process, &system)) return 1;
  unsigned cores = 0;
  for (; process != 0; process &= process - 1) ++cores;
  return cores;
}

double cores_by_quota() {
  return HUGE_VAL;
}

#else

unsigned cores_by_affinity() {
  return std::thread::hardware_concurrency();
}
double cores_by_quota() {
  return HUGE_VAL;
}

#endif

}  // namespace

unsigned available_cores() {
  const double cores =
      std::min(static_cast<double>(cores_by_affinity()), std::ceil(cores_by_quota()));
  return static_cast<unsigned>(std::max(1.0, cores));
}

unsigned threads_of(const types::Device& device) {
  const auto* cpu = dynamic_cast<const types::CpuDevice*>(&device);
  if (cpu == nullptr) throw types::invalid_parameters("device: only the CPU is known");
  return cpu->threads();
}

}  // namespace telvar::core
