// Asks the kernel for the state of a connection.
#include "delivery/sinks/tcp_state.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>

namespace kestra::delivery {

TcpSample sampleTcp(int connection) {
  TcpSample sample;
  int queued = 0;
  if (ioctl(connection, SIOCOUTQ, &queued) == 0 && queued > 0) {
    sample.out = static_cast<std::uint64_t>(queued);
  }
  tcp_info info = {};
  socklen_t size = sizeof info;
  if (getsockopt(connection, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return sample;
  if (size >= offsetof(tcp_info, tcpi_snd_wnd) + sizeof info.tcpi_snd_wnd) {
    sample.window = info.tcpi_snd_wnd;
  }
  // Segments under way are sent again when nobody answers; without room there are only questions
  // whether there is some, and each answer resets their count.
  constexpr unsigned kUnanswered = 3;
  const unsigned tries = info.tcpi_unacked > 0 ? info.tcpi_retransmits : info.tcpi_probes;
  sample.isSilent = sample.out > 0 && tries >= kUnanswered;
  return sample;
}

void WindowBook::note(const TcpSample& sample) {
  if (!sample.window) return;
  last_ = sample.window;
  largest_ = std::max<std::uint64_t>(largest_, *sample.window);
}

std::uint64_t WindowBook::shownUnread() const { return last_ ? largest_ - *last_ : 0; }

std::uint64_t WindowBook::mostHidden() const {
  constexpr std::uint64_t kUsualRoom = 65536;
  return last_ ? largest_ : kUsualRoom;
}

}  // namespace kestra::delivery
