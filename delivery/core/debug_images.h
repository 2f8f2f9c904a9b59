// Keeps the filter's debug images, two for each page, from filling the disk.
#pragma once

#include <cstdint>
#include <string>

namespace kestra::delivery {

/// Removes the oldest of the filter's images in a folder until the others take at most `bytes` of
/// the disk. Nothing but regular files of this process's user with the filter's names is touched.
void trimDebugImages(const std::string& folder, std::uint64_t bytes);

}  // namespace kestra::delivery
