// Tests of the user that a job becomes: what the print system's settings say, and that nothing of
// the administrator is left afterwards.
#include "delivery/backend/rights.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/delivery/backend/child.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;

// Any numbers but 0 will do: the system asks for no entry.
constexpr Account kSomebody = {7654, 7655};

struct SettingsRow {
  const char* text;
  const char* user;
  const char* group;
};

constexpr SettingsRow kSettings[] = {
    {"", "lp", "lp"},
    {"#User root\n#Group root\n", "lp", "lp"},
    {"User printer\nGroup printers\n", "printer", "printers"},
    {"  user\tprinter  # the filters'\n\nGROUP 70", "printer", "70"},
    {"User first\nUser second\n", "second", "lp"},
    {"UserName x\nSystemGroup sys\nGroups y\n", "lp", "lp"},
    {"User\nGroup #none\n", "lp", "lp"},
    {"User two words\r\n", "two words", "lp"},
    {"User no-line-end", "no-line-end", "lp"},
};

TEST(ReadAccountNames, FollowsThePrintSystemsSettings) {
  for (const SettingsRow& row : kSettings) {
    const AccountNames names = readAccountNames(row.text);
    EXPECT_EQ(names.user, row.user) << row.text;
    EXPECT_EQ(names.group, row.group) << row.text;
  }
}

TEST(FindAccount, KnowsNamesAndNumbers) {
  const passwd* lp = getpwnam("lp");
  ASSERT_NE(lp, nullptr);
  const uid_t user = lp->pw_uid;
  const group* printers = getgrnam("lp");
  ASSERT_NE(printers, nullptr);
  const gid_t group = printers->gr_gid;
  const auto named = findAccount({"lp", "lp"});
  ASSERT_TRUE(named) << named.problem();
  EXPECT_EQ(named->user, user);
  EXPECT_EQ(named->group, group);
  const auto numbered = findAccount({"1234", "1235"});
  ASSERT_TRUE(numbered) << numbered.problem();
  EXPECT_EQ(numbered->user, 1234U);
  EXPECT_EQ(numbered->group, 1235U);
}

TEST(FindAccount, RefusesTheAdministratorAndWhoDoesNotExist) {
  const AccountNames refused[] = {{"root", "lp"},          {"0", "lp"},  {"00", "lp"},
                                  {"lp", "root"},          {"lp", "0"},  {"no such user", "lp"},
                                  {"lp", "no such group"}, {"-1", "lp"}, {"4294967295", "lp"},
                                  {"4294967296", "lp"},    {"", "lp"}};
  for (const AccountNames& names : refused) {
    EXPECT_NE(findAccount(names).problem(), "") << names.user << ":" << names.group;
  }
}

TEST(FindAccount, SaysWhoDoesNotExist) {
  const std::string noUser = findAccount({"nosuchuser", "lp"}).problem();
  EXPECT_NE(noUser.find("user \"nosuchuser\""), std::string::npos) << noUser;
  const std::string noGroup = findAccount({"lp", "nosuchgroup"}).problem();
  EXPECT_NE(noGroup.find("group \"nosuchgroup\""), std::string::npos) << noGroup;
}

class AsRoot : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only the administrator has rights to drop";
  }
  Folder folder_;
};

