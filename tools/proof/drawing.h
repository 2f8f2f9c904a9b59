// A picture that is made row by row, a colour per pixel, and a page frame as such a picture.
//
// A page of a wide head has millions of dots: whatever is drawn around it, only one row at a time
// is held in bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/frame/frame_reader.h"

namespace kestra::proof {

/// What a pixel shows. Pictures of paper and dots alone are black and white.
enum class Colour : std::uint8_t { kPaper, kDot, kHead, kGap, kMark, kEdge };
inline constexpr std::size_t kColourCount = 6;

class Drawing {
 public:
  Drawing() = default;
  virtual ~Drawing() = default;
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  virtual std::size_t width() const = 0;   ///< pixels
  virtual std::size_t height() const = 0;  ///< pixels
  /// @return whether there are other colours than paper and dots.
  virtual bool colourful() const = 0;
  /// Fills width() colours with row `y` from the top, y < height().
  virtual void row(std::size_t y, Colour* colours) const = 0;
};

/// @param pageDots  width of the page that was printed, 0 where only the frame's own word is known:
///                  that may be a dot short, and the width of a straight page is a multiple of 4
/// @return dots across the label; all dots of a row where the rows overlap
[[nodiscard]] std::size_t labelWidth(const PageFrame& frame, std::size_t pageDots);

/// The label cut out of the head's rows: labelWidth() x rowCount, one pixel per dot.
class PageDrawing : public Drawing {
 public:
  /// `frame` belongs to the caller and outlives this object.
  PageDrawing(const PageFrame& frame, std::size_t pageDots);

  std::size_t width() const override { return page_; }
  std::size_t height() const override { return frame_.rowCount; }
  bool colourful() const override { return false; }
  void row(std::size_t y, Colour* colours) const override;

 private:
  const PageFrame& frame_;
  std::size_t page_ = 0;
};

/// All dots with what lies around them:
//
///     head EEEEEEEEEE head      E  edge of the label, kEdgeDots wide, outside of it
///     head E  dots  E head      head: where the head has dots but the label has no paper
///     head EEEEEEEEEE head
///     gap or mark to the next label, as high as announced; none on continuous paper
class MarginDrawing : public Drawing {
 public:
  static constexpr std::size_t kEdgeDots = 2;

  /// `pageDots` as for labelWidth. `headDots`: width of the print head, 0 where it is not known;
  /// the frame's rows are then taken for it.
  MarginDrawing(const PageFrame& frame, std::size_t pageDots, std::size_t headDots);

  std::size_t width() const override { return head_ + 2 * kEdgeDots; }
  std::size_t height() const override { return frame_.rowCount + 2 * kEdgeDots + gap_; }
  bool colourful() const override { return true; }
  void row(std::size_t y, Colour* colours) const override;

 private:
  const PageFrame& frame_;  // the caller's
  std::size_t left_ = 0;    // dots of the head left of the label
  std::size_t page_ = 0;
  std::size_t head_ = 0;
  std::size_t gap_ = 0;
};

}  // namespace kestra::proof
