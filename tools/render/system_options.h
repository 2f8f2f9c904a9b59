// The options of the print system itself, which every printer has, and the values it knows for
// them.
//
// It passes over a value that it does not know, and the page comes out as if nothing had been said.
#pragma once

#include <string>

namespace kestra {

/// Names do not depend on case.
[[nodiscard]] bool isSystemOption(const std::string& name);

/// " collate columns copies ...", a blank before each.
[[nodiscard]] std::string systemOptionNames();

/// The values that an option can have, a blank before each; empty where they cannot be listed.
[[nodiscard]] std::string systemOptionValues(const std::string& name);

/// One sentence where the value is none that the option can have, else an empty text.
[[nodiscard]] std::string wrongSystemValue(const std::string& name, const std::string& value);

/// A number of copies from 1 to 9999, or 0.
[[nodiscard]] int copyCount(const std::string& text);

}  // namespace kestra
