// Labels into a descriptor or a file: the next program of the print system, a device file, a file
// to look at, a socket of this machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "delivery/core/sink.h"

namespace kestra::delivery {

/// Where the reader is a pipe's or a local socket's other end, it is known what has been read. Of a
/// device or a file only that it was handed over.
class StreamSink : public Sink {
 public:
  /// Over an open descriptor, which may be shared with other processes and stays the caller's.
  /// @param watch  lives longer than the sink
  StreamSink(int descriptor, std::string name, Watch& watch, Tell tell);

  enum class Place { kFile, kUnix };
  /// To a file, FIFO or device, or to a socket of this machine.
  StreamSink(Place place, std::string path, Watch& watch, Tell tell);
  ~StreamSink() override;

  [[nodiscard]] Progress open(Before before, const Patience& patience) override;
  [[nodiscard]] Progress send(const std::uint8_t* data, std::size_t size,
                              const Patience& patience) override;
  [[nodiscard]] std::uint64_t sent() const override { return sent_; }
  [[nodiscard]] Progress settle(const std::uint8_t* data, std::size_t size,
                                const Patience& patience) override;
  [[nodiscard]] Progress prove(const Patience& patience) override;
  [[nodiscard]] std::uint64_t surelyRead() const override { return read_; }
  [[nodiscard]] Progress finish(const Patience& patience) override;
  void drop() override;
  [[nodiscard]] std::string problem() const override { return problem_; }

 private:
  enum class Kind { kPipe, kSocket, kFile, kDevice };

  int openPlace();
  void learnKind();
  [[nodiscard]] std::size_t waiting() const;
  void note();
  Progress broken(int error);
  void hangUp();

  const Place place_ = Place::kFile;
  const std::string path_;  // empty: a given descriptor
  const std::string name_;
  Watch& watch_;
  const Tell tell_;
  int descriptor_ = -1;
  Kind kind_ = Kind::kFile;
  bool wasReset_ = false;  // the other end left without reading everything
  bool wasMade_ = false;   // the file was begun anew by an earlier `open`
  bool isOver_ = false;    // a given descriptor that cannot be opened again
  std::uint64_t sent_ = 0, read_ = 0;
  std::string problem_;
};

}  // namespace kestra::delivery
