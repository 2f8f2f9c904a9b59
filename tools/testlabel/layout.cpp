// Rulers first, then block after block in rows, as words are set in lines.
//
// A block that finds no room is left out and the next one is tried: a small label keeps what says
// most about the printer.
#include "tools/testlabel/layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>

#include "tools/testlabel/code.h"

namespace kestra::testlabel {
namespace {

constexpr double kMmPerInch = 25.4;
constexpr int kBorder = 2;        // dots
constexpr int kSmall = 40;        // mm: a label with a shorter side has no numbers on its rulers
constexpr double kLetter = 0.6;   // width of a letter, of the size of the type
constexpr double kAscent = 0.75;  // height of a letter above the line
constexpr int kWidestBar = 4;     // dots
constexpr int kBarsEach = 3;      // of each width, with gaps as wide
constexpr double kModule = 0.34;  // mm of a module of the code, at least
constexpr int kQuiet = 4;         // modules of white around it
constexpr std::array<int, 5> kGreys = {100, 75, 50, 25, 10};  // per cent of ink

/// A block that can be put anywhere; `draw` is given its upper left corner.
struct Block {
  const char* name;
  int width;
  int height;
  std::function<void(int left, int top)> draw;
};

class Setter {
 public:
  explicit Setter(const Wanted& wanted)
      : wanted_(wanted), small_(std::min(wanted.width, wanted.height) < dotOf(kSmall, wanted.dpi)) {
    layout_.width = wanted.width;
    layout_.height = wanted.height;
  }

  Layout run() {
    rulers();
    left_ = top_ = mm(small_ ? 2.5 : 6);
    right_ = wanted_.width - mm(small_ ? 2.5 : 4);
    bottom_ = wanted_.height - mm(small_ ? 2.5 : 4);
    x_ = left_;
    y_ = top_;
    for (const Block& block : blocks()) place(block);
    return layout_;
  }

 private:
  [[nodiscard]] int mm(double millimetres) const { return dotOf(millimetres, wanted_.dpi); }

  void box(int left, int top, int width, int height, int ink = 100) {
    layout_.boxes.push_back({left, top, width, height, ink});
  }

  /// Words with their upper left corner here.
  void words(int left, int top, int size, const std::string& text) {
    layout_.words.push_back(
        {left, top + static_cast<int>(std::lround(kAscent * size)), size, text});
  }

  static int widthOf(const std::string& text, int size) {
    return static_cast<int>(std::ceil(kLetter * size * static_cast<double>(text.size())));
  }

  void rulers() {
    const int width = wanted_.width;
    const int height = wanted_.height;
    box(0, 0, width, kBorder);
    box(0, height - kBorder, width, kBorder);
    box(0, 0, kBorder, height);
    box(width - kBorder, 0, kBorder, height);
    for (int at = 1; mm(at) < width - kBorder; ++at) {
      box(mm(at), 0, 1, mark(at));
      box(mm(at), height - mark(at), 1, mark(at));
      if (isNumbered(at) && mm(at + 4) < width) {
        const std::string text = std::to_string(at);
        words(mm(at) - widthOf(text, mm(2)) / 2, mm(3.5), mm(2), text);
      }
    }
    for (int at = 1; mm(at) < height - kBorder; ++at) {
      box(0, mm(at), mark(at), 1);
      box(width - mark(at), mm(at), mark(at), 1);
      if (isNumbered(at) && mm(at + 4) < height)
        words(mm(3.3), mm(at) - mm(0.75), mm(2), std::to_string(at));
    }
  }

  [[nodiscard]] bool isNumbered(int at) const { return !small_ && at % 10 == 0; }

  /// Length of a ruler's mark in dots.
  [[nodiscard]] int mark(int at) const {
    const double longest = at % 10 == 0 ? 3 : at % 5 == 0 ? 2 : 1;
    return mm(small_ ? (longest + 1) / 2 : longest);
  }

