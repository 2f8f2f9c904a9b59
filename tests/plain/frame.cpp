// Builds the printer's bytes with one push per byte.
// Why: offsets and 16-bit limits of the format are easy to check when nothing is computed ahead.
#include "tests/plain/frame.h"

#include <cstddef>

namespace kestra::plain {

namespace {

void put16(Bytes& out, long value) {
  const auto bits = static_cast<unsigned long>(value);
  out.push_back(static_cast<std::uint8_t>(bits & 255U));
  out.push_back(static_cast<std::uint8_t>((bits >> 8U) & 255U));
}

int mediaCode(const std::string& paperType) {
  if (paperType == "LabelMark") return 2;
  if (paperType == "Continue") return 0;
  return 1;
}

}  // namespace

int leadingNumber(const std::string& text) {
  std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
  if (at == std::string::npos) return 0;
  const bool minus = text[at] == '-';
  if (text[at] == '-' || text[at] == '+') ++at;
  // 2^63 fits an unsigned 64-bit number; the value stops there (minus) or one below (plus).
  const std::uint64_t limit = minus ? 9223372036854775808ULL : 9223372036854775807ULL;
  std::uint64_t value = 0;
  bool full = false;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    const auto digit = static_cast<std::uint64_t>(text[at] - '0');
    if (value > (limit - digit) / 10) full = true;
    if (!full) value = value * 10 + digit;
  }
  if (full) value = limit;
  const std::uint64_t signedBits = minus ? 0 - value : value;
  const auto low = static_cast<std::int64_t>(signedBits & 0xFFFFFFFFULL);
  return static_cast<int>(low >= 2147483648LL ? low - 4294967296LL : low);
}

Bytes settingCommand(const std::string& printSpeed, int darkness) {
  int speed = leadingNumber(printSpeed) & 255;
  if (speed >= 2) speed -= 2;
  const auto heat = static_cast<std::uint8_t>(darkness & 255);
  return {0x1B, 0x73, 0x01, 0x00, 0x00, static_cast<std::uint8_t>(speed), heat};
}

Bytes packSkewed(const Rows& padded, int width) {
  const Bytes flat = flatten(padded);
  const auto lineLength = static_cast<std::size_t>(width);
  Bytes dots;
  for (std::size_t y = 0; y < padded.size(); ++y) {
    for (std::size_t start = 0; start < lineLength; start += 8) {
      int byte = 0;
      for (std::size_t bit = 0; bit < 8; ++bit) {
        byte *= 2;
        if (start + bit < lineLength && flat[y * lineLength + start + bit] != 0) byte += 1;
      }
      dots.push_back(static_cast<std::uint8_t>(byte));
    }
  }
  return dots;
}

Bytes labelBlock(const Label& label) {
  const double r = label.dotsPerInch;
  Bytes out = {'S', 'I', 'Z', static_cast<std::uint8_t>(mediaCode(label.paperType))};
  put16(out, toInt32(static_cast<double>(label.pageWidthMm) / 25.4 * r));
  put16(out, toInt32(static_cast<double>(label.pageHeightMm) / 25.4 * r));
  put16(out, toInt32(static_cast<double>(label.gapsHeightMm) / 25.4 * r));
  put16(out, 0);
  put16(out, static_cast<long>(label.pageNumber));
  return out;
}

int marginBytes(float printableDots, int width) {
  const float spare = printableDots - static_cast<float>(width);
  const float half = spare / 2.0F;
  const float rounded = half + 7.0F;
  const float bytes = rounded / 8.0F;
  return toInt32(static_cast<double>(bytes));
}

std::optional<Bytes> rowRecords(const Bytes& dots, int height, int margin) {
  const long rowBytes = static_cast<long>(dots.size()) / height;
  const long recordLength = rowBytes + 2 + margin;
  if (recordLength <= 0) return std::nullopt;
  Bytes out(static_cast<std::size_t>(recordLength * height), 0);
  // A page that is too wide writes its rows over the count and the record before. What lies outside
  // the records is lost.
  const auto put = [&out](long at, unsigned value) {
    if (at >= 0 && at < static_cast<long>(out.size())) {
      out[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(value & 255U);
    }
  };
  for (long y = 0; y < height; ++y) {
    unsigned count = 0;
    for (long i = 0; i < rowBytes; ++i) {
      for (unsigned bit = 0; bit < 8; ++bit) {
        count +=
            (static_cast<unsigned>(dots[static_cast<std::size_t>(y * rowBytes + i)]) >> bit) & 1U;
      }
    }
    const long start = y * recordLength;
    put(start, count);
    put(start + 1, count >> 8U);
    for (long i = 0; i < rowBytes; ++i) {
      put(start + 2 + margin + i, dots[static_cast<std::size_t>(y * rowBytes + i)]);
    }
  }
  return out;
}

Bytes frame(const Bytes& label, const Bytes& records, int height) {
  Bytes out = label;
  for (const int byte : {0x1D, 0x76, 0x30, 0x00}) out.push_back(static_cast<std::uint8_t>(byte));
  put16(out, static_cast<long>(records.size()) / height);
  put16(out, height);
  out.insert(out.end(), records.begin(), records.end());
  return out;
}

}  // namespace kestra::plain
