// The floor under a print job: what a filter must do even if it never looks at a pixel.
//
// It is started like the filter, opens the printer description, marks the options, reads every page
// and leaves files as large as the filter's, but for the margin beside each row of a frame. What
// the filter takes longer is what it does with dots.
#include <cups/ppd.h>
#include <cups/raster.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "filter/base/page_block.h"

namespace {

constexpr char kSpool[] = "var/spool/cups/tmp";
constexpr std::size_t kBitmapHeader = 1078;  // of each debug image
constexpr std::size_t kFrameHeader = 22;     // and of the frame
constexpr std::size_t kDotCount = 2;         // before each row of dots
constexpr std::size_t kCommand = 7;          // to the printer

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(EXIT_FAILURE);
}

void write(const std::string& name, const unsigned char* bytes, std::size_t size) {
  const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) fail(name.c_str());
  for (std::size_t done = 0; done < size;) {
    const ssize_t put = ::write(file, bytes + done, size - done);
    if (put <= 0) fail(name.c_str());
    done += static_cast<std::size_t>(put);
  }
  close(file);
}

// The description as a filter opens it: it is read, and the options are marked in it.
void openDescription(const char* options) {
  ppd_file_t* ppd = ppdOpenFile(std::getenv("PPD"));
  if (ppd == nullptr) fail("PPD");
  ppdMarkDefaults(ppd);
  cups_option_t* marked = nullptr;
  const int count = cupsParseOptions(options, 0, &marked);
  cupsMarkOptions(ppd, count, marked);
  cupsFreeOptions(count, marked);
  ppdClose(ppd);
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 7) {
    std::fprintf(stderr, "Usage: %s job_id user title copies options file\n", argv[0]);
    return EXIT_FAILURE;
  }
  openDescription(argv[5]);
  const int input = open(argv[6], O_RDONLY | O_CLOEXEC);
  if (input < 0) fail(argv[6]);
  cups_raster_t* stream = cupsRasterOpen(input, CUPS_RASTER_READ);
  mkdir((std::string(kSpool) + "/kcv6data").c_str(), S_IRWXU);
  cups_page_header2_t header = {};
  for (int page = 0; cupsRasterReadHeader2(stream, &header) != 0; ++page) {
    const std::size_t pixels = std::size_t{header.cupsBytesPerLine} * header.cupsHeight;
    const std::size_t record = kDotCount + (header.cupsWidth + 7) / 8;
    // The files begin with headers, for which there is room behind the pixels.
    const kestra::PageBlock block = kestra::makePageBlock(pixels + kBitmapHeader);
    if (block == nullptr) fail("memory");
    if (cupsRasterReadPixels(stream, block.get(), static_cast<unsigned>(pixels)) == 0) break;
    const std::string number = std::to_string(page);
    const std::string spool = kSpool;
    write(spool + "/origin_" + number + ".bmp", block.get(), kBitmapHeader + pixels);
    write(spool + "/dithered_" + number + ".bmp", block.get(), kBitmapHeader + pixels);
    write(spool + "/kcv6data/page_" + number + ".dat", block.get(),
          kFrameHeader + record * header.cupsHeight);
    if (std::fwrite(block.get(), 1, kCommand, stdout) != kCommand) fail("stdout");
  }
  cupsRasterClose(stream);
  close(input);
  return EXIT_SUCCESS;
}
