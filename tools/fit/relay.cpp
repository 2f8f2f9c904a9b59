// Blocks as large as a pipe holds, written from where they were read.
#include "tools/fit/relay.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "filter/base/unbroken.h"

namespace kestra {
namespace {

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kSmall = 2048;  // fewer bytes are collected, more are written at once

}  // namespace

Relay::Relay(int input, int output) : input_(input), output_(output), in_(kBlock) {
  out_.reserve(kBlock);
}

// Reads once, behind what is there. False at the end of the input.
bool Relay::fill() {
  flush();
  if (state_ != RelayState::kOpen) return false;
  if (inBegin_ == inEnd_) inBegin_ = inEnd_ = 0;
  if (inEnd_ == in_.size()) {
    std::memmove(in_.data(), next(), ready());
    inEnd_ -= inBegin_;
    inBegin_ = 0;
  }
  const ssize_t got =
      unbroken([&] { return read(input_, in_.data() + inEnd_, in_.size() - inEnd_); });
  if (got > 0) {
    inEnd_ += static_cast<std::size_t>(got);
    return true;
  }
  state_ = got == 0 ? RelayState::kEnded : RelayState::kReadFailed;
  error_ = got == 0 ? 0 : errno;
  return false;
}

void Relay::write(const std::uint8_t* bytes, std::size_t size) {
  if (state_ == RelayState::kReaderGone || state_ == RelayState::kWriteFailed) return;
  if (writeAll(output_, bytes, size)) return;
  state_ = errno == EPIPE ? RelayState::kReaderGone : RelayState::kWriteFailed;
  error_ = errno;
}

void Relay::flush() {
  write(out_.data(), out_.size());
  out_.clear();
}

std::size_t Relay::look(std::size_t size) {
  while (ready() < size && fill()) {
  }
  return std::min(size, ready());
}

void Relay::put(const std::uint8_t* bytes, std::size_t size) {
  if (out_.size() + size > kBlock) flush();
  if (size >= kBlock) {
    write(bytes, size);
  } else {
    out_.insert(out_.end(), bytes, bytes + size);
  }
}

bool Relay::pass(std::uint64_t size) {
  while (size > 0) {
    if (ready() == 0 && !fill()) return false;
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, ready()));
    if (piece < kSmall) {
      put(next(), piece);
    } else {
      flush();
      write(next(), piece);
    }
    inBegin_ += piece;
    size -= piece;
  }
  return true;
}

bool Relay::skip(std::uint64_t size) {
  while (size > 0) {
    if (ready() == 0 && !fill()) return false;
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, ready()));
    inBegin_ += piece;
    size -= piece;
  }
  return true;
}

bool Relay::take(std::uint64_t size, std::vector<std::uint8_t>* bytes) {
  while (size > 0) {
    if (ready() == 0 && !fill()) return false;
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, ready()));
    bytes->insert(bytes->end(), next(), next() + piece);
    inBegin_ += piece;
    size -= piece;
  }
  return true;
}

void Relay::passRest() {
  do {
    flush();
    write(next(), ready());
    inBegin_ = inEnd_;
  } while (fill());
}

}  // namespace kestra
