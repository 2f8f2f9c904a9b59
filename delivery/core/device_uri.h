// Reads where a queue prints to: "kestra:" in front of the URI of any other way to a printer, so
// that every such way can be had with each label exactly once.
#pragma once

#include <optional>
#include <string>

#include "delivery/core/doubt.h"

namespace kestra::delivery {

/// A device URI of ours, taken apart.
struct DeviceUri {
  std::string problem;         ///< one sentence if the URI is of no use; then nothing else is set
  std::string scheme;          ///< of the inner URI, in small letters: "socket", "usb"
  std::string inner;           ///< the inner URI, without our own option
  std::string host;            ///< of "socket"
  int port = 0;                ///< of "socket"
  std::optional<Doubt> doubt;  ///< option "doubt" of the inner URI, if it is there

  [[nodiscard]] bool isGood() const { return problem.empty(); }
};

/// Reads "kestra:SCHEME:REST", as the administrator gave it: nothing in it is trusted.
[[nodiscard]] DeviceUri parseDeviceUri(const std::string& uri);

/// Where labels go that are sent by hand.
struct Target {
  enum class Kind { kSocket, kUnix, kOutput, kFile, kBackend };
  std::string problem;  ///< as of a URI
  Kind kind = Kind::kOutput;
  std::string path;  ///< of kUnix and kFile
  DeviceUri uri;     ///< of kSocket and kBackend

  [[nodiscard]] bool isGood() const { return problem.empty(); }
};

/// Reads "socket://host:port", "kestra:...", "unix:PATH", "-" (standard output), or a path.
[[nodiscard]] Target parseTarget(const std::string& text);

/// The same text for all ways to write the address of one printer, without user and password: the
/// name of its lock.
[[nodiscard]] std::string deviceName(const DeviceUri& uri);

/// A URI without user and password, for messages.
[[nodiscard]] std::string publicText(const std::string& uri);

}  // namespace kestra::delivery
