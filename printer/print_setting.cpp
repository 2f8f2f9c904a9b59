// Codes speed and darkness of a page for the printer.
#include "printer/print_setting.h"

#include "filter/base/number.h"

namespace kestra {

PrintSetting printSetting(std::string_view speedText, std::int32_t darkness) {
  constexpr std::uint8_t kEscape = 0x1B;
  constexpr std::uint8_t kSettingCommand = 0x73;
  constexpr unsigned kLowestSpeed = 2;  // sent as code 0

  unsigned speed = static_cast<unsigned>(textToInt32(speedText)) & 0xFFU;
  if (speed >= kLowestSpeed) speed -= kLowestSpeed;
  return {kEscape,
          kSettingCommand,
          0x01,
          0x00,
          0x00,
          static_cast<std::uint8_t>(speed),
          static_cast<std::uint8_t>(darkness & 0xFF)};
}

}  // namespace kestra
