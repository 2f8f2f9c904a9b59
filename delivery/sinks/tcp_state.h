// What the system knows about a connection's other end: how much it has acknowledged, how much room
// it has, whether it is there at all. From this follows which labels a printer has read.
#pragma once

#include <cstdint>
#include <optional>

namespace kestra::delivery {

/// One look at a connection; works on after the other end has reset it.
struct TcpSample {
  std::uint64_t out = 0;                ///< bytes unsent or not acknowledged
  std::optional<std::uint32_t> window;  ///< room that the other end offers; older systems hide it
  bool isSilent = false;                ///< the other end has left several attempts unanswered
};

/// @param connection  a connected TCP socket
[[nodiscard]] TcpSample sampleTcp(int connection);

/// Follows the room that a printer offers, to know how much of what it acknowledged it has read.
class WindowBook {
 public:
  void note(const TcpSample& sample);

  /// At most so many acknowledged bytes are unread, as far as the printer shows: a printer that has
  /// read everything offers as much room as it ever did.
  [[nodiscard]] std::uint64_t shownUnread() const;

  /// At most so many more are unread and do not show: a system may hold back as much room again as
  /// the most it ever offered (seen: 22,000 bytes unread behind an offer that had gone from 16,384
  /// to 8,192). 64 KiB where rooms are not known.
  [[nodiscard]] std::uint64_t mostHidden() const;

  /// At most so many are unread.
  [[nodiscard]] std::uint64_t mostUnread() const { return shownUnread() + mostHidden(); }

 private:
  std::uint64_t largest_ = 0;
  std::optional<std::uint32_t> last_;
};

}  // namespace kestra::delivery
