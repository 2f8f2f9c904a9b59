// What becomes of a label of which nobody can know whether it came: the administrator's choice for
// a queue, or that of the person who prints.
#pragma once

#include <optional>
#include <string_view>

namespace kestra::delivery {

enum class Doubt {
  kAgain,  ///< it is sent again: a label too many can be thrown away
  kSkip,   ///< it is not sent again: a label too few can be printed again
  kHold,   ///< the job is held, and a person looks at the printer
};

/// The three words: "again", "skip", "hold".
[[nodiscard]] inline std::optional<Doubt> doubtOfWord(std::string_view word) {
  if (word == "again") return Doubt::kAgain;
  if (word == "skip") return Doubt::kSkip;
  if (word == "hold") return Doubt::kHold;
  return std::nullopt;
}

}  // namespace kestra::delivery
