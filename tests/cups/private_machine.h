// Runs the tests where nothing they print can reach the machine's own print system or spool.
// Why: the filter's places are fixed, and a test that dies must leave no print server behind.
#pragma once

#include <functional>
#include <string>

namespace kestra::cups_tests {

struct Machine {
  /// What stands before "var/spool/cups" and "tmp" in the names of the filter's places: "/" where
  /// they are private mounts, else a directory that the relative build of the filter is started in.
  std::string root = "/";
  /// What keeps the tests from running here; empty where they can.
  std::string obstacle;
};

/// The machine of this process; valid inside the body of runInPrivateMachine.
const Machine& thisMachine();

/// Runs the body in namespaces of its own (mounts, network, processes: whatever it started ends
/// with it, and the places are in memory), or in a fresh directory where namespaces are refused.
/// Returns the body's result.
int runInPrivateMachine(const std::function<int()>& body);

}  // namespace kestra::cups_tests
