// The barcode rules on any page, against the plain version.
// Why: they look at neighbours in all directions, where a read beyond the page would go unseen.
#include <cstdio>

#include "printer/kestra_printer.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/require.h"
#include "tests/plain/barcode.h"

namespace kestra::fuzz {
namespace {

// The page in a block of just its size, so that a sanitizer sees every step beyond it.
void applyRules(ByteSource* source) {
  const int width = source->word() % 700 + 1;
  const int height = source->word() % 60 + 1;
  const unsigned rules = source->below(4);
  const int stride = plain::paddedWidth(width);
  std::vector<std::uint8_t> page =
      makePixels(source, static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
  plain::Rows expected = plain::rowsFromBytes(page, stride, height, stride);

  std::FILE* messages = stderr;
  stderr = std::fopen("/dev/null", "w");
  KestraPrinter printer;
  if (rules != 3) {
    printer.ApplyDashedLine(page.data(), width, height);
    plain::dashLongRuns(expected, width);
  }
  if (rules == 1 || rules == 3) {
    printer.OptimazeBarcode1(page.data(), width, height);
    plain::thinBarcode1(expected, width);
  } else if (rules == 2) {
    printer.OptimazeBarcode2(page.data(), width, height);
    plain::thinBarcode2(expected, width);
  }
  std::fclose(stderr);
  stderr = messages;
  require(page == plain::flatten(expected), "the page of the plain version");
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kestra::fuzz::ByteSource source(data, size);
  kestra::fuzz::applyRules(&source);
  return 0;
}
