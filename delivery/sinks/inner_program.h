// The print system's own program for a way that is not ours, such as USB: which one it is, and
// whether it may be started with what rights.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "delivery/core/device_uri.h"
#include "filter/base/result.h"

namespace kestra::delivery {

struct UserAndGroup {
  uid_t user = 0;
  gid_t group = 0;
};

/// All that is needed to start the program; decided once, before any right is given up.
struct InnerProgram {
  std::string scheme;
  std::string path;
  std::vector<std::string> words;        ///< argv
  std::vector<std::string> environment;  ///< "NAME=value"
  bool needsRoot = false;  ///< by its mode, as the print system reads it: only root can execute it
  /// Whom it belongs to if an administrator starts it: the user then holds unless it needs root,
  /// the group always. Nothing: nobody else can be become.
  std::optional<UserAndGroup> account;
};

/// What the program hears of the job; all of it may have been written by anybody.
struct InnerJob {
  std::string id, user, title, options;
};

/// Finds the program of a URI's scheme in `serverBin`/backend. A file that somebody else than the
/// administrator or ourselves could have written is refused.
/// @param account  of filters; nothing where we are not the administrator
/// @return a problem where there is none to be started
[[nodiscard]] Result<InnerProgram> findInnerProgram(const std::string& serverBin,
                                                    const DeviceUri& uri, const InnerJob& job,
                                                    const std::optional<UserAndGroup>& account);

}  // namespace kestra::delivery
