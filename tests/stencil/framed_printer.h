// A printer object whose page header and resolution a test can choose, with its images as rows.
// Why: the frame depends on both, and the way of a page ends in the object's own images.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/plain_stencil/frame.h"
#include "tests/unit/bare_printer.h"
#include "tests/unit/test_images.h"

namespace kestra {

class FramedPrinter : public BarePrinter {
 public:
  /// Gives the object a header of its own with a page size name.
  void setPageName(const std::string& name) {
    header_ = {};
    std::snprintf(header_.cupsPageSizeName, sizeof header_.cupsPageSizeName, "%s", name.c_str());
    setPageHeader(&header_);
  }
  void setDotsPerInch(int dpi) { dotsPerInch_ = dpi; }

 private:
  cups_page_header2_t header_ = {};
};

/// All bytes of an image's rows, padding included.
inline plain_stencil::Picture pictureOf(const PaletteImage& image) {
  plain_stencil::Picture picture;
  picture.width = static_cast<int>(image.GetWidth());
  picture.rows = plain::rowsFromBytes(rowBytesOf(image), static_cast<int>(image.GetEffWidth()),
                                      static_cast<int>(image.GetHeight()),
                                      static_cast<int>(image.GetEffWidth()));
  return picture;
}

/// A picture with a zeroed padding.
inline plain_stencil::Picture pictureOf(const plain::Rows& rows) {
  return {static_cast<int>(rows[0].size()), plain::pad(rows)};
}

}  // namespace kestra
