// Lists the printers that a queue of ours can print to: those that the stock backends find at this
// machine. The network is left alone deliberately: the print system itself asks it at the same
// time, and whoever finds a printer there puts "kestra:" in front of its address.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "delivery/backend/rights.h"

namespace kestra::delivery {

/// A stock backend that may be asked for its devices.
struct LocalBackend {
  std::string name;
  std::string path;
  bool needsRoot = false;  ///< by its mode, as the print system reads it
};

/// The backends in a folder that look for printers at this machine, by name. Left out: those that
/// ask the network, ourselves, and files that somebody else than the administrator could have
/// written.
[[nodiscard]] std::vector<LocalBackend> localBackends(const std::string& folder);

struct DiscoveryTimes {
  std::chrono::milliseconds answers = std::chrono::seconds(5);  ///< for all backends, side by side
  std::chrono::milliseconds all = std::chrono::seconds(7);  ///< also where nobody reads our list
};

/// Prints the list to standard output, each device as soon as it is found. What the backends say is
/// read with the account's rights alone.
/// @return exit code for the print system
[[nodiscard]] int listDevices(const std::string& folder, const Account& account,
                              const DiscoveryTimes& times = {});

}  // namespace kestra::delivery
