#include "core/cores.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "telvar/exceptions.h"

#if defined(__linux__)
#include <sched.h>
#elif defined(_WIN32)
#include <windows.h>
#endif

namespace telvar::core {
namespace {

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

#if defined(__linux__)

unsigned cores_by_affinity() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof(set), &set) != 0) return std::thread::hardware_concurrency();
  return static_cast<unsigned>(CPU_COUNT(&set));
}

double cores_by_quota() {
  std::ifstream groups("/proc/self/cgroup");
  return smallest_quota(groups, "/sys/fs/cgroup");
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

double smallest_quota(std::istream& groups, const std::string& root) {
  double cores = HUGE_VAL;
  for (std::string line; std::getline(groups, line);) {
    const auto first = line.find(':'), second = line.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    const bool unified = controllers.empty();
    // Between commas, since "cpuset" and "cpuacct" contain "cpu" too.
    if (!unified && ("," + controllers + ",").find(",cpu,") == std::string::npos) continue;
    const std::string folder = unified ? root : root + "/cpu";
    for (std::string group = line.substr(second + 1);; group.resize(group.rfind('/'))) {
      if (group == "/") group.clear();
      if (unified) {
        cores = std::min(cores, cores_of(first_line(folder + group + "/cpu.max"), ""));
      } else {
        cores = std::min(cores, cores_of(first_line(folder + group + "/cpu.cfs_quota_us"),
                                         first_line(folder + group + "/cpu.cfs_period_us")));
      }
      if (group.find('/') == std::string::npos) break;
    }
  }
  return cores;
}

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
