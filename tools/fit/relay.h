// Moves bytes from one descriptor to another, with a look at those that come next.
//
// A page that fits is moved in large blocks as it came; only the bytes that change are touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestra {

/// How far a relay has come.
enum class RelayState {
  kOpen,
  kEnded,        ///< the input has ended
  kReaderGone,   ///< nobody reads the output any more
  kReadFailed,   ///< `errno` of the read is kept in `error`
  kWriteFailed,  ///< alike
};

/// Reads and writes whole pieces, whatever sizes the descriptors take. Both stay the caller's.
/// After the first failure nothing is read or written any more. Before it waits for input it hands
/// on all that is ready, so that no page waits for the next one.
class Relay {
 public:
  Relay(int input, int output);

  [[nodiscard]] RelayState state() const { return state_; }
  [[nodiscard]] int error() const { return error_; }

  /// Waits until `size` bytes (at most `kMostAhead`) of input are there, or all there will be.
  /// @return how many are there, `size` at most; `next` points at them until the next call
  [[nodiscard]] std::size_t look(std::size_t size);
  [[nodiscard]] const std::uint8_t* next() const { return in_.data() + inBegin_; }

  /// Hands on the next `size` bytes as they are; false where the input ends before.
  [[nodiscard]] bool pass(std::uint64_t size);

  /// Leaves the next `size` bytes out; false where the input ends before.
  [[nodiscard]] bool skip(std::uint64_t size);

  /// Adds the next `size` bytes to `bytes`; false where the input ends before, with what there was.
  [[nodiscard]] bool take(std::uint64_t size, std::vector<std::uint8_t>* bytes);

  /// Writes bytes of the caller's.
  void put(const std::uint8_t* bytes, std::size_t size);

  /// Hands on what is left of the input.
  void passRest();

  /// Hands on all that is ready.
  void flush();

  static constexpr std::size_t kMostAhead = 4096;

 private:
  [[nodiscard]] std::size_t ready() const { return inEnd_ - inBegin_; }
  bool fill();
  void write(const std::uint8_t* bytes, std::size_t size);

  int input_;
  int output_;
  RelayState state_ = RelayState::kOpen;
  int error_ = 0;
  std::vector<std::uint8_t> in_;
  std::size_t inBegin_ = 0;
  std::size_t inEnd_ = 0;
  std::vector<std::uint8_t> out_;  ///< waits to be written
};

}  // namespace kestra
