// Cuts pieces at the edges of what is kept; their dots are never spread out.
#include "tools/fit/packed_row.h"

#include <algorithm>
#include <optional>

namespace kestra {
namespace {

constexpr std::uint32_t kToTheEnd = 128;
constexpr std::uint32_t kDifferent = 257;  // less the number of dots

struct Piece {
  bool toTheEnd = false;
  bool different = false;  // each dot has a byte of its own
  std::uint32_t dots = 0;
};

std::optional<std::uint8_t> takeByte(Relay* relay) {
  if (relay->look(1) == 0) return std::nullopt;
  const std::uint8_t byte = *relay->next();
  if (!relay->skip(1)) return std::nullopt;
  return byte;
}

// No piece reaches beyond the row; the raster library cuts one that would in the same way.
Piece pieceOf(std::uint8_t count, std::uint32_t left) {
  Piece piece;
  piece.toTheEnd = count == kToTheEnd;
  piece.different = count > kToTheEnd;
  const std::uint32_t dots = piece.different ? kDifferent - count : std::uint32_t{count} + 1;
  piece.dots = piece.toTheEnd ? left : std::min(dots, left);
  return piece;
}

// The dots of a piece at `at` that are kept: how many are left out before them, how many stay.
struct Slice {
  std::uint32_t skip = 0;
  std::uint32_t keep = 0;
};

Slice sliceOf(std::uint32_t at, std::uint32_t dots, const RowFit& fit) {
  const std::uint32_t begin = std::max(at, fit.skip);
  const std::uint32_t end = std::min(at + dots, fit.skip + fit.keep);
  if (begin >= end) return {dots, 0};
  return {begin - at, end - begin};
}

// A single dot of different ones, 256, becomes 0: a dot that is not repeated.
void putCount(std::vector<std::uint8_t>* packed, std::uint32_t count) {
  packed->push_back(static_cast<std::uint8_t>(count));
}

// Appends dots of one level, in pieces as long as they may be.
void putEqual(std::vector<std::uint8_t>* packed, std::uint32_t dots, std::uint8_t level) {
  constexpr std::uint32_t kMost = 128;
  while (dots > 0) {
    const std::uint32_t piece = std::min(dots, kMost);
    putCount(packed, piece - 1);
    packed->push_back(level);
    dots -= piece;
  }
}

}  // namespace

bool passPackedRow(Relay* relay, std::uint32_t width, std::uint32_t* rows) {
  if (relay->look(1) == 0) return false;
  *rows = std::uint32_t{*relay->next()} + 1;
  if (!relay->pass(1)) return false;
  for (std::uint32_t at = 0; at < width;) {
    if (relay->look(1) == 0) return false;
    const Piece piece = pieceOf(*relay->next(), width - at);
    const std::uint32_t levels = piece.toTheEnd ? 0 : piece.different ? piece.dots : 1;
    if (!relay->pass(1 + std::uint64_t{levels})) return false;
    at += piece.dots;
  }
  return true;
}

bool takePackedRow(Relay* relay, std::uint32_t bytesPerLine, const RowFit& fit, std::uint8_t paper,
                   std::vector<std::uint8_t>* packed, std::uint32_t* rows) {
  const std::optional<std::uint8_t> repeat = takeByte(relay);
  if (!repeat) return false;
  *rows = std::uint32_t{*repeat} + 1;
  packed->push_back(*repeat);
  for (std::uint32_t at = 0; at < bytesPerLine;) {
    const std::optional<std::uint8_t> count = takeByte(relay);
    if (!count) return false;
    const Piece piece = pieceOf(*count, bytesPerLine - at);
    const Slice slice = sliceOf(at, piece.dots, fit);
    at += piece.dots;
    if (piece.different) {
      if (!relay->skip(slice.skip)) return false;
      if (slice.keep > 0) putCount(packed, kDifferent - slice.keep);
      if (!relay->take(slice.keep, packed)) return false;
      if (!relay->skip(piece.dots - slice.skip - slice.keep)) return false;
    } else {
      const std::optional<std::uint8_t> level = piece.toTheEnd ? paper : takeByte(relay);
      if (!level) return false;
      putEqual(packed, slice.keep, *level);
    }
  }
  putEqual(packed, fit.fill, paper);
  return true;
}

}  // namespace kestra
