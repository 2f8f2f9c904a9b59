// Gives each page zeroed memory: pixels that a stream does not deliver print nothing.
#include "filter/page_buffer.h"

#include <cstring>

#include "imaging/kernels/page_block.h"

namespace kestra {

PageBuffer::~PageBuffer() { freePageBlock(bytes_, capacity_); }

bool PageBuffer::reset(std::size_t size) {
  if (bytes_ != nullptr && size <= capacity_) {
    std::memset(bytes_, 0, size);
    return true;
  }
  freePageBlock(bytes_, capacity_);
  bytes_ = static_cast<unsigned char*>(allocatePageBlock(size));  // zeroed
  capacity_ = bytes_ == nullptr ? 0 : size;
  return bytes_ != nullptr;
}

}  // namespace kestra
