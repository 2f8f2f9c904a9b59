// Bytes of any kind taken for a page frame, a setting command and a page counter.
// Why: proofs are made of files that somebody else sends.
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/require.h"
#include "tools/frame/frame_reader.h"
#include "tools/frame/setting_reader.h"

namespace kestra::fuzz {
namespace {

constexpr std::size_t kFrameHeader = 22;

void readFrame(const std::vector<std::uint8_t>& bytes) {
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  require(static_cast<bool>(parsed) == parsed.problem().empty(), "a frame or a problem");
  if (!parsed) return;
  const PageFrame& frame = *parsed;
  require(bytes.size() >= kFrameHeader, "a frame has a header");
  const std::size_t rowBytes = frame.rowCount == 0 ? 0 : frame.row(0).dots.size;
  std::uint64_t black = 0;
  for (std::size_t y = 0; y < frame.rowCount; ++y) {
    const FrameRow row = frame.row(y);
    require(row.dots.size == rowBytes, "rows of one length");
    require(row.margin.size + row.page.size == row.dots.size, "margin and page make a row");
    for (std::size_t i = 0; i < row.dots.size; ++i) {
      // By hand from the file's own bytes.
      const std::uint8_t byte = bytes[kFrameHeader + y * (rowBytes + 2) + 2 + i];
      for (unsigned bit = 0; bit < 8; ++bit) black += (byte >> bit) & 1U;
    }
  }
  std::uint64_t counted = 0;
  for (std::size_t y = 0; y < frame.rowCount; ++y) counted += countBlackDots(frame.row(y).dots);
  require(counted == black, "all dots counted");
  for (const std::size_t row : rowsWithWrongCount(frame)) {
    require(row < frame.rowCount, "a row of the frame");
  }
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestra::fuzz;
  const std::vector<std::uint8_t> bytes(data, data + size);
  readFrame(bytes);
  const kestra::ParsedSettings parsed = kestra::parsePrintSettings(bytes);
  require(parsed.settings.size() * 7 <= size, "a command has 7 bytes");
  for (const kestra::SentSetting& setting : parsed.settings) {
    require(!describe(setting).empty(), "words for a command");
  }
  const kestra::Result<std::uint16_t> counter = kestra::parsePageCounter(bytes);
  require(static_cast<bool>(counter) == counter.problem().empty(), "a counter or a problem");
  return 0;
}
