#include "code_set.h"

#include <sys/resource.h>

#include <chrono>
#include <fstream>
#include <limits>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>

#include "images/codecs/codecs.h"

namespace telvar_bench {
namespace {

std::ifstream open_table(const std::string& path) {
  std::ifstream stream(path);
  if (!stream) throw std::runtime_error("cannot read " + path);
  stream.imbue(std::locale::classic());
  stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');  // heading
  return stream;
}

std::ofstream create_table(const std::string& path, const char* heading) {
  std::ofstream stream(path);
  if (!stream) throw std::runtime_error("cannot write " + path);
  stream.imbue(std::locale::classic());
  stream << heading << '\n';
  return stream;
}

double milliseconds(const timeval& time) {
  return time.tv_sec * 1e3 + time.tv_usec / 1e3;
}

// Each record is "file <tab> line <tab> allowed characters of each position ...".
void add_patterns(const std::string& path, CodeSet& set) {
  if (!std::ifstream(path)) return;
  std::map<std::string, CodeImage*> by_file;
  for (CodeImage& image : set.images) by_file[image.file] = &image;
  std::ifstream table = open_table(path);
  for (std::string record; std::getline(table, record);) {
    std::istringstream cells(record);
    std::string file, line, cell;
    std::getline(cells, file, '\t');
    std::getline(cells, line, '\t');
    const auto image = by_file.find(file);
    if (image == by_file.end()) continue;
    auto& pattern = image->second->pattern.emplace_back();
    while (std::getline(cells, cell, '\t')) pattern.push_back(cell);
  }
}

cv::Mat read_gray(const std::string& file) {
  cv::Mat pixels = telvar_host::decode_file(file);
  if (pixels.type() != CV_8UC1) throw std::runtime_error(file + " is not gray of 8 bits");
  return pixels;
}

}  // namespace

CodeSet load_code_set(const std::string& folder, std::size_t limit) {
  CodeSet set;
  open_table(folder + "/../nominal.tsv") >> set.nominal.width >> set.nominal.height;
  std::ifstream table = open_table(folder + "/chars.tsv");
  std::string file;
  Character c;
  while (table >> file >> c.category >> c.line >> c.x >> c.y >> c.width >> c.height) {
    if (set.images.empty() || set.images.back().file != file) {
      if (set.images.size() == limit) break;
      set.images.push_back({file, read_gray(folder + "/" + file), {}, {}});
    }
    set.images.back().characters.push_back(c);
  }
  if (set.images.empty()) throw std::runtime_error(folder + "/chars.tsv names no characters");
  add_patterns(folder + "/patterns.tsv", set);
  return set;
}

void write_readings(const std::string& stem, const std::vector<Reading>& readings) {
  std::ofstream characters = create_table(stem + ".chars.tsv", "file\tline\tcategory\tx\ty\tscore");
  std::ofstream costs = create_table(stem + ".cost.tsv", "file\twall_ms\tcpu_ms");
  for (const Reading& reading : readings) {
    for (const Character& c : reading.characters)
      characters << reading.file << '\t' << c.line << '\t' << c.category << '\t' << c.x << '\t'
                 << c.y << '\t' << c.score << '\n';
    costs << reading.file << '\t' << reading.wall_ms << '\t' << reading.cpu_ms << '\n';
  }
}

double process_cpu_ms() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

double wall_ms() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(now).count();
}

}  // namespace telvar_bench
