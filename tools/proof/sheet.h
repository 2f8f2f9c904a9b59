// Several prints of one page side by side on one picture, each with two lines of words below it.
//
// A halftone is chosen by eye; what is compared must be seen at once and in the same size.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tools/proof/drawing.h"

namespace kestra::proof {

struct Tile {
  std::unique_ptr<Drawing> drawing;
  std::string name;   ///< first line of its caption
  std::string words;  ///< second line
};

class Sheet final : public Drawing {
 public:
  /// Where a tile's drawing is on the sheet, in pixels from the top left.
  struct Place {
    std::size_t x;
    std::size_t y;
  };

  /// The letters are so large that the longest name, and the longest words, are as wide as the
  /// tiles: they can be read where the tiles can be looked at. There is at least one tile.
  explicit Sheet(std::vector<Tile> tiles);

  std::size_t width() const override { return columns_ * cellWidth_ + space_; }
  std::size_t height() const override;
  bool colourful() const override;
  void row(std::size_t y, Colour* colours) const override;

  Place place(std::size_t tile) const;
  const std::vector<Tile>& tiles() const { return tiles_; }

 private:
  std::vector<Tile> tiles_;
  std::size_t tileWidth_ = 0;
  std::size_t tileHeight_ = 0;
  std::size_t nameScale_ = 1;  // pixels of a letter's dot
  std::size_t wordsScale_ = 1;
  std::size_t space_ = 0;  // pixels around tiles and captions
  std::size_t columns_ = 1;
  std::size_t cellWidth_ = 0;   // tile and the space left of it
  std::size_t cellHeight_ = 0;  // tile, caption and the space above them
};

}  // namespace kestra::proof
