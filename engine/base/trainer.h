#pragma once

// What the programs that train built-in base networks have in common:
//
//   NAME FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]

#include <cstddef>
#include <string>

namespace telvar::base {

struct Options {
  std::string folder, file;
  int steps = 0;
  std::size_t images = 1000000;  // at most
  std::string from;              // base file to start from, or empty
};

/// Runs `train` with the options of the command line. Returns the program's exit code: 2 where the
/// command line is wrong, 1 where `train` throws; the reason goes to standard error.
int run_trainer(const std::string& name, int usual_steps, int count, char** arguments,
                void (*train)(const Options& options));

/// The bytes of a file; throws std::runtime_error unless it can be read.
std::string read_file(const std::string& file);

/// Throws std::runtime_error unless they can be written.
void write_file(const std::string& file, const std::string& bytes);

}  // namespace telvar::base
