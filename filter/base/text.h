// Text helpers for paths and for the fixed-length fields of the settings record.
#pragma once

#include <cstddef>

namespace kestra {

/// The last component of a path, for '/' and '\\' alike: "a/b\\c" gives "c", "a/" gives "".
/// @return a pointer into `path` itself (valid as long as `path` is); null for a null path
const char* wrenPathGetBasename(const char* path);

/// Copies at most `len` bytes of `src`, fills the rest of `dst` with zero bytes and always ends it
/// with one, so that at most `len` - 1 characters arrive.
/// @param dst  room for `len` bytes
/// @param len  size of `dst` in bytes, at least 1
/// @return `dst`
char* wrenStrCpy(char* dst, const char* src, std::size_t len);

}  // namespace kestra
