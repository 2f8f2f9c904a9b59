// Owning file pointers, and the ways in which files in shared folders are opened.
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

/// Opens a file for reading, unless it is a link, or anything but a regular file: a FIFO of that
/// name would hold up the job for ever.
/// @return null where there is no such file, with `errno` set
[[nodiscard]] FilePtr openRegularFile(const char* path);

/// Whether a path is a folder itself, not a link to one, that belongs to us or to the
/// administrator: what is put into another user's folder can be read and exchanged by that user.
[[nodiscard]] bool isTrustedFolder(const char* path);

/// Opens the null device in place of standard input, output and error where they are closed.
/// Otherwise the next file opened would take their number, and log lines would end in a page frame.
void openMissingStandardStreams();

}  // namespace kestra
