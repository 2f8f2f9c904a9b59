// Where delivery finds frames and keeps what it must not forget.
#pragma once

#include <string>

namespace kestra::delivery {

/// Folders and files; no slash at the end.
struct Places {
  std::string frames;    ///< page frames, made by the filter
  std::string images;    ///< folder of the debug images
  std::string state;     ///< journals and locks of delivery, 0700, the filters' user's
  std::string settings;  ///< file of the administrator's choices; need not exist
};

/// The machine's own places, or the same below the folder that KESTRA_DELIVERY_ROOT names: tests
/// and trials put one in front. The print system hands no variable of a user's to its programs.
[[nodiscard]] Places placesOfThisMachine();

}  // namespace kestra::delivery
