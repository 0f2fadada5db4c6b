// The few things about files that differ between platforms.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace telvar_host {

// Waits until a file's or (where the platform can) a folder's content is on disk. Best effort: some
// file systems refuse, and that is no error.
void flush_to_disk(const std::filesystem::path& path);

// Takes so much of the disk for a file that is there, without showing it. Returns why that is
// refused, or nothing, also where the file system cannot tell.
std::string reserve(const std::filesystem::path& file, std::uint64_t bytes);

// Unique among the processes that run now, here and on other machines: MACHINE-PROCESS.
std::string process_tag();

// Whether the process of that tag is known to have ended: it ran here, and does no longer.
bool has_ended(const std::string& tag);

// The folder of the running program.
std::filesystem::path program_folder();

}  // namespace telvar_host
