// Units that lengths on paper are given in.
#pragma once

namespace kestra {

inline constexpr double kMillimetresPerInch = 25.4;
inline constexpr float kPointsPerInch = 72.0F;

}  // namespace kestra
