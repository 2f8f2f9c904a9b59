// The small QR code on a test label.
//
// It is the same on every label, so no program that draws codes is needed where labels are printed.
#pragma once

#include <array>
#include <cstdint>

namespace kestra::testlabel {

constexpr int kCodeModules = 21;

/// Rows from the top, the leftmost module in bit 20; 1 is black. It says "KESTRA TEST LABEL", with
/// error correction M.
extern const std::array<std::uint32_t, kCodeModules> kCode;

}  // namespace kestra::testlabel
