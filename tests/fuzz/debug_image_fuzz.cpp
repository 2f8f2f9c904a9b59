// Debug images of any size in both depths, against the plain version.
// Why: their header disagrees with their pixels on purpose, and lengths of both come from the page.
#include <algorithm>
#include <iterator>

#include "printer/wren_printer.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/private_spool.h"
#include "tests/fuzz/require.h"
#include "tests/plain/debug_image.h"

namespace kestra::fuzz {
namespace {

class ImageWriter : public WrenPrinter {
 public:
  ImageWriter() {
    constexpr char kName[] = "tmp/image%d%d%d%d%d%d%ld.bmp";
    std::copy(std::begin(kName), std::end(kName), imagePathTemplate_);
  }
  void doPrintImage(const unsigned char* /*bits*/, unsigned long /*bytesPerLine*/,
                    unsigned long /*height*/, unsigned long /*width*/) override {}
};

void writeImage(ByteSource* source) {
  const unsigned width = source->word() % 400U;
  const unsigned spare = source->below(9);
  const unsigned height = source->word() % 60U;
  const bool isTwoColour = source->flag();
  const std::vector<std::uint8_t> pixels = makePixels(source, std::size_t{width + spare} * height);

  enterPrivateSpool();
  ImageWriter printer;
  printer.saveImage(pixels.data(), width + spare, height, width, isTwoColour ? 1 : 8);
  const std::map<std::string, std::string> files = takeFiles();
  const std::vector<std::uint8_t> expected =
      isTwoColour ? plain::debugImage1(pixels, static_cast<int>(width + spare),
                                       static_cast<int>(width), static_cast<int>(height))
                  : plain::debugImage8(pixels, static_cast<int>(width), static_cast<int>(height));
  require(files.size() == 1, "one image");
  require(files.begin()->second == std::string(expected.begin(), expected.end()),
          "the bytes of the plain version");
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kestra::fuzz::ByteSource source(data, size);
  kestra::fuzz::writeImage(&source);
  return 0;
}
