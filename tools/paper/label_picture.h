// The dots of a label as they come, and the picture of them.
//
// A torn label is drawn with what came of it, as it would lie on the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra::paper {

/// Collects the rows of one label.
class LabelPicture {
 public:
  /// Most bytes of rows that are kept, 50 A4 stencils; a larger label gets no picture.
  static constexpr std::size_t kMostBytes = std::size_t{1} << 26;

  /// Starts a label whose rows have `record` bytes, the first two of them no dots.
  void begin(std::size_t record, std::size_t rows);
  void add(const std::uint8_t* data, std::size_t size);
  /// Writes rows as a PNG, a pixel a dot, white where no byte came: all announced rows of a whole
  /// label, of a torn one those that began to come.
  /// @param dpi  dots per inch of the head, both ways
  /// @return why there is no picture
  [[nodiscard]] Result<void> write(const std::string& path, unsigned dpi) const;
  /// Whether there is a dot to draw.
  [[nodiscard]] bool hasRows() const { return !bytes_.empty() || tooLarge_; }

 private:
  std::size_t record_ = 0;
  std::size_t rows_ = 0;
  bool tooLarge_ = false;
  std::vector<std::uint8_t> bytes_;  // of rows, counts included
};

}  // namespace kestra::paper
