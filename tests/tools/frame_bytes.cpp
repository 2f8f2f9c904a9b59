// Spells out frame bytes, low byte first.
//
// One place for the layout in the tests, so that a test shows only what is special about it.
#include "tests/tools/frame_bytes.h"

namespace kestra {
namespace {

void append16(Bytes& bytes, unsigned value) {
  bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
  bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

}  // namespace

Bytes frameStart(const FrameStart& start) {
  Bytes bytes = {0x53, 0x49, 0x5A, static_cast<std::uint8_t>(start.media)};
  append16(bytes, start.width);
  append16(bytes, start.height);
  append16(bytes, start.gap);
  append16(bytes, 0);
  append16(bytes, start.page);
  bytes.insert(bytes.end(), {0x1D, 0x76, 0x30, 0x00});
  append16(bytes, start.record);
  append16(bytes, start.rows);
  return bytes;
}

Bytes smallFrame() {
  Bytes bytes = frameStart({});
  bytes.insert(bytes.end(), {12, 0, 0x00, 0xFF, 0xF0});
  bytes.insert(bytes.end(), {2, 0, 0x00, 0x80, 0x10});
  return bytes;
}

}  // namespace kestra
