// Lays tiles out in columns and draws them row by row.
//
// The number of columns that brings the sheet closest to a square is taken, so a strip of labels
// and a tall page both fit a screen.
#include "tools/proof/sheet.h"

#include <algorithm>
#include <utility>

#include "tools/proof/letters.h"

namespace kestra {
namespace {

constexpr std::size_t kCaptionLines = 2;
constexpr std::size_t kLineHeight = kLetterHeight + 2;  // letter dots with the space to the next
constexpr std::size_t kSmallestScale = 2;
constexpr std::size_t kSpace = 8;  // letter dots around tiles

// How far from a square: 1 for a square, more for anything else.
double stretch(std::size_t width, std::size_t height) {
  const auto w = static_cast<double>(width);
  const auto h = static_cast<double>(height);
  return std::max(w / h, h / w);
}

}  // namespace

Sheet::Sheet(std::vector<Tile> tiles) : tiles_(std::move(tiles)) {
  std::size_t letters = 1;
  for (const Tile& tile : tiles_) {
    tile_width_ = std::max(tile_width_, tile.drawing->width());
    tile_height_ = std::max(tile_height_, tile.drawing->height());
    letters = std::max({letters, tile.name.size(), tile.words.size()});
  }
  letter_scale_ = std::max(tile_width_ / (letters * kLetterAdvance), kSmallestScale);
  tile_width_ = std::max(tile_width_, letters * kLetterAdvance * letter_scale_);
  space_ = kSpace * letter_scale_;
  cell_width_ = tile_width_ + space_;
  cell_height_ = tile_height_ + space_ + kCaptionLines * kLineHeight * letter_scale_;

  std::size_t best = 1;
  double least = 0;
  for (columns_ = 1; columns_ <= tiles_.size(); ++columns_) {
    if (tiles_.size() % columns_ != 0) continue;  // no gaps in the last row
    const double now = stretch(width(), height());
    if (columns_ > 1 && now >= least) continue;
    least = now;
    best = columns_;
  }
  columns_ = best;
}

std::size_t Sheet::height() const {
  const std::size_t rows = (tiles_.size() + columns_ - 1) / columns_;
  return rows * cell_height_ + space_;
}

bool Sheet::colourful() const {
  return std::any_of(tiles_.begin(), tiles_.end(),
                     [](const Tile& tile) { return tile.drawing->colourful(); });
}

Sheet::Place Sheet::place(std::size_t tile) const {
  return {space_ + tile % columns_ * cell_width_, space_ + tile / columns_ * cell_height_};
}

void Sheet::row(std::size_t y, Colour* colours) const {
  std::fill_n(colours, width(), Colour::kPaper);
  if (y < space_) return;
  const std::size_t first = (y - space_) / cell_height_ * columns_;
  const std::size_t inCell = (y - space_) % cell_height_;
  for (std::size_t i = first; i < std::min(first + columns_, tiles_.size()); ++i) {
    const Tile& tile = tiles_[i];
    Colour* start = colours + place(i).x;
    if (inCell < tile.drawing->height()) {
      tile.drawing->row(inCell, start);
      continue;
    }
    // The caption stands below the tallest tile, half a line away from it.
    const std::size_t below = tile_height_ + letter_scale_ * 2;
    if (inCell < below) continue;
    const std::size_t dot = (inCell - below) / letter_scale_;
    const std::size_t line = dot / kLineHeight;
    if (line >= kCaptionLines) continue;
    const std::string& words = line == 0 ? tile.name : tile.words;
    for (std::size_t letter = 0; letter < words.size(); ++letter) {
      const unsigned dots = letterRow(words[letter], dot % kLineHeight);
      for (std::size_t x = 0; x < kLetterWidth * letter_scale_; ++x) {
        if (((dots >> (kLetterWidth - 1 - x / letter_scale_)) & 1U) == 0) continue;
        start[letter * kLetterAdvance * letter_scale_ + x] = Colour::kDot;
      }
    }
  }
}

}  // namespace kestra
