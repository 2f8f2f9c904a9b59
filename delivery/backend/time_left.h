// Time as poll(2) counts it.
#pragma once

#include <algorithm>
#include <chrono>

#include "delivery/core/watch.h"

namespace kestra::delivery {

/// Milliseconds from now on, rounded up, so that a wait does not end before its time; 0 afterwards.
[[nodiscard]] inline int millisecondsTo(Clock::time_point until) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
  return static_cast<int>(std::max<long long>(left, 0));
}

}  // namespace kestra::delivery
