// For builds that count covered lines: they would forget those of a child, which ends without the
// usual clearing up or becomes another program.
#pragma once

#if defined(KESTRA_COVERAGE)
extern "C" int __llvm_profile_write_file();
#endif

namespace kestra::delivery {

/// Adds what this process has gone through to the counts; nothing in any other build.
inline void countLines() {
#if defined(KESTRA_COVERAGE)
  static_cast<void>(__llvm_profile_write_file());
#endif
}

}  // namespace kestra::delivery
