// Opens and reads a job's raster stream, so that the page loop sees nothing but pages.
#include "filter/raster_input.h"

#include <fcntl.h>
#include <unistd.h>

namespace kestra {

RasterInput::~RasterInput() {
  if (stream_ != nullptr) cupsRasterClose(stream_);
  if (descriptor_ != 0) close(descriptor_);
}

bool RasterInput::openFile(const char* path) {
  const int descriptor = open(path, O_RDONLY);
  if (descriptor < 0) return false;
  descriptor_ = descriptor;
  return true;
}

void RasterInput::startStream() { stream_ = cupsRasterOpen(descriptor_, CUPS_RASTER_READ); }

bool RasterInput::readHeader(cups_page_header2_t* header) {
  return stream_ != nullptr && cupsRasterReadHeader2(stream_, header) != 0;
}

bool RasterInput::readPixels(const PageRows& rows) {
  return cupsRasterReadPixels(stream_, rows.pixels, static_cast<unsigned>(rows.size())) > 0;
}

}  // namespace kestra
