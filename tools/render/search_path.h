// The folders in which programs are looked for.
//
// A relative one is whatever folder the documents lie in: a program named gs there is no renderer.
#pragma once

#include <string>

namespace kestra {

/// The absolute folders of PATH, with colons between them, for this program and for those it
/// starts; "/", where no programs are, where there are none.
[[nodiscard]] std::string safePath();

/// The first executable of that name in them, or an empty text.
[[nodiscard]] std::string onPath(const std::string& name);

}  // namespace kestra
