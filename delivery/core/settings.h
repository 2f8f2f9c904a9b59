// What an administrator may choose about delivery, in one small file.
#pragma once

#include <cstdint>
#include <string>

#include "delivery/core/doubt.h"

namespace kestra::delivery {

struct Settings {
  static constexpr std::uint64_t kAll = UINT64_MAX;

  Doubt doubt = Doubt::kAgain;
  /// Bytes of debug images that are kept, the newest ones; 0: none, kAll: all.
  std::uint64_t imageBytes = std::uint64_t{256} << 20;
};

/// Reads lines "doubt again|skip|hold" and "debug-images all|none|NUMBER MB"; '#' starts a comment.
/// A line that is none of these is left out and told in `problems`, one sentence a line.
[[nodiscard]] Settings parseSettings(const std::string& text, std::string& problems);

/// The same from a file; without one, or where it cannot be read, the defaults.
[[nodiscard]] Settings readSettings(const std::string& path, std::string& problems);

}  // namespace kestra::delivery
