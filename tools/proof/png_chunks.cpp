// Walks over the chunks of a PNG file: length, type, bytes, checksum.
#include "tools/proof/png_chunks.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace kestra::proof {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kHeadBytes = 8;          // length and type
constexpr std::streamoff kChecksumBytes = 4;   //
constexpr std::uint32_t kMostBytes = 1 << 16;  // of a chunk that is kept
constexpr std::size_t kMostChunks = 1000;
constexpr std::size_t kColourTypeAt = 9;  // in IHDR: width, height, depth, colour type
constexpr unsigned kAlphaBit = 4;         // in the colour type

std::uint32_t bigEndian32(const char* bytes) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

}  // namespace

std::vector<PngChunk> chunksBeforePixels(const std::string& path) {
  std::vector<PngChunk> chunks;
  std::ifstream file(path, std::ios::binary);
  std::array<char, kSignature.size()> signature = {};
  if (!file.read(signature.data(), signature.size()) ||
      std::string_view(signature.data(), signature.size()) != kSignature) {
    return chunks;
  }
  std::array<char, kHeadBytes> head = {};
  while (chunks.size() < kMostChunks && file.read(head.data(), head.size())) {
    const std::uint32_t length = bigEndian32(head.data());
    PngChunk chunk{std::string(head.data() + 4, 4), {}};
    if (chunk.type == "IDAT") break;
    if (length <= kMostBytes) {
      chunk.bytes.resize(length);
      if (length > 0 && !file.read(chunk.bytes.data(), length)) break;
      file.seekg(kChecksumBytes, std::ios::cur);
    } else {
      file.seekg(std::streamoff{length} + kChecksumBytes, std::ios::cur);
    }
    chunks.push_back(std::move(chunk));
  }
  return chunks;
}

std::string pngText(const std::vector<PngChunk>& chunks, const std::string& keyword) {
  const std::string start = keyword + '\0';
  for (const PngChunk& chunk : chunks) {
    if (chunk.bytes.compare(0, start.size(), start) != 0) continue;
    if (chunk.type == "tEXt") return chunk.bytes.substr(start.size());
    if (chunk.type != "iTXt") continue;
    // Two bytes about compression (there is none in ours), then language and translated keyword.
    const std::size_t language = chunk.bytes.find('\0', start.size() + 2);
    if (language == std::string::npos) continue;
    const std::size_t translated = chunk.bytes.find('\0', language + 1);
    if (translated != std::string::npos) return chunk.bytes.substr(translated + 1);
  }
  return {};
}

bool isTransparent(const std::vector<PngChunk>& chunks) {
  for (const PngChunk& chunk : chunks) {
    if (chunk.type == "tRNS") return true;
    if (chunk.type == "IHDR" && chunk.bytes.size() > kColourTypeAt &&
        (static_cast<unsigned char>(chunk.bytes[kColourTypeAt]) & kAlphaBit) != 0) {
      return true;
    }
  }
  return false;
}

}  // namespace kestra::proof
