// Where everything on a test label lies, in dots of the print head.
//
// A line that is meant to be one dot wide must not lie between two; so nothing is laid out in
// millimetres but the marks of the rulers, which take the nearest dot.
#pragma once

#include <string>
#include <vector>

namespace kestra::testlabel {

/// A filled box. Left and top are counted from the first dot that is printed, downwards; the top
/// row leaves the printer first.
struct Box {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int ink = 100;  ///< per cent
};

/// A line of words in a type whose letters are all 0.6 of its size wide.
struct Words {
  int left = 0;
  int base = 0;  ///< row on which the letters stand
  int size = 0;  ///< of the type, in dots
  std::string text;
};

struct Layout {
  int width = 0;  ///< dots
  int height = 0;
  std::vector<Box> boxes;
  std::vector<Words> words;
  std::vector<std::string> leftOut;  ///< what had no room, in the order in which it was tried
};

struct Wanted {
  int width = 0;  ///< dots that are printed
  int height = 0;
  int dpi = 203;
  std::string step;                  ///< "Darkness Dark": set large; may be empty
  std::string size;                  ///< "100 x 50 mm"
  std::vector<std::string> options;  ///< "PrintSpeed 4" and so on
};

/// A border of two dots and rulers with a mark at each millimetre on all four edges, counted from
/// the left and from the top; then, for as long as there is room: the arrow to the edge that leaves
/// first, the step, bars of 1 to 4 dots both ways, the code, size and resolution, grey steps,
/// options.
[[nodiscard]] Layout layOut(const Wanted& wanted);

/// The dot on which a mark lies: millimetres from the edge, to the nearest dot.
[[nodiscard]] int dotOf(double millimetres, int dpi);

}  // namespace kestra::testlabel
