#pragma once

// What the three artifact targets share.
// Input: 0 and an artifact; 1 and edits of a sound artifact's payload, sealed again; 2 and edits of
// the whole artifact.

#include "core/artifact.h"
#include "edited_bytes.h"
#include "telvar/device.h"
#include "telvar/exceptions.h"
#include "telvar/image.h"

namespace telvar::fuzz {

/// 40 x 24 gray pixels with something to see.
inline types::Image probe_image() {
  std::string pixels(40 * 24, '\x40');
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    pixels[i] = static_cast<char>(pixels[i] + (i * 7919 % 97) + (i % 40 > 18 ? 60 : 0));
  }
  return types::Image(40, 24, 40, 1, 8, 0, reinterpret_cast<const unsigned char*>(pixels.data()));
}

inline std::string artifact_of(const std::string& sound, core::Tool tool, Input& input) {
  constexpr std::uint32_t kNewest = 1u << 31;
  switch (input.number<std::uint8_t>() % 3) {
    case 0:
      return input.rest();
    case 1: {
      const core::OpenedArtifact opened = core::open_artifact(sound, tool, kNewest);
      return core::write_artifact(tool, opened.version, edited(std::string(opened.payload), input));
    }
    default:
      return edited(sound, input);
  }
}

/// Builds and tries a model of each artifact; only the exceptions that are meant for damaged ones
/// may come of it. `check(model)`.
template <typename Model, typename Check>
void try_artifact(const std::string& artifact, const std::string& parameters, Check check) {
  try {
    const Model model(artifact, parameters, types::CpuDevice(1));
    check(model);
  } catch (const types::invalid_training_artifact&) {
  } catch (const types::training_artifact_tool_type_error&) {
  } catch (const types::training_artifact_unsupported_version&) {
  }
}

}  // namespace telvar::fuzz
