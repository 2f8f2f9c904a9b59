// Writes large files of mostly blank paper without its blank stretches.
//
// A debug image is as large as its page, and most of a label is blank: zeros that a file system can
// keep as holes, which cost neither time nor room on a small computer's memory card.
#pragma once

#include <cstddef>

namespace kestra {

/// Writes `size` bytes at `offset` of a file that ends there or before, and makes it end behind
/// them. Whole blocks of zeros become holes, which read as zeros.
/// @param descriptor  of a regular file, open for writing; its position is not used
/// @return false where the file system fails, as on a full disk: what was written before stays
bool writeSparse(int descriptor, std::size_t offset, const unsigned char* data, std::size_t size);

}  // namespace kestra
