// The hash comes from the print system's library, which every print server has.
#include "delivery/core/digest.h"

#include <cups/cups.h>

#include <algorithm>
#include <array>

namespace kestra::delivery {
namespace {

constexpr std::size_t kPageNumberAt = 12;  // in a frame

std::string sha256(const void* data, std::size_t size) {
  std::array<unsigned char, 32> hash = {};
  if (cupsHashData("sha2-256", data, size, hash.data(), hash.size()) < 0) return "";
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : hash) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace

std::string frameDigest(std::uint8_t* frame, std::size_t size) {
  std::array<std::uint8_t, 2> number = {};
  const bool hasNumber = size >= kPageNumberAt + number.size();
  if (hasNumber) std::swap_ranges(number.begin(), number.end(), frame + kPageNumberAt);
  std::string digest = sha256(frame, size);
  if (hasNumber) std::swap_ranges(number.begin(), number.end(), frame + kPageNumberAt);
  return digest;
}

std::string textDigest(const std::string& text) { return sha256(text.data(), text.size()); }

}  // namespace kestra::delivery
