// Whose rights the folders are looked at with: root must leave no file of root's where jobs write,
// or the next job could not go on.
#pragma once

#include <sys/types.h>

#include <string>

#include "delivery/core/places.h"
#include "filter/base/result.h"

namespace kestra::delivery {

struct Owner {
  uid_t user = 0;
  gid_t group = 0;
};

/// Who owns what delivery remembers: the owner of the state folder, else of the filter's, else lp.
/// A problem where one of the two is no folder, or nobody of that name is there.
[[nodiscard]] Result<Owner> ownerOfPlaces(const Places& places);

/// Root becomes that owner for good; anybody else stays who they are. A problem where that fails,
/// or where the folders are closed to us.
[[nodiscard]] Result<void> becomeOwner(const Places& places);

/// Root is that owner as long as this object lives; what is opened meanwhile stays open.
class AsOwner {
 public:
  explicit AsOwner(const Places& places);
  ~AsOwner();
  AsOwner(const AsOwner&) = delete;
  AsOwner& operator=(const AsOwner&) = delete;

  /// One sentence where it is not so, or where the folders are closed to us.
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  bool isChanged_ = false;
  std::string problem_;
};

/// Whether a file of that path would lie in one of the places where jobs write.
[[nodiscard]] bool isInPlaces(const std::string& path, const Places& places);

}  // namespace kestra::delivery
