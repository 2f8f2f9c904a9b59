// Which user a job belongs to, and how a program that the print system started as the administrator
// becomes that user for good: whoever breaks into it by a hostile document or device finds nothing.
#pragma once

#include <sys/types.h>

#include <string>

#include "filter/base/result.h"

namespace kestra::delivery {

/// The names that the print system's settings give the user of filters, or their numbers.
struct AccountNames {
  std::string user = "lp";
  std::string group = "lp";
};

/// @param settings  text of the print system's cups-files.conf; what it does not say stays as it is
[[nodiscard]] AccountNames readAccountNames(const std::string& settings);

struct Account {
  uid_t user = 0;
  gid_t group = 0;
};

/// @return a problem where there is no such user or group, or where it is the administrator's: work
///         that needs no rights is then not done at all
[[nodiscard]] Result<Account> findAccount(const AccountNames& names);

/// The user of filters on this machine, by cups-files.conf in $CUPS_SERVERROOT; ourselves where we
/// are not the administrator, who alone can become another.
[[nodiscard]] Result<Account> accountOfFilters();

/// Makes the folder for delivery's journals, for the account alone, where it does not exist yet;
/// only the administrator can. Never follows a link in its last part, nor takes over another's
/// folder.
/// @return one sentence where it cannot be used, else nothing
[[nodiscard]] std::string makeStateFolder(const std::string& path, const Account& account);

/// Takes the account's rights, drops all others for good and checks that there is no way back.
/// @return false where that failed: the caller must end at once
[[nodiscard]] bool becomeForGood(const Account& account);

}  // namespace kestra::delivery
