// Bytes of a page frame: the label block, the raster-image command and the dot rows, as the printer
// wants them from the delivery stage. Pure functions of bytes; all numbers are little-endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "filter/base/page_size.h"

namespace kestra {

/// A pair of lengths: width in dots and number of rows.
struct _SIZEL {
  long cx;
  long cy;
};

/// How the printer finds the end of a label.
enum class MediaCode : std::uint8_t {
  Continuous = 0,  ///< "Continue": no marks
  LabelGaps = 1,   ///< gaps between labels; also any unknown paper type
  LabelMark = 2,   ///< black marks on the back
};

/// Media code of a paper type, compared exactly (case counts).
MediaCode mediaCode(const char* paperType);

inline constexpr std::size_t kLabelInfoSize = 14;
inline constexpr std::size_t kRasterCommandSize = 8;
inline constexpr std::size_t kFrameHeaderSize = kLabelInfoSize + kRasterCommandSize;

using LabelInfo = std::array<std::uint8_t, kLabelInfoSize>;

/// The label-information block: "SIZ", media code, width, height and gap in dots, two zero bytes,
/// page number.
LabelInfo labelInfo(MediaCode media, std::uint16_t widthDots, std::uint16_t heightDots,
                    std::uint16_t gapDots, std::uint16_t pageNumber);

/// Dots of a length in mm, truncated toward zero and cut to 16 bits; the double product may lie a
/// hair below a whole number, so a 100-dot page may be announced as 99.
std::uint16_t dotsOfMillimetres(double millimetres, unsigned dotsPerInch);

/// Largest total of row records. No page comes near it; an absurd resolution in a page's header
/// would make margins of gigabytes.
inline constexpr std::int64_t kMaxRecordBytes = std::int64_t{kMaxPageBytes};

/// Geometry of the row records: each is a 16-bit count of the row's dots, the margin, the row.
struct RowRecords {
  std::uint32_t rowBytes = 0;
  std::int32_t margin = 0;  ///< bytes left of the row; negative where it is wider than the head
  std::int64_t total = 0;   ///< bytes of all records; 0 or less, or above the limit: no frame
};

/// @param imageBytes      dot bytes of the whole page, rows without padding
/// @param size            dots and rows; no rows give no records
/// @param printWidthDots  what the head can print; the margin centres the row on it
RowRecords rowRecords(std::int64_t imageBytes, _SIZEL size, float printWidthDots);

/// Writes the row records, top row first.
///
/// A negative margin shortens the records: bytes are written one after the other all the same, each
/// row over the end of what stands before it. With margin -1 the row covers the high byte of its
/// count, with -2 all of it, from -3 on also the end of the record before. What would fall outside
/// `out` is dropped.
/// @param dots  rows of `records.rowBytes` bytes
/// @param out   `records.total` bytes; margins that nothing covers must be zero already
void writeRowRecords(const RowRecords& records, const std::uint8_t* dots, long rows,
                     std::uint8_t* out);

using PageFrameHeader = std::array<std::uint8_t, kFrameHeaderSize>;

/// What stands before the records of a frame: label block, raster-image command with record length
/// and row count, both cut to 16 bits.
/// @param total  bytes of all records, at least 1
/// @param rows   at least 1
PageFrameHeader pageFrameHeader(const LabelInfo& label, std::int64_t total, int rows);

}  // namespace kestra
