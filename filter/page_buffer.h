// The memory that holds one page's pixels, used again from page to page.
#pragma once

#include <cstddef>

#include "filter/base/page_block.h"

namespace kestra {

/// A growing block of bytes, zeroed for every page.
class PageBuffer {
 public:
  /// Makes room for `size` zero bytes, in the same memory where they fit; false where there is no
  /// memory for them, and then the former bytes are gone.
  [[nodiscard]] bool reset(std::size_t size);

  /// The bytes; valid until the next `reset`.
  unsigned char* data() { return block_.get(); }

 private:
  PageBlock block_;
};

}  // namespace kestra
