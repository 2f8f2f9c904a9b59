// Reads one page frame: the label information, the raster command and the dot rows of a page.
//
// A frame is what the print head would receive. Reading it back shows the very dots of a page, and
// tells a broken file from a page that only looks odd.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// What the printer looks for between two labels; the values are the frame's media codes.
enum class Media : std::uint8_t { kContinuous = 0, kGaps = 1, kMarks = 2 };

/// A run of bytes inside a frame. It points into the frame's own bytes and is valid as long as
/// that frame lives and is not assigned to.
struct BytesView {
  const std::uint8_t* data = nullptr;
  std::size_t size = 0;
};

/// One row of dots. The most significant bit of a byte is its leftmost dot; 1 is a black dot.
struct FrameRow {
  std::uint16_t announced = 0;  ///< black dots according to the frame
  BytesView dots;    ///< all bytes behind the count, margin first, as the head prints them
  BytesView margin;  ///< the part of `dots` that centres the page on the head
  BytesView page;    ///< the part of `dots` that holds the page
};

/// One page as it is sent to the print head. Owns its bytes.
class PageFrame {
 public:
  Media media = Media::kGaps;
  std::uint16_t widthDots = 0;   ///< of the label; may be one less than the picture has
  std::uint16_t heightDots = 0;  ///< of the label
  std::uint16_t gapDots = 0;     ///< gap or mark between two labels
  std::uint16_t reserved = 0;    ///< always 0 in a good frame
  std::uint16_t pageNumber = 0;
  std::uint16_t recordBytes = 0;  ///< one row with its 2-byte count
  std::uint16_t rowCount = 0;

  /// Dots in a drawn row, margin included.
  std::size_t drawnWidth() const { return dotBytes() * 8; }
  /// Bytes of margin at the left of each row. The frame does not say where the margin ends; the
  /// split is the narrowest page that is as wide as announced and loses no dot.
  std::size_t marginBytes() const { return marginBytes_; }
  /// @return whether the rows are shorter than the announced width: the page was wider than the
  /// print head and its rows overlap, so no margin can be told.
  bool widerThanHead() const { return widerThanHead_; }

  /// Row `index` from the top, 0 <= index < rowCount.
  FrameRow row(std::size_t index) const;

 private:
  friend struct FrameReader;
  std::size_t dotBytes() const;

  std::vector<std::uint8_t> bytes_;  // the whole file
  std::size_t marginBytes_ = 0;
  bool widerThanHead_ = false;
};

/// Takes the bytes of a whole frame file. Never reads beyond them.
[[nodiscard]] Result<PageFrame> parsePageFrame(std::vector<std::uint8_t> bytes);

/// @return black dots in a run of bytes
[[nodiscard]] std::uint64_t countBlackDots(BytesView bytes);

/// @return rows whose announced number of black dots is not the number of dots they hold, top row
/// first. The announcement has 16 bits, so the dots are compared modulo 65536.
[[nodiscard]] std::vector<std::size_t> rowsWithWrongCount(const PageFrame& frame);

}  // namespace kestra
