// Finds the printer description of a model.
//
// The proof must use the very description that the queue has: page sizes, head width and choices
// come from it.
#pragma once

#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// "label" -> "kestra4.ppd", "stencil" -> "kestraa4.ppd", anything else -> "".
std::string ppdName(const std::string& model);

/// Where the description is looked for, in this order: beside the program (a build), in the
/// installation that the program belongs to, in the system's places.
std::vector<std::string> ppdPlaces(const std::string& model);

/// The first of the places that has a file.
[[nodiscard]] Result<std::string> findPpd(const std::string& model);

}  // namespace kestra
