// Takes a fuzzer's bytes apart into numbers and texts, zeros when they run out.
// Why: a small change of the input should stay a small change of the job that it describes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kestra::fuzz {

class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return size_ == 0; }

  std::uint8_t byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }
  /// 0 to end - 1.
  unsigned below(unsigned end) { return byte() % end; }
  bool flag() { return (byte() & 1U) != 0; }
  std::uint16_t word() {
    const unsigned low = byte();
    return static_cast<std::uint16_t>(low | unsigned{byte()} << 8U);
  }
  std::uint32_t number() {
    const std::uint32_t low = word();
    return low | std::uint32_t{word()} << 16U;
  }
  /// Up to the next `end`, which is left out, or to the end of the input.
  std::string text(char end) {
    std::string result;
    while (size_ > 0) {
      const char c = static_cast<char>(byte());
      if (c == end) break;
      result += c;
    }
    return result;
  }
  /// At most `most` bytes.
  std::vector<std::uint8_t> bytes(std::size_t most) {
    const std::size_t count = most < size_ ? most : size_;
    std::vector<std::uint8_t> result(data_, data_ + count);
    data_ += count;
    size_ -= count;
    return result;
  }
  std::vector<std::uint8_t> rest() { return bytes(size_); }

 private:
  const std::uint8_t* data_;  // the fuzzer's
  std::size_t size_;
};

}  // namespace kestra::fuzz
