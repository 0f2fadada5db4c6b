// The two label formats of the reader, as texts.
#pragma once

#include <filesystem>
#include <string>

#include "datasets/ocr_data.h"

namespace telvar_host {

// labels.json. `root` is the folder that its file names are relative to. Throws data_error
// "NAME: images[2].characters[5]: ..." for what does not fit the format.
OcrData parse_labels_json(const std::string& text, const std::string& name,
                          const std::filesystem::path& root);

// chars.tsv with its optional companions lines.tsv and size.txt in `folder`.
OcrData read_label_tables(const std::filesystem::path& folder);

// labels.json for `data`, files relative to `root`.
std::string labels_json(const OcrData& data, const std::filesystem::path& root);

}  // namespace telvar_host
