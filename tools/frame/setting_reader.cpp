// Decodes print-setting commands and page counters byte by byte.
//
// Both are a handful of bytes; what matters is that a wrong byte is named with its place, so that
// a page with the wrong heat can be traced.
#include "tools/frame/setting_reader.h"

#include <array>

namespace kestra {
namespace {

constexpr std::array<std::uint8_t, 5> kPrefix = {0x1B, 0x73, 0x01, 0x00, 0x00};
constexpr std::size_t kCommandBytes = 7;     // the prefix, speed code, darkness
constexpr unsigned kLargestSpeedCode = 253;  // job speed 255, the largest in a byte
constexpr std::size_t kCounterBytes = 2;     // low byte first

}  // namespace

ParsedSettings parsePrintSettings(const std::vector<std::uint8_t>& bytes) {
  ParsedSettings result;
  if (bytes.empty()) {
    result.problem = "empty, a job sends one command of 7 bytes per page";
    return result;
  }
  for (std::size_t at = 0; at < bytes.size(); at += kCommandBytes) {
    const std::string which = "command " + std::to_string(result.settings.size() + 1);
    if (bytes.size() - at < kCommandBytes) {
      result.problem = which + " is cut off: " + std::to_string(bytes.size() - at) +
                       " bytes, a command has " + std::to_string(kCommandBytes);
      return result;
    }
    for (std::size_t i = 0; i < kPrefix.size(); ++i) {
      if (bytes[at + i] != kPrefix[i]) {
        result.problem = which + ": byte " + std::to_string(at + i) + " is " +
                         std::to_string(bytes[at + i]) + ", expected " + std::to_string(kPrefix[i]);
        return result;
      }
    }
    result.settings.push_back({bytes[at + kPrefix.size()], bytes[at + kPrefix.size() + 1]});
  }
  return result;
}

std::string describe(const SentSetting& setting) {
  static const std::array<const char*, 3> names = {"Light", "Middle", "Dark"};
  std::string text = "darkness ";
  text += setting.darkness < names.size() ? std::string(names[setting.darkness])
                                          : std::to_string(setting.darkness) + " (unknown)";
  // Job speeds 0 and 1 are sent as they are, so the codes 0 and 1 stand for two speeds each.
  const unsigned code = setting.speedCode;
  if (code > kLargestSpeedCode) return text + ", a speed that no PrintSpeed gives";
  text += ", PrintSpeed " + std::to_string(code + 2);
  if (code < 2) text += " or " + std::to_string(code);
  return text;
}

std::string describeCodes(const SentSetting& setting) {
  return "speed code " + std::to_string(setting.speedCode) + ", darkness code " +
         std::to_string(setting.darkness);
}

Result<std::uint16_t> parsePageCounter(const std::vector<std::uint8_t>& bytes) {
  if (bytes.size() != kCounterBytes) {
    return Problem{std::to_string(bytes.size()) + " bytes, a page counter has exactly " +
                   std::to_string(kCounterBytes)};
  }
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

}  // namespace kestra
