// One label on its way to the printer: the setting command and the page frame behind it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kestra::delivery {

/// The command that sets speed and heat of the label behind it: 1B 73 01 00 00 SPEED DARKNESS.
inline constexpr std::size_t kCommandBytes = 7;
using Command = std::array<std::uint8_t, kCommandBytes>;

/// The speed of PrintSpeed 4 and the heat of Darkness Middle, which the printer descriptions
/// prefer.
inline constexpr Command kUsualCommand = {0x1B, 0x73, 0x01, 0x00, 0x00, 0x02, 0x01};

/// Label block and raster block of a frame, before its rows.
inline constexpr std::size_t kFrameHeaderBytes = 22;

/// How many of the first `size` bytes (at most 7) are those of some command: 7 for a whole one.
[[nodiscard]] std::size_t commandPrefix(const std::uint8_t* bytes, std::size_t size);

struct Page {
  std::vector<std::uint8_t> bytes;  ///< command, frame
  std::string digest;               ///< of the frame, see `frameDigest`
  std::size_t recordBytes = 0;      ///< one row of dots with its count

  /// Where a page that is cut off may go on in white: the end of the row that byte `sent` of
  /// `bytes` lies in, so that the row's dot count stays true. At least the end of the headers.
  [[nodiscard]] std::size_t endOfRow(std::size_t sent) const;
};

/// A page, or one sentence on why there is none.
struct ReadPage {
  Page page;
  std::string problem;  ///< empty where there is a page
};

/// Reads a frame file of this process's user or of root. Nothing is followed or waited for that
/// somebody may have planted under the name, and nothing but a whole frame comes back: a printer
/// takes whatever follows a short one for dots.
[[nodiscard]] ReadPage readPage(const std::string& path, const Command& command);

}  // namespace kestra::delivery
