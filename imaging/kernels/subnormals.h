// Lets the processor count numbers below the normal range as 0, as it is slow with them and they
// show in no print.
#pragma once

#include <cstdint>

namespace kestra {

/// From here to the end of the scope, single and double precision results and operands below the
/// normal range are 0, on processors that can do so; then the mode is as it was before. Its calls
/// are never inlined, so that no arithmetic moves across them.
class SubnormalsAsZero {
 public:
  /// @param wanted  false: changes nothing
  explicit SubnormalsAsZero(bool wanted);
  ~SubnormalsAsZero();
  SubnormalsAsZero(const SubnormalsAsZero&) = delete;
  SubnormalsAsZero& operator=(const SubnormalsAsZero&) = delete;

  /// Whether this kind of processor has such a mode.
  static bool isAvailable();

 private:
  bool wanted_;
  std::uint64_t before_ = 0;
};

}  // namespace kestra
