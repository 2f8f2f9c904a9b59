// The part of a page that a comparison shows.
//
// Ten prints of a large page have no room on a screen: what shrinks to fit it shows no dot any
// more.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/proof/drawing.h"

namespace kestra::proof {

/// What --detail asks for.
struct Detail {
  bool whole = false;                          ///< "all"
  std::optional<std::array<double, 4>> place;  ///< mm from the page's upper left corner: x, y,
                                               ///< width, height
};

/// "all" or "X,Y,WIDTH,HEIGHT".
/// @return nothing for any other text, and where there is no area
[[nodiscard]] std::optional<Detail> parseDetail(const std::string& text);

/// Dots of a page from its upper left corner.
struct DotRectangle {
  std::size_t x = 0;
  std::size_t y = 0;
  std::size_t width = 0;
  std::size_t height = 0;
};

/// The part of a page of `width` x `height` dots that is shown: the place that was asked for, as
/// far as the page goes; else the middle 50 mm where the page has more than 80 mm both ways; else
/// all of it.
/// @return nothing where the place lies beside the page
[[nodiscard]] std::optional<DotRectangle> detailOf(const Detail& detail, std::size_t width,
                                                   std::size_t height,
                                                   const std::array<unsigned, 2>& dpi);

/// A part of another drawing.
class CutDrawing : public Drawing {
 public:
  /// The part that lies outside of `whole` is left out.
  CutDrawing(std::unique_ptr<Drawing> whole, const DotRectangle& part);

  std::size_t width() const override { return part_.width; }
  std::size_t height() const override { return part_.height; }
  bool colourful() const override { return whole_->colourful(); }
  void row(std::size_t y, Colour* colours) const override;

 private:
  std::unique_ptr<Drawing> whole_;
  DotRectangle part_;
  mutable std::vector<Colour> row_;  // of the whole
};

}  // namespace kestra::proof
