// Small pages of the kinds that people make stencils of, and the awkward ones: flat, nearly flat,
// black and white, a single pixel.
// Why: each kind drives threshold, gamma and diffusion into another corner.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/plain/page.h"

namespace kestra {

struct NamedPicture {
  std::string name;
  plain::Rows rows;
};

/// A page of one level.
plain::Rows uniformPage(int width, int height, int level);

/// Lines of little blocks of ink 255 on paper 0, two to three pixels wide.
plain::Rows textPage(int width, int height);

/// Circles and slanting lines of ink 255 on paper 0.
plain::Rows lineArtPage(int width, int height);

/// Soft shading between 20 and 235 with a little grain.
plain::Rows photoPage(int width, int height);

/// All levels at random, the same in every run.
plain::Rows noisePage(int width, int height, unsigned seed);

/// A page of one level with one other pixel in its middle.
plain::Rows singlePixelPage(int width, int height, int paper, int pixel);

/// Levels level - 1, level and level + 1 at random.
plain::Rows nearlyUniformPage(int width, int height, int level);

/// Squares and mixtures of 1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33 and 101, as width and height.
std::vector<std::pair<int, int>> allSizes();

/// Every kind above in all those sizes, with ink and paper exchanged where that makes another page;
/// the names tell kind and size.
std::vector<NamedPicture> allPictures();

}  // namespace kestra
