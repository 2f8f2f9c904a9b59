// Tones and sharpens a page row by row, so that a stencil needs no copy of the page between its
// steps: eleven blurred rows are all that the blur down the columns looks at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/kernels/gaussian.h"

namespace kestra {

/// The unsharp mask of 300 per cent and eleven taps over a grey page, from the top row down.
class UnsharpRows {
 public:
  /// @param grey   width * height bytes, not owned; read until the last row is made
  /// @param table  replaces each level before it is sharpened, not owned
  UnsharpRows(const unsigned char* grey, int width, int height, const std::uint8_t* table,
              const GaussianWeights& weights);

  /// Makes the next row, `width` bytes, from the rows up to five below it.
  void nextRow(unsigned char* out);

 private:
  unsigned char* toned(int y);
  unsigned char* blurred(int y);
  void tonePart(int y, int x, int count);
  void readRow(int y);

  const unsigned char* grey_;
  int width_;
  int height_;
  const std::uint8_t* table_;
  GaussianWeights weights_;
  bool isLow_;  ///< the page is lower than the rings: it is toned part by part, and once more
  int part_;    ///< columns that are toned at once
  int ring_;    ///< blurred rows kept
  int made_ = 0;
  int read_ = 0;
  std::size_t stride_;
  std::size_t tonedStride_;
  std::vector<unsigned char> toned_;    ///< the last rows, five pixels repeated at both ends
  std::vector<unsigned char> blurred_;  ///< the last rows, blurred along themselves
};

}  // namespace kestra
