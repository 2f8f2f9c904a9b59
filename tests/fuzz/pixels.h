// Makes a page of pixels out of a few bytes.
// Why: a fuzzer changes a handful of bytes well, and a page has thousands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/fuzz/byte_source.h"
#include "tests/support/fixed_random.h"

namespace kestra::fuzz {

/// `count` pixels: one level all over, noise, two levels in runs, levels that swing around a
/// threshold, or the input's own bytes again and again.
inline std::vector<std::uint8_t> makePixels(ByteSource* source, std::size_t count) {
  std::vector<std::uint8_t> pixels(count);
  const unsigned kind = source->below(5);
  const std::uint8_t level = source->byte();
  testing_support::FixedRandom random(source->number());
  if (kind == 4) {
    const std::vector<std::uint8_t> own = source->bytes(512);
    for (std::size_t i = 0; i < count && !own.empty(); ++i) pixels[i] = own[i % own.size()];
    return pixels;
  }
  unsigned run = 0;
  bool black = false;
  for (std::uint8_t& pixel : pixels) {
    switch (kind) {
      case 0:
        pixel = level;
        break;
      case 1:
        pixel = random.byte();
        break;
      case 2:
        if (run == 0) {
          run = random.byte() % 40U + 1U;
          black = !black;
        }
        --run;
        pixel = black ? level : 0;
        break;
      default:
        pixel = static_cast<std::uint8_t>(level + random.byte() % 5U);
        break;
    }
  }
  return pixels;
}

}  // namespace kestra::fuzz
