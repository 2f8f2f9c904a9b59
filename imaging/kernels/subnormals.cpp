// Sets and restores the processor's mode for numbers below the normal range: the rest of the filter
// computes as the floating-point standard says.
#include "imaging/kernels/subnormals.h"

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace kestra {
namespace {

#if defined(__x86_64__)

// Results as 0, operands as 0.
constexpr std::uint64_t kAsZero = 0x8040;

std::uint64_t controlWord() { return _mm_getcsr(); }
void setControlWord(std::uint64_t word) { _mm_setcsr(static_cast<unsigned>(word)); }

#elif defined(__aarch64__)

// One bit for results and operands.
constexpr std::uint64_t kAsZero = std::uint64_t{1} << 24U;

std::uint64_t controlWord() {
  std::uint64_t word = 0;
  __asm__ volatile("mrs %0, fpcr" : "=r"(word));
  return word;
}

void setControlWord(std::uint64_t word) { __asm__ volatile("msr fpcr, %0" : : "r"(word)); }

#else

constexpr std::uint64_t kAsZero = 0;

std::uint64_t controlWord() { return 0; }
void setControlWord(std::uint64_t /*word*/) {}

#endif

}  // namespace

SubnormalsAsZero::SubnormalsAsZero(bool wanted) : wanted_(wanted && isAvailable()) {
  if (!wanted_) return;
  before_ = controlWord();
  setControlWord(before_ | kAsZero);
}

SubnormalsAsZero::~SubnormalsAsZero() {
  if (wanted_) setControlWord(before_);
}

bool SubnormalsAsZero::isAvailable() { return kAsZero != 0; }

}  // namespace kestra
