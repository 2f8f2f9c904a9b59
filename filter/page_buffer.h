// The memory that holds one page's pixels, used again from page to page.
#pragma once

#include <cstddef>

namespace kestra {

/// A growing block of bytes, zeroed for every page.
class PageBuffer {
 public:
  PageBuffer() = default;
  ~PageBuffer();
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;

  /// Makes room for `size` zero bytes, in the same memory where they fit; false where there is no
  /// memory for them, and then the former bytes are gone.
  [[nodiscard]] bool reset(std::size_t size);

  /// The bytes; valid until the next `reset`.
  unsigned char* data() { return bytes_; }

 private:
  unsigned char* bytes_ = nullptr;  // owned
  std::size_t capacity_ = 0;        // bytes of the block
};

}  // namespace kestra
