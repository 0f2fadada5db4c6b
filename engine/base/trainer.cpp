#include "trainer.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace telvar::base {
namespace {

/// The number that an option has; throws std::runtime_error unless it is one from 1 on.
int number_of(const std::string& option, const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number < 1) {
    throw std::runtime_error(option + " must be a whole number from 1 on, not '" + text + "'");
  }
  return number;
}

Options options_of(int usual_steps, int count, char** arguments) {
  Options options;
  options.folder = arguments[1];
  options.file = arguments[2];
  options.steps = usual_steps;
  for (int i = 3; i + 1 < count; i += 2) {
    const std::string name = arguments[i], value = arguments[i + 1];
    if (name == "--steps") {
      options.steps = number_of(name, value);
    } else if (name == "--images") {
      options.images = static_cast<std::size_t>(number_of(name, value));
    } else if (name == "--from") {
      options.from = value;
    } else {
      throw std::runtime_error("there is no option " + name);
    }
  }
  return options;
}

}  // namespace

int run_trainer(const std::string& name, int usual_steps, int count, char** arguments,
                void (*train)(const Options& options)) {
  if (count < 3 || count % 2 == 0) {
    std::fprintf(stderr, "usage: %s FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]\n",
                 name.c_str());
    return 2;
  }
  try {
    train(options_of(usual_steps, count, arguments));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return 1;
  }
  return 0;
}

std::string read_file(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error(file + " cannot be read");
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const std::string& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes << std::flush;
  if (!stream) throw std::runtime_error(file + " cannot be written");
}

}  // namespace telvar::base
