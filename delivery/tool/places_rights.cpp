// Drops rights and checks that they are gone.
#include "delivery/tool/places_rights.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kestra::delivery {
namespace {

constexpr char kFiltersUser[] = "lp";

// Asks after the rights that we have now, not those of whoever started us.
bool isClosed(const std::string& folder) {
  return eaccess(folder.c_str(), R_OK | X_OK) != 0 && errno == EACCES;
}

Result<void> foldersAreOpen(const Places& places) {
  for (const std::string& folder : {places.state, places.frames}) {
    if (isClosed(folder)) {
      return Problem{folder + " is closed to you; run this as root, for example with sudo"};
    }
  }
  return {};
}

}  // namespace

Result<Owner> ownerOfPlaces(const Places& places) {
  for (const std::string& folder : {places.state, places.frames}) {
    struct stat status = {};
    if (lstat(folder.c_str(), &status) != 0) continue;
    if (S_ISDIR(status.st_mode)) return Owner{status.st_uid, status.st_gid};
    return Problem{folder + " is no folder; nothing behind it is used"};
  }
  const passwd* account = getpwnam(kFiltersUser);  // NOLINT(concurrency-mt-unsafe): one thread
  if (account != nullptr) return Owner{account->pw_uid, account->pw_gid};
  return Problem{"There is no user lp, and no folder that tells who runs the print filters"};
}

Result<void> becomeOwner(const Places& places) {
  const Result<Owner> owner = ownerOfPlaces(places);
  if (!owner) return Problem{owner.problem()};
  if (geteuid() != 0) return foldersAreOpen(places);
  if (owner->user != 0) {
    const bool became = setgroups(0, nullptr) == 0 && setgid(owner->group) == 0 &&
                        setuid(owner->user) == 0 && setuid(0) != 0 && geteuid() == owner->user;
    if (!became) return Problem{"The rights of root cannot be given up, so nothing is touched"};
  }
  return {};
}

AsOwner::AsOwner(const Places& places) {
  const Result<Owner> owner = ownerOfPlaces(places);
  if (!owner) {
    problem_ = owner.problem();
  } else if (geteuid() != 0) {
    problem_ = foldersAreOpen(places).problem();
  } else if (owner->user != 0) {
    isChanged_ = true;
    if (setegid(owner->group) != 0 || seteuid(owner->user) != 0) {
      problem_ = "The rights of root cannot be laid down, so nothing is touched";
    }
  }
}

AsOwner::~AsOwner() {
  if (!isChanged_) return;
  // From a user back to root: the system always grants it to whom it came from.
  static_cast<void>(seteuid(0) == 0 && setegid(0) == 0);
}

bool isInPlaces(const std::string& path, const Places& places) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path wanted = fs::weakly_canonical(fs::absolute(path, error), error);
  for (const std::string& place : {places.state, places.images, places.frames}) {
    const fs::path folder = fs::weakly_canonical(fs::path(place), error);
    const fs::path apart = wanted.lexically_relative(folder);
    if (!apart.empty() && *apart.begin() != "..") return true;
  }
  return false;
}

}  // namespace kestra::delivery
