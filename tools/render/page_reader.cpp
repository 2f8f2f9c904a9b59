// Looks at the pixels row by row as they pass, so that a page of any length needs one row of
// memory.
//
// The same library reads the stream here and in the filter: what it takes for a page is one there.
#include "tools/render/page_reader.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "filter/base/page_size.h"
#include "tools/render/child.h"

namespace kestra {
namespace {

constexpr unsigned kGreyBits = 8;
constexpr std::size_t kBlock = 65536;
constexpr std::uint8_t kFullInk = 255;

void measure(const std::uint8_t* row, PageContent& page) {
  for (unsigned x = 0; x < page.width; ++x) {
    const std::uint8_t pixel = row[x];
    if (pixel == 0) continue;
    ++page.inkedPixels;
    page.greySum += pixel;
    if (pixel != kFullInk) page.onlyBlackAndWhite = false;
  }
}

}  // namespace

PageReader::PageReader(int source, Sink sink) : source_(source), sink_(std::move(sink)) {}

PageReader::~PageReader() {
  if (stream_ != nullptr) cupsRasterClose(stream_);
}

ssize_t PageReader::readBlock(void* self, unsigned char* buffer, std::size_t size) {
  return static_cast<PageReader*>(self)->take(buffer, size);
}

ssize_t PageReader::take(unsigned char* buffer, std::size_t size) {
  if (!wanted_) return 0;
  for (;;) {
    if (interruptSignal() != 0) return 0;
    const ssize_t got = read(source_, buffer, size);
    if (got < 0 && errno == EINTR) continue;
    if (got > 0) wanted_ = sink_(buffer, static_cast<std::size_t>(got));
    return got;
  }
}

bool PageReader::next(PageContent& page) {
  if (!opened_) {
    opened_ = true;
    stream_ = cupsRasterOpenIO(readBlock, this, CUPS_RASTER_READ);
  }
  cups_page_header2_t header = {};
  if (stream_ == nullptr || cupsRasterReadHeader2(stream_, &header) == 0) return false;
  if (header.cupsBitsPerPixel != kGreyBits || header.cupsBytesPerLine == 0 ||
      !isPrintablePage(header.cupsWidth, header.cupsBytesPerLine, header.cupsHeight)) {
    return false;  // the filter ends the job here and says why
  }
  page = PageContent();
  page.width = header.cupsWidth;
  page.height = header.cupsHeight;
  page.dpi = {header.HWResolution[0], header.HWResolution[1]};
  row_.resize(header.cupsBytesPerLine);
  for (unsigned y = 0; y < header.cupsHeight; ++y) {
    if (cupsRasterReadPixels(stream_, row_.data(), header.cupsBytesPerLine) !=
        header.cupsBytesPerLine) {
      return true;  // a page that breaks off; the filter skips it
    }
    measure(row_.data(), page);
  }
  page.readable = true;
  return true;
}

void PageReader::drain() {
  row_.resize(kBlock);
  while (wanted_ && take(row_.data(), row_.size()) > 0) {
  }
}

}  // namespace kestra
