// Dashes in long runs and the two barcode clean-ups, one pixel test after the other.
// Why: no shortcut is taken, so that the order of reading and changing pixels can be followed.
#include "tests/plain/barcode.h"

#include <cstddef>

namespace kestra::plain {

namespace {

// A page seen through (x, y), with padding bytes to the right of the width.
class View {
 public:
  explicit View(Rows& rows) : rows_(rows) {}
  int height() const { return static_cast<int>(rows_.size()); }
  int get(int x, int y) const {
    return rows_[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
  }
  bool white(int x, int y) const { return get(x, y) > 254; }
  bool black(int x, int y) const { return get(x, y) == 0; }
  void set(int x, int y, int value) {
    // A pixel right of the row's end is the first of the next row.
    const int stride = static_cast<int>(rows_[0].size());
    rows_[static_cast<std::size_t>(y + x / stride)][static_cast<std::size_t>(x % stride)] = value;
  }

 private:
  Rows& rows_;  // the caller's page, for the time of one call
};

}  // namespace

void dashLongRuns(Rows& padded, int width) {
  View page(padded);
  for (int y = 2; y < page.height() - 6; ++y) {
    int run = 0;
    for (int x = 0; x < width; ++x) {
      if (page.white(x, y)) {
        ++run;
        continue;
      }
      if (run > 320) {
        for (int k = 0; k < x; k += 8) {
          if (k < x - run) continue;
          for (int i = 0; i < 4; ++i) page.set(k + i, y, 0);
        }
      }
      run = 0;
    }
  }
}

void thinBarcode1(Rows& padded, int width) {
  View page(padded);
  const int last = page.height() - 1;
  for (int y = 1; y < last; ++y) {
    int white = 0;
    for (int i = 0; i < width / 2; ++i) {
      if (page.white(i, y)) ++white;
      if (page.white(width - i - 1, y)) ++white;
    }
    int run = 0;
    for (int x = 2; x < width; ++x) {
      if (page.white(x, y)) {
        ++run;
        continue;
      }
      if (run > 40 && white < width / 2) {
        for (int k = x - run; k < x; ++k) {
          int below = 0;
          for (int r = y + 1; r <= last && page.black(k, r); ++r) ++below;
          if (below >= 1 && below <= 3 && page.white(k, y - 1)) page.set(k, y, 0);
        }
      }
      run = 0;
    }
  }
}

void thinBarcode2(Rows& padded, int width) {
  View page(padded);
  for (int x = 0; x < width; ++x) {
    int white = 0;
    int dark = 0;
    for (int y = 3; y < page.height() - 6; ++y) {
      if (page.white(x, y)) {
        ++white;
        dark = 0;
      } else {
        white = 0;
        ++dark;
      }
      if (white > 6 && page.white(x, y - 2) && page.white(x, y - 1) && page.white(x, y) &&
          page.black(x, y + 1)) {
        if (x % 4 == 0) {
          page.set(x, y - 2, 0);
          page.set(x, y - 4, 0);
        }
        if (x % 4 == 2) {
          page.set(x, y - 1, 0);
          page.set(x, y - 3, 0);
        }
      }
      if (white > 3 && page.white(x, y) && page.black(x, y + 1)) {
        const bool solidBelow = !page.white(x, y + 2) && !page.white(x, y + 3);
        if (!solidBelow) {
          page.set(x, y, 0);
          continue;
        }
      }
      if (dark > 3 && page.white(x, y) && page.black(x, y - 1)) page.set(x, y - 1, 255);
    }
  }
}

}  // namespace kestra::plain
