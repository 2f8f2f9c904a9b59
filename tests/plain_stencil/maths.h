// Single-precision root, exponential, logarithm and power as the stencil halftones compute them.
// Why: a last bit here can move a page's threshold by a level, and with it most of its dots.
#pragma once

namespace kestra::plain_stencil {

/// No loop takes more than this many steps.
inline constexpr int kMaxSteps = 4096;
/// Smallest step that lets a loop go on.
inline constexpr float kSmallestStep = 0.000001F;

float abs(float x);

/// Newton from x / 2; the result is the estimate before the last step.
/// steps: where not null, receives the number of estimates computed, 1 to kMaxSteps, 0 without
/// loop.
float sqrt(float x, int* steps = nullptr);

/// At most 20 terms after the leading 1.
float exp(float x);

/// From (x - 1) / (1 + x), next estimate y - (exp(y) - x) / x; result and steps as in `sqrt`.
float ln(float x, int* steps = nullptr);

float pow(float x, float y, int* steps = nullptr);

/// Halves go away from zero; what does not fit gives -2147483648.
int round(float x);

int limit(int value, int low, int high);

/// The low 8 bits of a number, 0..255.
int lowByte(int value);

}  // namespace kestra::plain_stencil
