// The barcode rules once more, plainly, on a page that checks every coordinate: the fast ones must
// change the same pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kestra::plain {

/// A page of bytes whose rows are padded to 4; every access is checked.
class BarcodePage {
 public:
  BarcodePage(int columns, int rows, std::vector<std::uint8_t> bytes)
      : width(columns), height(rows), stride((columns + 3) / 4 * 4), bytes_(std::move(bytes)) {}

  std::uint8_t& at(int x, int y) { return bytes_.at(static_cast<std::size_t>(y * stride + x)); }
  bool white(int x, int y) { return at(x, y) == 255; }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  const int width;
  const int height;
  const int stride;

 private:
  std::vector<std::uint8_t> bytes_;
};

inline void applyDashedLine(BarcodePage& page) {
  for (int y = 2; y < page.height - 6; ++y) {
    int run = 0;
    for (int x = 0; x < page.width; ++x) {
      if (page.white(x, y)) {
        ++run;
        continue;
      }
      if (run > 320) {
        for (int k = 0; k < x; k += 8) {
          if (k < x - run) continue;
          for (int i = 0; i < 4; ++i) page.at(k + i, y) = 0;
        }
      }
      run = 0;
    }
  }
}

inline int blackBelow(BarcodePage& page, int column, int row) {
  int count = 0;
  for (int y = row + 1; y < page.height && page.at(column, y) == 0; ++y) ++count;
  return count;
}

inline void optimizeBarcode1(BarcodePage& page) {
  for (int y = 1; y < page.height - 1; ++y) {
    int whites = 0;
    for (int i = 0; i < page.width / 2; ++i) {
      if (page.white(i, y)) ++whites;
      if (page.white(page.width - i - 1, y)) ++whites;
    }
    int run = 0;
    for (int x = 2; x < page.width; ++x) {
      if (page.white(x, y)) {
        ++run;
        continue;
      }
      if (run > 40 && whites < page.width / 2) {
        for (int k = x - run; k < x; ++k) {
          const int below = blackBelow(page, k, y);
          if (below >= 1 && below <= 3 && page.white(k, y - 1)) page.at(k, y) = 0;
        }
      }
      run = 0;
    }
  }
}

inline void optimizeBarcode2(BarcodePage& page) {
  for (int x = 0; x < page.width; ++x) {
    int white = 0;
    int dark = 0;
    for (int y = 3; y < page.height - 6; ++y) {
      if (page.white(x, y)) {
        ++white;
        dark = 0;
      } else {
        white = 0;
        ++dark;
      }
      if (white > 6 && page.white(x, y - 2) && page.white(x, y - 1) && page.white(x, y) &&
          page.at(x, y + 1) == 0) {
        if (x % 4 == 0) page.at(x, y - 2) = page.at(x, y - 4) = 0;
        if (x % 4 == 2) page.at(x, y - 1) = page.at(x, y - 3) = 0;
      }
      if (white > 3 && page.white(x, y) && page.at(x, y + 1) == 0 &&
          (page.white(x, y + 2) || page.white(x, y + 3))) {
        page.at(x, y) = 0;
        continue;
      }
      if (dark > 3 && page.white(x, y) && page.at(x, y - 1) == 0) page.at(x, y - 1) = 255;
    }
  }
}

}  // namespace kestra::plain
