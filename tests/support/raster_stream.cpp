// Page streams through the raster library, and by hand where the library is too careful.
// Why: good pages should be what the print system really writes; bad ones must be possible at all.
#include "tests/support/raster_stream.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <utility>

namespace kestra::testing_support {

namespace {

class MemoryFile {
 public:
  MemoryFile() : fd_(::memfd_create("pages", MFD_CLOEXEC)) {
    if (fd_ < 0) throw std::runtime_error("memfd_create");
  }
  ~MemoryFile() { ::close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  int fd() const { return fd_; }
  void rewind() const { ::lseek(fd_, 0, SEEK_SET); }
  void write(const std::string& bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t put = ::write(fd_, bytes.data() + done, bytes.size() - done);
      if (put <= 0) throw std::runtime_error("memory file");
      done += static_cast<std::size_t>(put);
    }
  }
  std::string read() const {
    std::string text;
    char buffer[65536];
    for (ssize_t got = 1; got > 0;) {
      got = ::read(fd_, buffer, sizeof buffer);
      if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
  }

 private:
  int fd_;
};

}  // namespace

cups_page_header2_t makeHeader(unsigned width, unsigned height, unsigned bytesPerLine,
                               unsigned dpi) {
  cups_page_header2_t header;
  std::memset(&header, 0, sizeof header);
  header.HWResolution[0] = dpi;
  header.HWResolution[1] = dpi;
  header.NumCopies = 1;
  header.cupsWidth = width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = 8;
  header.cupsBitsPerPixel = 8;
  header.cupsBytesPerLine = bytesPerLine;
  header.cupsColorOrder = CUPS_ORDER_CHUNKED;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.cupsNumColors = 1;
  return header;
}

std::string writeStream(const std::vector<StreamPage>& pages, bool compressed) {
  const MemoryFile file;
  cups_raster_t* raster =
      cupsRasterOpen(file.fd(), compressed ? CUPS_RASTER_WRITE_COMPRESSED : CUPS_RASTER_WRITE);
  if (raster == nullptr) throw std::runtime_error("cupsRasterOpen");
  bool good = true;
  for (const StreamPage& page : pages) {
    cups_page_header2_t header = page.header;
    std::vector<std::uint8_t> pixels = page.pixels;
    good = good && cupsRasterWriteHeader2(raster, &header) != 0;
    good = good && cupsRasterWritePixels(raster, pixels.data(),
                                         static_cast<unsigned>(pixels.size())) == pixels.size();
  }
  cupsRasterClose(raster);
  if (!good) throw std::runtime_error("the raster library refuses the page");
  file.rewind();
  return file.read();
}

std::string rawStream(const std::vector<StreamPage>& pages) {
  std::string stream = "3SaR";
  for (const StreamPage& page : pages) {
    std::string header(sizeof page.header, '\0');
    std::memcpy(header.data(), &page.header, sizeof page.header);
    stream += header;
    stream.append(page.pixels.begin(), page.pixels.end());
  }
  return stream;
}

std::vector<DeliveredPage> deliver(const std::string& stream,
                                   bool (*readPixels)(const cups_page_header2_t&)) {
  const MemoryFile file;
  file.write(stream);
  file.rewind();
  std::vector<DeliveredPage> pages;
  cups_raster_t* raster = cupsRasterOpen(file.fd(), CUPS_RASTER_READ);
  DeliveredPage page = {};
  while (raster != nullptr && cupsRasterReadHeader2(raster, &page.header) != 0) {
    page.pixels.clear();
    page.readable = false;
    const bool wanted = readPixels(page.header);
    if (wanted) {
      const auto size = page.header.cupsBytesPerLine * page.header.cupsHeight;
      page.pixels.resize(size);
      page.readable = cupsRasterReadPixels(raster, page.pixels.data(), size) >= 1;
    }
    // A page of many megabytes that the stream does not hold is not kept.
    if (!page.readable) std::vector<std::uint8_t>().swap(page.pixels);
    pages.push_back(std::move(page));
    if (!wanted) break;
  }
  cupsRasterClose(raster);
  return pages;
}

}  // namespace kestra::testing_support