  /// Puts a block behind the last one, or below all of its row.
  void place(const Block& block) {
    const int gap = mm(small_ ? 1 : 2);
    const bool fits = x_ + block.width <= right_ && y_ + block.height <= bottom_;
    if (!fits && x_ > left_ && left_ + block.width <= right_ &&
        rowEnd_ + gap + block.height <= bottom_) {
      x_ = left_;
      y_ = rowEnd_ + gap;
    } else if (!fits) {
      layout_.leftOut.emplace_back(block.name);
      return;
    }
    block.draw(x_, y_);
    x_ += block.width + gap;
    rowEnd_ = std::max(rowEnd_, y_ + block.height);
  }

  std::vector<Block> blocks() {
    std::vector<Block> all = {arrow()};
    if (!wanted_.step.empty()) all.push_back(line("the step", wanted_.step, mm(small_ ? 2.5 : 4)));
    all.push_back(bars());
    all.push_back(code());
    all.push_back(line("the size", wanted_.size, mm(2)));
    all.push_back(line("the resolution", std::to_string(wanted_.dpi) + " dpi", mm(2)));
    all.push_back(greys());
    for (const std::string& option : wanted_.options)
      all.push_back(line("options", option, mm(2.5)));
    return all;
  }

  Block line(const char* name, const std::string& text, int size) {
    return {name, widthOf(text, size), size,
            [this, size, text](int left, int top) { words(left, top, size, text); }};
  }

  /// Upwards: the top row leaves first. Row i of the head is 2 i + 1 dots wide.
  Block arrow() {
    const int half = mm(2);
    const int size = mm(2);
    return {"the arrow", 2 * half + 1 + mm(1) + widthOf("leaves first", size), mm(5),
            [this, half, size](int left, int top) {
              for (int row = 0; row <= half; ++row)
                box(left + half - row, top + row, 2 * row + 1, 1);
              box(left + half - half / 3, top + half, 2 * (half / 3) + 1, mm(5) - half);
              words(left + 2 * half + mm(1), top, size, "this edge");
              words(left + 2 * half + mm(1), top + mm(2.6), size, "leaves first");
            }};
  }

  /// Upright bars, then level ones: three of 1 dot, 1 dot apart, three of 2 dots, 2 dots apart ...
  Block bars() {
    const int length = mm(3);
    int run = 0;
    for (int wide = 1; wide <= kWidestBar; ++wide) run += 2 * kBarsEach * wide;
    const int gap = mm(1);
    return {"the bars", run + gap + length, run, [this, length, run, gap](int left, int top) {
              int at = 0;
              for (int wide = 1; wide <= kWidestBar; ++wide) {
                for (int bar = 0; bar < kBarsEach; ++bar, at += 2 * wide) {
                  box(left + at, top, wide, length);
                  box(left + run + gap, top + at, length, wide);
                }
              }
            }};
  }

  Block code() {
    const int module = static_cast<int>(std::ceil(kModule / kMmPerInch * wanted_.dpi));
    const int side = (kCodeModules + 2 * kQuiet) * module;
    return {"the code", side, side, [this, module](int left, int top) {
              for (int row = 0; row < kCodeModules; ++row) {
                for (int column = 0; column < kCodeModules; ++column) {
                  const std::uint32_t bit = std::uint32_t{1} << (kCodeModules - 1 - column);
                  if ((kCode[static_cast<std::size_t>(row)] & bit) == 0) continue;
                  box(left + (column + kQuiet) * module, top + (row + kQuiet) * module, module,
                      module);
                }
              }
            }};
  }

  Block greys() {
    const int side = mm(4);
    return {"grey steps", side * static_cast<int>(kGreys.size()), side,
            [this, side](int left, int top) {
              for (const int ink : kGreys) {
                box(left, top, side, side, ink);
                left += side;
              }
            }};
  }

  const Wanted& wanted_;
  Layout layout_;
  bool small_;
  int left_ = 0;  // the room inside the rulers
  int top_ = 0;
  int right_ = 0;
  int bottom_ = 0;
  int x_ = 0;  // where the next block goes
  int y_ = 0;
  int rowEnd_ = 0;  // below the lowest block
};

}  // namespace

int dotOf(double millimetres, int dpi) {
  return static_cast<int>(std::lround(millimetres / kMmPerInch * dpi));
}

Layout layOut(const Wanted& wanted) { return Setter(wanted).run(); }

}  // namespace kestra::testlabel
