// Builds the frame of a page out of its dots.
#include "printer/page_frame.h"

#include <algorithm>
#include <cstring>

#include "filter/base/number.h"
#include "imaging/kernels/dots.h"

namespace kestra {
namespace {

constexpr std::int64_t kCountSize = 2;

constexpr std::uint8_t lowByte(std::uint32_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}
constexpr std::uint8_t highByte(std::uint32_t value) {
  return static_cast<std::uint8_t>((value >> 8) & 0xFF);
}

}  // namespace

MediaCode mediaCode(const char* paperType) {
  if (std::strcmp(paperType, "LabelMark") == 0) return MediaCode::LabelMark;
  if (std::strcmp(paperType, "Continue") == 0) return MediaCode::Continuous;
  return MediaCode::LabelGaps;
}

LabelInfo labelInfo(MediaCode media, std::uint16_t widthDots, std::uint16_t heightDots,
                    std::uint16_t gapDots, std::uint16_t pageNumber) {
  return {'S',
          'I',
          'Z',
          static_cast<std::uint8_t>(media),
          lowByte(widthDots),
          highByte(widthDots),
          lowByte(heightDots),
          highByte(heightDots),
          lowByte(gapDots),
          highByte(gapDots),
          0,
          0,
          lowByte(pageNumber),
          highByte(pageNumber)};
}

std::uint16_t dotsOfMillimetres(double millimetres, unsigned dotsPerInch) {
  return truncateToUint16(millimetres / kMillimetresPerInch * dotsPerInch);
}

RowRecords rowRecords(std::int64_t imageBytes, _SIZEL size, float printWidthDots) {
  RowRecords records;
  if (size.cy <= 0) return records;
  records.rowBytes = static_cast<std::uint32_t>(imageBytes / size.cy);

  // Single precision, rounded after every operation; toward zero at the end, so that a page of up
  // to 29 dots too wide still starts at the head's left end.
  constexpr float kHalves = 2.0F;
  constexpr float kRoundUp = 7.0F;
  constexpr float kDotsPerByte = 8.0F;
  const float spare = printWidthDots - static_cast<float>(size.cx);
  const float leftDots = spare / kHalves;
  const float rounded = leftDots + kRoundUp;
  records.margin = truncateToInt32(static_cast<double>(rounded / kDotsPerByte));

  records.total =
      (std::int64_t{records.rowBytes} + kCountSize + records.margin) * std::int64_t{size.cy};
  return records;
}

void writeRowRecords(const RowRecords& records, const std::uint8_t* dots, long rows,
                     std::uint8_t* out) {
  const std::int64_t recordBytes = records.total / rows;
  const auto put = [&](std::int64_t position, std::uint8_t byte) {
    if (position >= 0 && position < records.total) out[position] = byte;
  };
  for (long y = 0; y < rows; ++y) {
    const std::uint8_t* row = dots + static_cast<std::size_t>(y) * records.rowBytes;
    const std::int64_t start = y * recordBytes;
    const auto blackDots = static_cast<std::uint32_t>(countDots(row, records.rowBytes));
    put(start, lowByte(blackDots));
    put(start + 1, highByte(blackDots));

    // The row ends where its record ends, so only its beginning can lie outside.
    const std::int64_t position = start + kCountSize + records.margin;
    const std::int64_t dropped = std::clamp<std::int64_t>(-position, 0, records.rowBytes);
    if (dropped < records.rowBytes) {
      std::memcpy(out + position + dropped, row + dropped,
                  static_cast<std::size_t>(records.rowBytes - dropped));
    }
  }
}

PageFrameHeader pageFrameHeader(const LabelInfo& label, std::int64_t total, int rows) {
  const auto recordBytes = static_cast<std::uint32_t>(total / rows);
  const auto rowCount = static_cast<std::uint32_t>(rows);
  const std::array<std::uint8_t, kRasterCommandSize> rasterCommand = {
      0x1D,  // GS
      0x76,  // 'v'
      0x30,  // '0': raster image
      0x00, lowByte(recordBytes), highByte(recordBytes), lowByte(rowCount), highByte(rowCount)};

  PageFrameHeader header = {};
  std::uint8_t* rest = std::copy(label.begin(), label.end(), header.data());
  std::copy(rasterCommand.begin(), rasterCommand.end(), rest);
  return header;
}

}  // namespace kestra
