// The raster stream of a job: page headers and pixels, from standard input or from a file.
#pragma once

#include <cups/raster.h>

#include "printer/page_rows.h"

namespace kestra {

/// Reads the pages of one job through the raster library. Closes the stream, and the file where it
/// opened one. Everything that cannot be read counts as the end of the stream.
class RasterInput {
 public:
  RasterInput() = default;
  ~RasterInput();
  RasterInput(const RasterInput&) = delete;
  RasterInput& operator=(const RasterInput&) = delete;

  /// Reads from a file instead of standard input; false where it cannot be opened.
  [[nodiscard]] bool openFile(const char* path);

  /// Starts the raster stream; garbage gives a stream without pages.
  void startStream();

  /// Reads the next page header; false at the end of the stream.
  [[nodiscard]] bool readHeader(cups_page_header2_t* header);

  /// Fills the rows of the page whose header came last; false where nothing could be read.
  /// @param rows  no larger than `kMaxPageBytes`
  [[nodiscard]] bool readPixels(const PageRows& rows);

 private:
  int descriptor_ = 0;               // standard input, or an open file of our own
  cups_raster_t* stream_ = nullptr;  // owned
};

}  // namespace kestra
