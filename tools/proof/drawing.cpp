// Draws the dots of a frame, alone or with the label's edge, the gap and the head around them.
//
// Dots always win over what is drawn around them: a dot beside the label is a fault that must show.
#include "tools/proof/drawing.h"

#include <algorithm>

namespace kestra::proof {
namespace {

constexpr std::size_t kRowUnit = 4;  // dots by which the width of a straight page goes up

// Draws the first `count` dots of a row where they are black; what is no dot stays as it is.
void drawDots(BytesView dots, std::size_t count, Colour* colours) {
  for (std::size_t x = 0; x < count; ++x) {
    if (((dots.data[x / 8] >> (7 - x % 8)) & 1) != 0) colours[x] = Colour::kDot;
  }
}

}  // namespace

std::size_t labelWidth(const PageFrame& frame, std::size_t pageDots) {
  if (frame.widerThanHead()) return frame.drawnWidth();
  const std::size_t available = frame.drawnWidth() - frame.marginBytes() * 8;
  const std::size_t announced = (std::size_t{frame.widthDots} + kRowUnit - 1) / kRowUnit * kRowUnit;
  return std::min(pageDots > 0 ? pageDots : announced, available);
}

PageDrawing::PageDrawing(const PageFrame& frame, std::size_t pageDots)
    : frame_(frame), page_(labelWidth(frame, pageDots)) {}

void PageDrawing::row(std::size_t y, Colour* colours) const {
  std::fill_n(colours, width(), Colour::kPaper);
  drawDots(frame_.row(y).page, width(), colours);
}

MarginDrawing::MarginDrawing(const PageFrame& frame, std::size_t pageDots, std::size_t headDots)
    : frame_(frame),
      left_(frame.marginBytes() * 8),
      page_(labelWidth(frame, pageDots)),
      head_(std::max(frame.drawnWidth(), headDots)) {
  gap_ = frame.media == Media::kContinuous ? 0 : frame.gapDots;
}

void MarginDrawing::row(std::size_t y, Colour* colours) const {
  const std::size_t labelEnd = frame_.rowCount + 2 * kEdgeDots;
  if (y >= labelEnd) {
    const bool mark = frame_.media == Media::kMarks;
    std::fill_n(colours, width(), mark ? Colour::kMark : Colour::kGap);
    return;
  }
  std::fill_n(colours, width(), Colour::kHead);
  std::fill_n(colours + left_, page_ + 2 * kEdgeDots, Colour::kEdge);
  if (y < kEdgeDots || y >= labelEnd - kEdgeDots) return;
  std::fill_n(colours + left_ + kEdgeDots, page_, Colour::kPaper);
  drawDots(frame_.row(y - kEdgeDots).dots, frame_.drawnWidth(), colours + kEdgeDots);
}

}  // namespace kestra::proof
