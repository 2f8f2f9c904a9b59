// The print system's format for devices, read as it reads it.
#include "delivery/backend/device_line.h"

#include <array>
#include <cstddef>

#include "delivery/backend/channel.h"
#include "delivery/core/device_uri.h"

namespace kestra::delivery {
namespace {

// What the print system keeps of a text and of a device id.
constexpr std::size_t kLongestText = 127;
constexpr std::size_t kLongestId = 1023;

void skipBlanks(const std::string& line, std::size_t& at) {
  while (at < line.size() && line[at] == ' ') ++at;
}

// A word up to a blank, or what stands in quotes. Nothing where the line ends, or a quote does not.
std::optional<std::string> nextWord(const std::string& line, std::size_t& at) {
  skipBlanks(line, at);
  if (at == line.size()) return std::nullopt;
  std::string word;
  if (line[at] != '"') {
    while (at < line.size() && line[at] != ' ') word += line[at++];
    return word;
  }
  for (++at; at < line.size() && line[at] != '"'; ++at) {
    if (line[at] == '\\' && at + 1 < line.size()) ++at;
    word += line[at];
  }
  if (at == line.size()) return std::nullopt;
  ++at;
  return word;
}

std::string textOf(const std::string& text, std::size_t longest) {
  return oneLine(text).substr(0, longest);
}

}  // namespace

std::optional<DeviceLine> readDeviceLine(const std::string& line) {
  std::array<std::string, 6> words;
  constexpr std::size_t kNeeded = 4;
  std::size_t at = 0;
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::optional<std::string> word = nextWord(line, at);
    if (!word && i < kNeeded) return std::nullopt;
    if (!word) break;
    words[i] = *word;
  }
  return DeviceLine{words[0], words[1], words[2], words[3], words[4], words[5]};
}

std::optional<DeviceLine> deviceThroughUs(const DeviceLine& device) {
  if (device.kind != "direct" && device.kind != "serial") return std::nullopt;
  DeviceLine ours;
  ours.kind = device.kind;
  ours.uri = "kestra:" + device.uri;
  if (!parseDeviceUri(ours.uri).isGood()) return std::nullopt;
  constexpr const char* kPromise = " (each label exactly once)";
  ours.makeAndModel = textOf(device.makeAndModel, kLongestText);
  ours.info = textOf(device.info, kLongestText - std::string(kPromise).size()) + kPromise;
  ours.id = textOf(device.id, kLongestId);
  ours.location = textOf(device.location, kLongestText);
  return ours;
}

}  // namespace kestra::delivery
