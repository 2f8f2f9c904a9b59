// Gives each page zeroed memory: pixels that a stream does not deliver print nothing.
#include "filter/page_buffer.h"

#include <cstring>

namespace kestra {

bool PageBuffer::reset(std::size_t size) {
  if (block_ != nullptr && size <= block_.get_deleter().size) {
    std::memset(block_.get(), 0, size);
    return true;
  }
  block_.reset();  // before there are two
  block_ = makePageBlock(size);
  return block_ != nullptr;
}

}  // namespace kestra
