// What kestra-delivery does, and how it says so.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "delivery/core/places.h"
#include "delivery/tool/arguments.h"
#include "delivery/tool/left_over.h"
#include "delivery/tool/remembered.h"

namespace kestra::delivery {

inline constexpr int kAllWell = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

/// Each does what the command line asks for, and returns the exit status.
[[nodiscard]] int listJobs(const Arguments& arguments, const Places& places);
[[nodiscard]] int showJob(const Arguments& arguments, const Places& places);
[[nodiscard]] int sendByHand(const Arguments& arguments, const Places& places);
[[nodiscard]] int forgetJob(const Arguments& arguments, const Places& places);

/// What a printing's journal says of its end, in words: "held until ...".
[[nodiscard]] std::string stateWords(const Remembered& one);
/// The same as one word for programs.
[[nodiscard]] const char* stateWord(const Remembered& one);

/// The last printings that a person may want to know of: not at their end, or with labels left out.
[[nodiscard]] std::vector<Remembered> waitingJobs(const std::vector<Remembered>& all);

/// What jobs take care of themselves.
[[nodiscard]] CaredFor caredFor(const std::vector<Remembered>& all);

/// What `list` says. @param now  seconds since 1970
[[nodiscard]] std::string listWords(const std::vector<Remembered>& waiting,
                                    const std::vector<LeftJob>& left, long long now);
[[nodiscard]] std::string listJson(const std::vector<Remembered>& waiting,
                                   const std::vector<LeftJob>& left);

/// What `show` says of one printing.
[[nodiscard]] std::string showWords(const Remembered& one);

/// One sentence on standard error; returns kFailed.
inline int failed(const std::string& problem) {
  std::fprintf(stderr, "kestra-delivery: %s\n", problem.c_str());
  return kFailed;
}

}  // namespace kestra::delivery
