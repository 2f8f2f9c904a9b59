// A printer that takes bytes, and a way to it that breaks where a test says.
// Why: every byte of a job is a moment in which something can happen.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "delivery/core/sink.h"
#include "tests/delivery/core/frames.h"

namespace kestra::delivery::testing_support {

/// Keeps what each connection brought. A label is whole when all of its bytes came over one of
/// them.
struct PrinterOfBytes {
  std::vector<Bytes> connections;

  /// The whole labels in the order in which they came, all of `labelBytes` bytes; the first row's
  /// dots stand for a label.
  std::vector<int> labels(std::size_t labelBytes) const;
};

class BytesSink : public Sink {
 public:
  explicit BytesSink(PrinterOfBytes& printer) : printer_(printer) {}

  // The way breaks when so many bytes were handed over in all; once. The printer has not read the
  // last `unread` of them, and loses them.
  std::optional<std::uint64_t> breaksAt;
  std::uint64_t unread = 0;
  // The process ends there instead, as if killed.
  std::optional<std::uint64_t> diesAt;
  // What stops the job when so many bytes were handed over.
  std::optional<std::uint64_t> stopsAt;
  Stop stop = Stop::kCancel;
  // The job is stopped when all but the last byte of a page has arrived, so many pages later.
  std::optional<int> stopsAfterSettle;
  Watch* watch = nullptr;
  // The printer is away from here on, or the way is of no use.
  std::optional<Progress> opensAs;
  int finished = 0;
  std::vector<Before> opened;

  Progress open(Before before, const Patience& patience) override;
  Progress send(const std::uint8_t* data, std::size_t size, const Patience& patience) override;
  std::uint64_t sent() const override { return sent_; }
  Progress settle(const std::uint8_t* data, std::size_t size, const Patience& patience) override;
  Progress prove(const Patience& patience) override { return arrive(patience); }
  std::uint64_t surelyRead() const override { return sent_ > unread ? sent_ - unread : 0; }
  Progress finish(const Patience& patience) override;
  void drop() override;
  std::string problem() const override { return "the test cut it"; }

 private:
  Progress arrive(const Patience& patience);

  PrinterOfBytes& printer_;
  bool isOpen_ = false;
  bool isBroken_ = false;
  std::uint64_t sent_ = 0;
  std::uint64_t total_ = 0;  // over all connections
};

}  // namespace kestra::delivery::testing_support
