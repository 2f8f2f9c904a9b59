// One line of what a stock backend finds, and the same device reached through us.
#pragma once

#include <optional>
#include <string>

namespace kestra::delivery {

/// A device as the print system lists it. Texts may hold any byte: they come from the device.
struct DeviceLine {
  std::string kind;  ///< "direct", "serial", "network", "file"
  std::string uri;
  std::string makeAndModel;
  std::string info;
  std::string id;  ///< IEEE 1284 device id
  std::string location;
};

/// Reads `kind uri "make model" "info" "device-id" "location"`, the last two of which may be
/// missing; in quotes a backslash takes the next character as it is.
/// @param line  without its end
/// @return nothing where it is another line
[[nodiscard]] std::optional<DeviceLine> readDeviceLine(const std::string& line);

/// The device as we offer it: the address behind ours, the information saying what is different.
/// Every control character becomes a blank and long texts are cut, so that one device stays one
/// line.
/// @return nothing where the device is none of this machine's own, or its address is no use to us
[[nodiscard]] std::optional<DeviceLine> deviceThroughUs(const DeviceLine& device);

}  // namespace kestra::delivery
