// Feeds SHA-256 with the frame, zeros in place of the page number.
//
// The bytes go through as they come, so that a label of any size needs no memory.
#include "tools/paper/label_digest.h"

#include <algorithm>
#include <array>

namespace kestra::paper {
namespace {

constexpr std::uint64_t kPageNumberAt = 12;
constexpr std::uint64_t kPageNumberEnd = 14;

}  // namespace

void LabelDigest::add(const std::uint8_t* data, std::size_t size) {
  while (size > 0 && size_ < kPageNumberEnd) {
    const std::uint8_t byte = size_ < kPageNumberAt ? *data : std::uint8_t{0};
    sha256_update(&state_, 1, &byte);
    ++size_;
    ++data;
    --size;
  }
  sha256_update(&state_, size, data);
}

std::string LabelDigest::take() {
  static const char digits[] = "0123456789abcdef";
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> bytes = {};
  sha256_digest(&state_, bytes.size(), bytes.data());  // also starts anew
  size_ = 0;
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace kestra::paper
