// What a row of dots must lose and gain before the filter prints it straight and the head reaches
// all of it.
//
// The filter packs rows as if each were a multiple of 4 dots wide, and it lets rows overlap that
// are wider than the head: any other width comes out slanted, or as garbage.
#pragma once

#include <cstdint>
#include <string>

namespace kestra {

/// A row's dots from left to right: `skip` are cut off, `keep` stay, the rest is cut off, `fill`
/// dots of paper follow. All in dots.
struct RowFit {
  std::uint32_t skip = 0;
  std::uint32_t keep = 0;
  std::uint32_t cutRight = 0;
  std::uint32_t fill = 0;

  /// Dots of the row as it leaves, a multiple of 4.
  [[nodiscard]] std::uint32_t width() const { return keep + fill; }
  [[nodiscard]] bool cuts() const { return skip > 0 || cutRight > 0; }

  bool operator==(const RowFit& other) const {
    return skip == other.skip && keep == other.keep && cutRight == other.cutRight &&
           fill == other.fill;
  }
};

/// How a row of `width` dots (below 2^29) is printed by a head of `headDots`, 0 where that is not
/// known. Paper is added on the right: the page begins where it began. What the head cannot reach
/// is cut from both sides alike, one more dot from the right where they cannot be equal.
[[nodiscard]] RowFit rowFit(std::uint32_t width, std::uint32_t headDots);

/// Dots of a head that is `points` wide (1/72 inch), at `dotsPerInch`; 0 where it is not known.
[[nodiscard]] std::uint32_t headDots(double points, std::uint32_t dotsPerInch);

/// How much of a page is not printed and what to do, to follow the words "page 3".
[[nodiscard]] std::string cutWords(const RowFit& fit, std::uint32_t dotsPerInch);

/// A page of a stream that is fitted.
struct PageChange {
  unsigned page = 0;  ///< from 1
  RowFit fit;
  std::uint32_t dotsPerInch = 0;
};

/// What the user is told about a page that loses dots, a whole line without its line end.
[[nodiscard]] std::string cutWarning(const PageChange& change);

/// What the log says about a page that gets dots of paper, a whole line without its line end.
[[nodiscard]] std::string fillMessage(const PageChange& change);

}  // namespace kestra
