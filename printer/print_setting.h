// Bytes of the print-setting command, all that the filter writes to standard output.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestra {

inline constexpr std::size_t kPrintSettingSize = 7;
using PrintSetting = std::array<std::uint8_t, kPrintSettingSize>;

/// ESC s 1 0 0 SPEED DARKNESS.
///
/// The speed code is the low byte of the number in `speedText`, less 2 where it is 2 or more: "4"
/// gives 2, "2" gives 0, and deliberately "1" gives 1, "0" gives 0, "-1" (255) gives 253.
/// @param darkness  0 light, 1 middle, 2 dark; its low byte is sent
PrintSetting printSetting(std::string_view speedText, std::int32_t darkness);

}  // namespace kestra
