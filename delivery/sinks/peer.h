// Words about a network printer: how it is called, and why it cannot be had.
#pragma once

#include <string>

namespace kestra::delivery {

/// "host:9100", an address of the longer kind in brackets.
[[nodiscard]] std::string nameOfPeer(const std::string& host, const std::string& port);

/// @param error  an errno of connecting, sending or receiving
[[nodiscard]] std::string reasonOf(int error);

/// Whether a connection leads to itself: on one machine one to a free port can.
[[nodiscard]] bool isOwnEnd(int connection);

}  // namespace kestra::delivery
