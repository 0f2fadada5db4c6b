#pragma once

// A wrapper over the scripted engine, which answers with the bytes of the fuzzer.

#include <TelvarTypes/TelvarTypes.h>

#include <memory>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "scripted_engine/script.h"

namespace telvar::fuzz {

namespace types = Orbalt::TelvarWrapper::Types;

inline std::shared_ptr<types::Image> small_image() {
  return types::MakeImage({4, 2, 4, 1, 8, 0}, std::vector<unsigned char>(8));
}

inline std::shared_ptr<types::Image> load_small_image(const std::string&) {
  return small_image();
}

/// Starts over with an engine that answers `call` with `answer`.
inline void script_answer(const std::string& call, const std::string& answer) {
  scripted_engine::reset();
  scripted_engine::script().recording = false;
  scripted_engine::script().answers[call] = answer;
}

template <typename Wrapper, typename Data>
Wrapper wrap() {
  return Wrapper(std::make_unique<Data>("artifact", ""), nullptr);
}

}  // namespace telvar::fuzz