TEST_F(AsRoot, ReadsTheUserFromThePrintSystemsFolder) {
  folder_.write("cups-files.conf", "User 1234\nGroup 1235\n");
  Child child([this] {
    setenv("CUPS_SERVERROOT", folder_.path().c_str(), 1);
    const auto account = accountOfFilters();
    return account && account->user == 1234 && account->group == 1235 ? 0 : 1;
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(AsRoot, NothingIsLeftAfterTheDrop) {
  const std::string secret = folder_.write("secret", "x", 0600);
  Child child([&secret] {
    const gid_t many[] = {0, 4, 7, 1000};
    if (setgroups(4, many) != 0) return 2;
    if (!becomeForGood(kSomebody)) return 3;
    uid_t users[3] = {};
    gid_t groups[3] = {};
    if (getresuid(&users[0], &users[1], &users[2]) != 0) return 4;
    if (getresgid(&groups[0], &groups[1], &groups[2]) != 0) return 5;
    for (const uid_t user : users) {
      if (user != kSomebody.user) return 6;
    }
    for (const gid_t group : groups) {
      if (group != kSomebody.group) return 7;
    }
    gid_t others[8] = {};
    if (getgroups(8, others) != 1 || others[0] != kSomebody.group) return 8;
    if (setuid(0) == 0 || seteuid(0) == 0 || setgid(0) == 0 || setgroups(4, many) == 0) return 9;
    if (open(secret.c_str(), O_RDONLY) >= 0) return 10;
    // No right of the administrator's remains.
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      const bool isRights = line.rfind("CapEff:", 0) == 0 || line.rfind("CapPrm:", 0) == 0;
      if (isRights && line.find_first_not_of('0', line.find('\t') + 1) != std::string::npos) {
        return 11;
      }
    }
    return 0;
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(AsRoot, NeverDropsToTheAdministrator) {
  for (const Account& account : {Account{0, 7}, Account{7, 0}, Account{0, 0}}) {
    Child child([&account] { return becomeForGood(account) ? 1 : 0; });
    EXPECT_EQ(child.wait(), 0);
  }
}

TEST_F(AsRoot, WhoHasNoRightsCannotBecomeAnother) {
  Child child([] {
    if (!becomeForGood(kSomebody)) return 2;
    if (becomeForGood({kSomebody.user + 1, kSomebody.group})) return 3;
    return becomeForGood(kSomebody) ? 0 : 4;
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(AsRoot, MakesTheStateFolderForTheAccountAlone) {
  const std::string path = folder_.path() + "/state";
  umask(0);
  for (int round = 0; round < 2; ++round) {  // the second time it is there
    EXPECT_EQ(makeStateFolder(path, kSomebody), "");
    struct stat status = {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    EXPECT_EQ(status.st_uid, kSomebody.user);
    EXPECT_EQ(status.st_gid, kSomebody.group);
  }
  // What is in it stays.
  folder_.write("state/journal", "x");
  EXPECT_EQ(makeStateFolder(path, kSomebody), "");
  EXPECT_TRUE(fs::exists(path + "/journal"));
}

TEST_F(AsRoot, GivesAwayAFolderThatAnInterruptedStartLeft) {
  const std::string path = folder_.path() + "/state";
  ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
  EXPECT_EQ(makeStateFolder(path, kSomebody), "");
  struct stat status = {};
  ASSERT_EQ(lstat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kSomebody.user);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(AsRoot, TakesNothingElseForTheStateFolder) {
  const std::string path = folder_.path() + "/state";
  const std::string elsewhere = folder_.path() + "/elsewhere";
  ASSERT_EQ(mkdir(elsewhere.c_str(), 0755), 0);
  ASSERT_EQ(symlink(elsewhere.c_str(), path.c_str()), 0);
  EXPECT_NE(makeStateFolder(path, kSomebody), "");
  struct stat status = {};
  ASSERT_EQ(stat(elsewhere.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);

  ASSERT_EQ(unlink(path.c_str()), 0);
  folder_.write("state", "a file");
  EXPECT_NE(makeStateFolder(path, kSomebody), "");

  ASSERT_EQ(unlink(path.c_str()), 0);
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  ASSERT_EQ(chown(path.c_str(), 4321, 4321), 0);
  EXPECT_NE(makeStateFolder(path, kSomebody).find(path), std::string::npos);

  EXPECT_NE(makeStateFolder(folder_.path() + "/no/such", kSomebody).find("cannot be made"),
            std::string::npos);
}

TEST(AccountOfFilters, IsOurselvesWhereWeAreNotTheAdministrator) {
  Child child([] {
    if (geteuid() == 0 && !becomeForGood(kSomebody)) return 2;
    const auto account = accountOfFilters();
    if (!account || account->user != geteuid() || account->group != getegid()) return 3;
    return becomeForGood(*account) ? 0 : 4;
  });
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace kestra::delivery
