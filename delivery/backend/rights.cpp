// Drops rights in the one order that works, groups first, and then tries to get them back.
#include "delivery/backend/rights.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <sstream>

namespace kestra::delivery {
namespace {

constexpr mode_t kOwnerOnly = S_IRWXU;

// A number where the text is one; the largest is none: it means "leave as it is" to the system.
std::optional<std::uint32_t> numberIn(const std::string& text) {
  std::uint32_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  if (number == std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return number;
}

std::optional<uid_t> userOf(const std::string& name) {
  if (const auto number = numberIn(name)) return *number;
  const passwd* entry = getpwnam(name.c_str());
  if (entry == nullptr) return std::nullopt;
  return entry->pw_uid;
}

std::optional<gid_t> groupOf(const std::string& name) {
  if (const auto number = numberIn(name)) return *number;
  const group* entry = getgrnam(name.c_str());
  if (entry == nullptr) return std::nullopt;
  return entry->gr_gid;
}

bool isDropped(const Account& account) {
  // Real, effective and saved; root's where they cannot be asked for.
  std::array<uid_t, 3> users = {};
  std::array<gid_t, 3> groups = {};
  static_cast<void>(getresuid(&users[0], &users[1], &users[2]));
  static_cast<void>(getresgid(&groups[0], &groups[1], &groups[2]));
  gid_t others = 0;
  const int count = getgroups(1, &others);
  return users == std::array{account.user, account.user, account.user} &&
         groups == std::array{account.group, account.group, account.group} && count == 1 &&
         others == account.group;
}

}  // namespace

AccountNames readAccountNames(const std::string& settings) {
  AccountNames names;
  std::istringstream lines(settings);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string name;
    std::string value;
    std::string more;
    if (!(words >> name >> value)) continue;
    while (words >> more) value += ' ' + more;
    if (strcasecmp(name.c_str(), "User") == 0) names.user = value;
    if (strcasecmp(name.c_str(), "Group") == 0) names.group = value;
  }
  return names;
}

Result<Account> findAccount(const AccountNames& names) {
  const std::optional<uid_t> user = userOf(names.user);
  const std::optional<gid_t> group = groupOf(names.group);
  if (!user || !group) {
    return Problem{"There is no " + (user ? "group \"" + names.group : "user \"" + names.user) +
                   "\", which the print system's cups-files.conf names for filters."};
  }
  if (*user == 0 || *group == 0) {
    return Problem{"Filters must not run as " + (*user == 0 ? names.user : "group " + names.group) +
                   ": name another in the print system's cups-files.conf."};
  }
  return Account{*user, *group};
}

Result<Account> accountOfFilters() {
  if (geteuid() != 0) return Account{geteuid(), getegid()};
  const char* root = std::getenv("CUPS_SERVERROOT");
  std::ifstream file(std::string(root == nullptr ? "/etc/cups" : root) + "/cups-files.conf");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return findAccount(readAccountNames(text));
}

std::string makeStateFolder(const std::string& path, const Account& account) {
  if (mkdir(path.c_str(), kOwnerOnly) != 0 && errno != EEXIST) {
    return "The folder " + path + " cannot be made: " + std::strerror(errno) + ".";
  }
  const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  struct stat status = {};
  bool isOurs = folder >= 0 && fstat(folder, &status) == 0;
  // A folder of the administrator's is the one just made, or was left by a start that was cut off.
  if (isOurs && geteuid() == 0 && status.st_uid == 0) {
    isOurs = fchown(folder, account.user, account.group) == 0 && fchmod(folder, kOwnerOnly) == 0;
  } else if (isOurs) {
    isOurs = status.st_uid == account.user;
  }
  if (folder >= 0) close(folder);
  return isOurs ? "" : "The folder " + path + " is not one of the print system's user alone.";
}

bool becomeForGood(const Account& account) {
  if (geteuid() != 0) return getuid() == geteuid() && account.user == geteuid();
  if (account.user == 0 || account.group == 0) return false;
  if (setgroups(1, &account.group) != 0) return false;
  if (setresgid(account.group, account.group, account.group) != 0) return false;
  if (setresuid(account.user, account.user, account.user) != 0) return false;
  return isDropped(account) && setuid(0) != 0 && seteuid(0) != 0 && setgid(0) != 0;
}

}  // namespace kestra::delivery
