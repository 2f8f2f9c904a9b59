// Bytes go in one by one, so that a fault can fall between any two.
#include "tests/delivery/core/printer_of_bytes.h"

#include <unistd.h>

namespace kestra::delivery::testing_support {

std::vector<int> PrinterOfBytes::labels(std::size_t labelBytes) const {
  constexpr std::size_t kFirstDots = kCommandBytes + kFrameHeaderBytes + 2;
  std::vector<int> found;
  for (const Bytes& bytes : connections) {
    for (std::size_t at = 0; at + labelBytes <= bytes.size(); at += labelBytes) {
      found.push_back(bytes[at + kFirstDots]);
    }
  }
  return found;
}

Progress BytesSink::open(Before before, const Patience& patience) {
  if (opensAs) return *opensAs;
  if (watch != nullptr && watch->isStopped(patience)) return Progress::kStopped;
  if (isBroken_) return Progress::kBroken;
  if (!isOpen_) {
    printer_.connections.emplace_back();
    opened.push_back(before);
  }
  isOpen_ = true;
  return Progress::kDone;
}

Progress BytesSink::send(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  for (std::size_t i = 0; i < size; ++i) {
    if (watch != nullptr && watch->isStopped(patience)) return Progress::kStopped;
    const Progress progress = arrive(patience);
    if (progress != Progress::kDone) return progress;
    printer_.connections.back().push_back(data[i]);
    ++sent_;
    ++total_;
    if (stopsAt == total_) watch->stop(stop);
  }
  return Progress::kDone;
}

Progress BytesSink::settle(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  Progress progress = send(data, size, patience);
  if (progress == Progress::kDone) progress = arrive(patience);
  if (progress == Progress::kDone && stopsAfterSettle && (*stopsAfterSettle)-- == 0) {
    watch->stop(stop);
  }
  return progress;
}

Progress BytesSink::arrive(const Patience& patience) {
  if (diesAt == total_) _exit(0);
  if (breaksAt == total_ && !isBroken_) {
    breaksAt.reset();
    isBroken_ = true;
    Bytes& read = printer_.connections.back();
    read.resize(read.size() > unread ? read.size() - unread : 0);
  }
  if (isBroken_) return Progress::kBroken;
  return watch != nullptr && watch->isStopped(patience) ? Progress::kStopped : Progress::kDone;
}

Progress BytesSink::finish(const Patience& patience) {
  if (!isOpen_) return Progress::kDone;
  const Progress progress = arrive(patience);
  if (progress == Progress::kDone) {
    ++finished;
    isOpen_ = false;
    sent_ = 0;
  }
  return progress;
}

void BytesSink::drop() {
  isOpen_ = false;
  isBroken_ = false;
  sent_ = 0;
}

}  // namespace kestra::delivery::testing_support
