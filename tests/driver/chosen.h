// What the filter must make of choices in a printer description, worked out choice by choice.
// Why: the expected page is predicted from the names a user picks, not from what the filter says.
#pragma once

#include <cups/ppd.h>

#include <string>

#include "tests/plain/job.h"

namespace kestra::driver {

/// Settings and resolution of a job.
struct Chosen {
  plain::Settings settings;
  int dpi = 203;
};

/// The defaults of a description.
Chosen defaultsOf(ppd_file_t* ppd);

/// Adds one choice; false for an option that no rule is known for.
bool choose(Chosen& chosen, ppd_file_t* ppd, const std::string& keyword, const std::string& choice);

}  // namespace kestra::driver
