// Pages spread out in memory, and the stage's code between two memory files.
// Why: a rule that is read from pixels cannot share a slip with code that only counts bytes.
#include "tests/fit/plain_fit.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "tests/support/page_makers.h"
#include "tools/fit/fit_stream.h"

namespace kestra::fit_tests {

namespace ts = testing_support;

namespace {

std::uint8_t paperOf(cups_cspace_t space) {
  const bool light = space == CUPS_CSPACE_W || space == CUPS_CSPACE_RGB ||
                     space == CUPS_CSPACE_RGBW || space == CUPS_CSPACE_SW ||
                     space == CUPS_CSPACE_SRGB || space == CUPS_CSPACE_ADOBERGB;
  return light ? 255 : 0;
}

std::string readAll(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  const ssize_t got = pread(file, text.data(), text.size(), 0);
  EXPECT_EQ(got, static_cast<ssize_t>(text.size()));
  return text;
}

std::string bytesOf(const cups_page_header2_t& header) {
  std::string bytes(sizeof header, '\0');
  std::memcpy(bytes.data(), &header, sizeof header);
  return bytes;
}

bool anyPixels(const cups_page_header2_t& header) {
  return std::uint64_t{header.cupsBytesPerLine} * header.cupsHeight < (1U << 24);
}

}  // namespace

ts::StreamPage plainFit(const ts::StreamPage& page, unsigned headDots) {
  const unsigned width = page.header.cupsWidth;
  unsigned fitted = width;
  while (fitted % 4 != 0) ++fitted;
  unsigned left = 0;
  const unsigned most = headDots - headDots % 4;
  if (most > 0 && width > most) {
    fitted = most;
    left = (width - most) / 2;
  }
  ts::StreamPage result = page;
  result.header.cupsWidth = fitted;
  result.header.cupsBytesPerLine = fitted;
  result.pixels.clear();
  for (unsigned y = 0; y < page.header.cupsHeight; ++y) {
    for (unsigned x = 0; x < fitted; ++x) {
      const std::size_t from = std::size_t{y} * page.header.cupsBytesPerLine + left + x;
      result.pixels.push_back(left + x < width ? page.pixels[from]
                                               : paperOf(page.header.cupsColorSpace));
    }
  }
  return result;
}

std::vector<ts::StreamPage> plainFit(const std::vector<ts::StreamPage>& pages, unsigned headDots) {
  std::vector<ts::StreamPage> result;
  result.reserve(pages.size());
  for (const ts::StreamPage& page : pages) result.push_back(plainFit(page, headDots));
  return result;
}

std::string inForm(const std::vector<ts::StreamPage>& pages, Form form) {
  // "RaS3" and "RaSt" are numbers, so a machine of low bytes first writes them backwards.
  std::string stream = form.version == 1 ? "tSaR" : "3SaR";
  if (form.swapped) std::reverse(stream.begin(), stream.end());
  for (const ts::StreamPage& page : pages) {
    std::string header = bytesOf(page.header);
    if (form.swapped) {
      for (std::size_t at = offsetof(cups_page_header2_t, AdvanceDistance);
           at < offsetof(cups_page_header2_t, cupsString); at += 4) {
        std::reverse(header.data() + at, header.data() + at + 4);
      }
    }
    if (form.version == 1) header.resize(sizeof(cups_page_header_t));
    stream += header;
    stream.append(page.pixels.begin(), page.pixels.end());
  }
  return stream;
}

ts::StreamPage makePage(const std::string& picture, unsigned width, unsigned height,
                        unsigned bytesPerLine, unsigned dpi) {
  const unsigned line = bytesPerLine == 0 ? width : bytesPerLine;
  return {ts::makeHeader(width, height, line, dpi), ts::makePicture(picture, line, height)};
}

Fitted throughStage(const std::string& stream, double headPoints) {
  Fitted fitted;
  const int in = memfd_create("in", MFD_CLOEXEC);
  const int out = memfd_create("out", MFD_CLOEXEC);
  const ssize_t put = pwrite(in, stream.data(), stream.size(), 0);
  EXPECT_EQ(put, static_cast<ssize_t>(stream.size()));
  const FitResult result = fitStream(
      in, out, headPoints, [&](const PageChange& change) { fitted.changes.push_back(change); });
  EXPECT_EQ(result.state, RelayState::kEnded);
  EXPECT_EQ(result.error, 0);
  fitted.stream = readAll(out);
  close(in);
  close(out);
  return fitted;
}

void expectSamePages(const std::string& stream, const std::string& wanted) {
  const std::vector<ts::DeliveredPage> got = ts::deliver(stream, anyPixels);
  const std::vector<ts::DeliveredPage> want = ts::deliver(wanted, anyPixels);
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    EXPECT_TRUE(bytesOf(got[i].header) == bytesOf(want[i].header)) << i;
    EXPECT_EQ(got[i].readable, want[i].readable) << i;
    EXPECT_TRUE(got[i].pixels == want[i].pixels) << i;
  }
}

}  // namespace kestra::fit_tests
