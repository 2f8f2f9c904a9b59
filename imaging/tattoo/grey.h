// The first steps of the stencil chain: grey levels, their threshold, their tone.
#pragma once

#include <array>
#include <cstdint>

#include "imaging/tattoo/qm_image.h"

namespace kestra {

/// A new grey image of the same size: 0.299 red + 0.587 green + 0.114 blue, rounded; grey images
/// are copied.
QMImage cvtGray(const QMImage& src);

/// The level that splits a grey image into two so that the first three moments of its histogram
/// stay the same (moment-preserving thresholding, Tsai, 1985).
/// @return 0 to 255; 128 where the moments have no real solution; -1 for a page of one level
int thresh_global_moments(const QMImage& grey);

/// The same in a job, for `count` grey bytes that no image owns, counted by a fast loop.
int momentThreshold(const unsigned char* grey, std::uint32_t count);

/// The tone table of `enh_piecewise_gamma`: below the knee (k / knee) ^ lowGamma * knee, from it on
/// ((k - knee) / (255 - knee)) ^ highGamma * (255 - knee) + knee, cut to an integer of which the
/// low 8 bits stay. Knee 64, 0.85, 0.7: 0 -> 0, 64 -> 64, 255 -> 255. Knee 255 sends 255 to 0.
std::array<std::uint8_t, 256> piecewiseGammaTable(int knee, float lowGamma, float highGamma);

/// Reshapes the tones of a grey image in place by two power curves that meet at the knee. Jobs look
/// levels up in the table row by row, see `UnsharpRows`.
void enh_piecewise_gamma(QMImage& grey, int knee, float lowGamma, float highGamma);

}  // namespace kestra
