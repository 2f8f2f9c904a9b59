// Owning file pointers, and the one way in which diagnostics are opened for writing.
#pragma once

#include <cstdio>
#include <memory>

namespace kestra {

/// Closes the stream of an owning file pointer.
struct CFileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

using FilePtr = std::unique_ptr<std::FILE, CFileCloser>;

/// Opens a file for writing from its start, readable by its owner alone: it may show what people
/// print. The names of diagnostics can be guessed and lie in folders that others write to, so
/// nothing but a regular file of our own with a single name is opened: no link is followed, no FIFO
/// waited for, no other user's file touched.
/// @return null where such a file cannot be had, with `errno` set
[[nodiscard]] FilePtr openPrivateFile(const char* path);

}  // namespace kestra
