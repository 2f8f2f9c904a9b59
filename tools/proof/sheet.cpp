// Lays tiles out in columns and draws them row by row.
//
// The number of columns that brings the sheet closest to a square is taken, so a strip of labels
// and a tall page both fit a screen.
#include "tools/proof/sheet.h"

#include <algorithm>
#include <utility>

#include "tools/proof/letters.h"

namespace kestra::proof {
namespace {

constexpr std::size_t kLineHeight = kLetterHeight + 2;  // letter dots with the space to the next
constexpr std::size_t kSmallestScale = 2;
constexpr std::size_t kSpace = 8;  // letter dots around tiles

// How far from a square: 1 for a square, more for anything else.
double stretch(std::size_t width, std::size_t height) {
  const auto w = static_cast<double>(width);
  const auto h = static_cast<double>(height);
  return std::max(w / h, h / w);
}

// Row `row` of a line of letters, each letter dot `scale` wide; what is no dot stays as it is.
void writeRow(const std::string& words, std::size_t row, std::size_t scale, Colour* colours) {
  for (std::size_t letter = 0; letter < words.size(); ++letter) {
    const unsigned dots = letterRow(words[letter], row);
    for (std::size_t x = 0; x < kLetterWidth * scale; ++x) {
      if (((dots >> (kLetterWidth - 1 - x / scale)) & 1U) == 0) continue;
      colours[letter * kLetterAdvance * scale + x] = Colour::kDot;
    }
  }
}

}  // namespace

Sheet::Sheet(std::vector<Tile> tiles) : tiles_(std::move(tiles)) {
  std::size_t name = 1;
  std::size_t words = 1;
  for (const Tile& tile : tiles_) {
    tileWidth_ = std::max(tileWidth_, tile.drawing->width());
    tileHeight_ = std::max(tileHeight_, tile.drawing->height());
    name = std::max(name, tile.name.size());
    words = std::max(words, tile.words.size());
  }
  wordsScale_ = std::max(tileWidth_ / (words * kLetterAdvance), kSmallestScale);
  nameScale_ = std::max(tileWidth_ / (name * kLetterAdvance), wordsScale_);
  tileWidth_ = std::max(
      {tileWidth_, name * kLetterAdvance * nameScale_, words * kLetterAdvance * wordsScale_});
  space_ = kSpace * wordsScale_;
  cellWidth_ = tileWidth_ + space_;
  cellHeight_ = tileHeight_ + space_ + kLineHeight * (nameScale_ + wordsScale_);

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
  return rows * cellHeight_ + space_;
}

bool Sheet::colourful() const {
  return std::any_of(tiles_.begin(), tiles_.end(),
                     [](const Tile& tile) { return tile.drawing->colourful(); });
}

Sheet::Place Sheet::place(std::size_t tile) const {
  return {space_ + tile % columns_ * cellWidth_, space_ + tile / columns_ * cellHeight_};
}

void Sheet::row(std::size_t y, Colour* colours) const {
  std::fill_n(colours, width(), Colour::kPaper);
  if (y < space_) return;
  const std::size_t first = (y - space_) / cellHeight_ * columns_;
  const std::size_t inCell = (y - space_) % cellHeight_;
  for (std::size_t i = first; i < std::min(first + columns_, tiles_.size()); ++i) {
    const Tile& tile = tiles_[i];
    Colour* start = colours + place(i).x;
    if (inCell < tile.drawing->height()) {
      tile.drawing->row(inCell, start);
      continue;
    }
    // The caption stands below the tallest tile, a little away from it: the name, then the words.
    const std::size_t nameAt = tileHeight_ + wordsScale_ * 2;
    const std::size_t wordsAt = nameAt + kLineHeight * nameScale_;
    if (inCell < nameAt) continue;
    if (inCell < wordsAt) {
      writeRow(tile.name, (inCell - nameAt) / nameScale_, nameScale_, start);
    } else {
      writeRow(tile.words, (inCell - wordsAt) / wordsScale_, wordsScale_, start);
    }
  }
}

}  // namespace kestra::proof
