// Messages on a local socket that keeps them apart and tells at once when the other end is gone.
#include "delivery/backend/channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>

#include "delivery/backend/time_left.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

// The first byte of a message says what it is; the rest is its text.
constexpr char kLine = 'L';
constexpr char kVerdict = 'V';
constexpr char kCancel = 'C';

// A little less than the longest line that the print system keeps in one piece.
constexpr std::size_t kLongestLine = 2000;
constexpr std::size_t kLongestMessage = kLongestLine + 1;

bool post(int descriptor, char kind, const std::string& text) {
  const std::string message = kind + text;
  return unbroken([&] {
           return send(descriptor, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
         }) >= 0;
}

}  // namespace

std::optional<Wire> makeWire() {
  std::array<int, 2> ends = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return std::nullopt;
  return Wire{ends[0], ends[1]};
}

std::string oneLine(std::string text) {
  if (text.size() > kLongestLine) text.resize(kLongestLine);
  constexpr char kDelete = 0x7F;
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < ' ' || c == kDelete; }, ' ');
  return text;
}

Report FrontEnd::next() const {
  std::array<char, kLongestMessage> buffer = {};
  for (;;) {
    const ssize_t size =
        unbroken([&] { return recv(descriptor_, buffer.data(), buffer.size(), 0); });
    // A reset says that the sender ended with a cancel unread; what it had said before is still
    // there.
    if (size < 0 && errno == ECONNRESET) continue;
    if (size <= 0) return {};
    const std::string text(buffer.data() + 1, static_cast<std::size_t>(size) - 1);
    if (buffer[0] == kLine) return {Report::Kind::kLine, text, 0};
    if (buffer[0] != kVerdict) continue;
    int code = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), code);
    if (read.ec == std::errc()) return {Report::Kind::kVerdict, "", code};
  }
}

void FrontEnd::cancel() const { static_cast<void>(post(descriptor_, kCancel, "")); }

SenderEnd::SenderEnd(int descriptor, Watch* watch) : descriptor_(descriptor), watch_(watch) {
  if (watch_ != nullptr) watch_->add(descriptor_, [this] { hear(); });
}

SenderEnd::~SenderEnd() {
  if (watch_ != nullptr) watch_->remove(descriptor_);
}

void SenderEnd::tell(const std::string& line) const {
  static_cast<void>(post(descriptor_, kLine, oneLine(line)));
}

void SenderEnd::verdict(int code, std::chrono::milliseconds patience) const {
  const Clock::time_point until = Clock::now() + patience;
  while (!post(descriptor_, kVerdict, std::to_string(code))) {
    if (errno != EAGAIN && errno != ENOBUFS) return;
    const int left = millisecondsTo(until);
    if (left == 0) return;
    pollfd room = {descriptor_, POLLOUT, 0};
    static_cast<void>(poll(&room, 1, left));
  }
}

void SenderEnd::hear() {
  char kind = 0;
  const ssize_t size = unbroken([&] { return recv(descriptor_, &kind, 1, MSG_DONTWAIT); });
  if (size > 0 && kind == kCancel) watch_->stop(Stop::kCancel);
  if (size == 0 || (size < 0 && errno != EAGAIN)) watch_->remove(descriptor_);
}

}  // namespace kestra::delivery
