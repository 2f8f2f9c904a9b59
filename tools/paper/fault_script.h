// What goes wrong with the printer, and when: the words of a fault as values.
//
// A fault at a byte of a label can be repeated, one made by hand cannot.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra::paper {

enum class ActionKind {
  kPause,        ///< stops reading for `seconds`
  kSlow,         ///< prints `speed` mm a second, for `seconds` or for good
  kClose,        ///< reads what is there, closes in order
  kReset,        ///< reads what is there, resets the connection
  kResetUnread,  ///< resets it while bytes are unread
  kDeaf,         ///< reads nothing more from the connection, for `seconds` or as long as it lasts
  kRefuse,       ///< resets it and lets nobody connect for `seconds`
  kPowerCycle,   ///< the same, and forgets the label under way
  kNoClose,      ///< from now on never closes after the sender did
  kGarbage,      ///< sends `bytes` to the sender
  kDie,          ///< ends the program at once
};

struct Action {
  ActionKind kind = ActionKind::kPause;
  std::optional<double> seconds;
  double speed = 0;   ///< mm a second, 0 for as fast as it comes
  std::string bytes;  ///< of kGarbage
  std::string text;   ///< the words it was made from
};

enum class WhenKind {
  kStart,       ///< before the first connection
  kConnection,  ///< when connection `number` is accepted
  kLabel,       ///< when `percent` of the bytes of label `number` have come, its head at
                ///< least; 0: its first byte
  kAfter,       ///< when `number` labels are whole
  kByte,        ///< when `number` bytes have come
};

struct When {
  WhenKind kind = WhenKind::kStart;
  std::uint64_t number = 0;
  unsigned percent = 0;
  std::string text;  ///< the words it was made from
};

struct PlannedFault {
  When when;
  Action action;
};

/// "pause 2", "reset", ...: see the program's help.
/// @return one sentence where the words make no sense
[[nodiscard]] Result<Action> parseAction(const std::string& text);

/// "label 3 50% reset": a moment, then an action.
[[nodiscard]] Result<PlannedFault> parseFault(const std::string& text);

/// A fault a line; empty lines and those that start with '#' are none.
[[nodiscard]] Result<std::vector<PlannedFault>> parseScript(const std::string& text);

}  // namespace kestra::paper
