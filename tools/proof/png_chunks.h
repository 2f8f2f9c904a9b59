// Reads what stands before the pixels of a PNG file.
//
// Who made a picture, and whether it has transparent places, is told there in a few bytes; nothing
// has to be decoded for it.
#pragma once

#include <string>
#include <vector>

namespace kestra::proof {

struct PngChunk {
  std::string type;   ///< four letters
  std::string bytes;  ///< empty where they are too many to be any that is asked for here
};

/// The chunks from the first on, without the pixels and what follows.
/// @return nothing for what is no PNG
[[nodiscard]] std::vector<PngChunk> chunksBeforePixels(const std::string& path);

/// @return the text under a keyword; empty where there is none
[[nodiscard]] std::string pngText(const std::vector<PngChunk>& chunks, const std::string& keyword);

/// @return whether pixels may be transparent: an alpha channel, or transparent colours.
[[nodiscard]] bool isTransparent(const std::vector<PngChunk>& chunks);

}  // namespace kestra::proof
