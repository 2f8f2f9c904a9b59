// Spells out labels, low byte first, and digests them with the print system's library.
//
// One place for the layout in the tests, so that a test shows only what is special about it.
#include "tests/paper/stream_bytes.h"

#include <cups/cups.h>

#include <array>

namespace kestra::paper {
namespace {

Bytes number(std::size_t value) {
  return bytes({static_cast<int>(value & 0xFF), static_cast<int>(value >> 8)});
}

int blackDots(unsigned byte) {
  int count = 0;
  for (unsigned bit = 0; bit < 8; ++bit) count += (byte >> bit) & 1U ? 1 : 0;
  return count;
}

}  // namespace

Bytes bytes(std::initializer_list<int> values) {
  Bytes text;
  for (const int value : values) text += static_cast<char>(value);
  return text;
}

Bytes command() { return bytes({0x1B, 0x73, 1, 0, 0, 2, 1}); }

Bytes smallFrame(unsigned pattern, unsigned page) {
  return bytes({0x53, 0x49, 0x5A, 1, 12, 0, 2, 0, 16, 0, 0, 0}) + number(page) +
         bytes({0x1D, 0x76, 0x30, 0, 5, 0, 2, 0}) + bytes({12, 0, 0x00, 0xFF, 0xF0}) +
         bytes({blackDots(pattern) + 1, 0, 0x00, static_cast<int>(pattern), 0x10});
}

Bytes smallLabel(unsigned pattern, unsigned page) { return command() + smallFrame(pattern, page); }

Bytes largeLabel(std::size_t record, std::size_t rows, unsigned page) {
  Bytes label = command() + bytes({0x53, 0x49, 0x5A, 1}) + number((record - 2) * 8) + number(rows) +
                bytes({0, 0, 0, 0}) + number(page) + bytes({0x1D, 0x76, 0x30, 0}) + number(record) +
                number(rows);
  const Bytes row = bytes({8, 0, 0xFF}) + Bytes(record - 3, '\0');
  for (std::size_t y = 0; y < rows; ++y) label += row;
  return label;
}

std::string listLine(const Bytes& frame, const std::string& name) {
  Bytes masked = frame;
  masked[12] = masked[13] = '\0';
  std::array<unsigned char, 32> digest = {};
  cupsHashData("sha2-256", masked.data(), masked.size(), digest.data(), digest.size());
  std::array<char, 65> text = {};
  cupsHashString(digest.data(), digest.size(), text.data(), text.size());
  return std::string(text.data()) + "  " + name + "\n";
}

}  // namespace kestra::paper
