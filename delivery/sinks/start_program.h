// Starts a program of the print system the way that the print system does.
#pragma once

#include <sys/types.h>

#include <array>

#include "delivery/sinks/inner_program.h"

namespace kestra::delivery {

/// The program's ends of its channels.
struct InnerEnds {
  int input = -1;  ///< becomes 0: the page's bytes
  int log = -1;    ///< becomes 2: log lines
  int back = -1;   ///< becomes 3: what the printer says
  int side = -1;   ///< becomes 4: requests to the program
};

struct StartedProgram {
  pid_t process = -1;
  int error = 0;  ///< 0, or why it did not start
};

/// Starts it in a process group of its own with these four descriptors, the null device as 1, and
/// no other; signals as at the start of any program. It ends with its parent. The descriptors stay
/// the caller's.
[[nodiscard]] StartedProgram startProgram(const InnerProgram& program, const InnerEnds& ends);

}  // namespace kestra::delivery
