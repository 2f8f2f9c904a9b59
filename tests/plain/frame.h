// The bytes for the printer: setting command, packed dots, label block, row records, page frame.
// Why: the frame is what prints; every byte of it is worked out here a second time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/plain/page.h"

namespace kestra::plain {

using Bytes = std::vector<std::uint8_t>;

/// The leading number of a text as the C library reads it (blanks, sign, digits; 64 bits, stopping
/// at the ends of the range), cut to 32 bits.
int leadingNumber(const std::string& text);

/// 1B 73 01 00 00 speed darkness.
Bytes settingCommand(const std::string& printSpeed, int darkness);

/// Packs height x width pixels that follow each other without gaps from the first byte of the
/// padded page on: deliberately not the pixels of the rows when the width is no multiple of 4.
///   padded rows "abc." "def." (width 3)  ->  lines "abc" ".de"
Bytes packSkewed(const Rows& padded, int width);

struct Label {
  std::string paperType;    ///< "LabelGaps", "LabelMark", "Continue", other
  float pageWidthMm = 0;    ///< as announced per page
  float pageHeightMm = 0;   ///<
  int gapsHeightMm = 0;     ///<
  double dotsPerInch = 0;   ///< horizontal, for all three
  unsigned pageNumber = 0;  ///< 16 bits
};

/// "SIZ", media code, width, height, gap, 0, page number: 14 bytes.
Bytes labelBlock(const Label& label);

/// Bytes left of each row that centre the page on the head; negative when the page is too wide.
int marginBytes(float printableDots, int width);

/// One record per row: two count bytes, margin bytes 0, the row's dots. Empty when the records
/// would have no bytes: then no frame is made.
std::optional<Bytes> rowRecords(const Bytes& dots, int height, int margin);

/// Label block, 1D 76 30 00, record length, rows, records.
Bytes frame(const Bytes& label, const Bytes& records, int height);

}  // namespace kestra::plain
