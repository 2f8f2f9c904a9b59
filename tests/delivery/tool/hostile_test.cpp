// What somebody may have planted in the folders: nothing hangs, nothing is followed, nothing grows.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class Hostile : public ::testing::Test {
 protected:
  Hostile() {
    const std::string jobs = machine_.places().state + "/jobs";
    mkfifo((machine_.printing("fifo") + "/journal").c_str(), 0600);
    fs::create_symlink("/dev/zero", machine_.printing("zero") + "/journal");
    fs::create_directory(machine_.printing("folder") + "/journal");
    const std::string huge = machine_.printing("huge") + "/journal";
    std::ofstream(huge) << "x";
    fs::resize_file(huge, std::uintmax_t{1} << 40);
    std::ofstream binary(machine_.printing("binary") + "/journal", std::ios::binary);
    for (int i = 0; i < 65536; ++i) binary.put(static_cast<char>(i * 31 + i / 256));
    binary.close();
    fs::create_directory(machine_.root() + "/precious");
    std::ofstream(machine_.root() + "/precious/file") << "precious";
    fs::create_directory_symlink(machine_.root() + "/precious", jobs + "/link");
    fs::create_directory_symlink(machine_.root() + "/precious",
                                 jobs + "/fifo/1");  // as a printing
    std::ofstream(jobs + "/file") << "no folder";
    fs::create_directory(jobs + "/\033[2J");
    static_cast<void>(machine_.printing("fifolock"));
    mkfifo((jobs + "/fifolock/lock").c_str(), 0600);
    fs::create_symlink("/etc/passwd", machine_.places().frames + "/" + frameName(1, 45));
  }
  Machine machine_;
};

TEST_F(Hostile, ListEndsSoonAndNamesWhatIsWrong) {
  const auto start = std::chrono::steady_clock::now();
  const Ran ran = machine_.run({"list"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(ran.status, 0);
  for (const char* words :
       {"key huge: 0 labels came; cut off; goes on when it starts again; its journal is too large",
        "key binary: 0 labels came; cut off; goes on when it starts again; its journal is whole up "
        "to "
        "byte 0;",
        "key zero: 0 labels came; cut off; goes on when it starts again; its journal is a link;",
        "key fifo: 0 labels came; cut off; goes on when it starts again; its journal cannot be "
        "read;",
        "key folder: 0 labels came; cut off; goes on when it starts again; its journal cannot be "
        "read;",
        "key fifolock: 0 labels came; cut off; goes on when it starts again; there is no "
        "journal;"}) {
    EXPECT_NE(ran.out.find(words), std::string::npos) << words << "\n" << ran.out;
  }
  EXPECT_EQ(ran.out.find('\033'), std::string::npos);
  EXPECT_EQ(ran.out.find("key link"), std::string::npos);
  EXPECT_EQ(ran.out.find("Left over"), std::string::npos);
}

TEST_F(Hostile, ShowSendAndForgetEndSoon) {
  EXPECT_EQ(machine_.run({"show", "fifo"}).status, 0);
  EXPECT_EQ(machine_.run({"send", "fifo", machine_.root() + "/out"}).status, 1);
  EXPECT_FALSE(fs::exists(machine_.root() + "/out"));
  EXPECT_EQ(machine_.run({"forget", "fifo", "--frames"}).status, 1);  // more than one key
  EXPECT_EQ(machine_.run({"forget", "huge"}).status, 0);
  EXPECT_EQ(machine_.run({"forget", "link"}).status, 1);
  EXPECT_TRUE(fs::exists(machine_.root() + "/precious/file"));
}

TEST_F(Hostile, ForgettingAJobWithAPlantedLinkKeepsWhatItPointsTo) {
  fs::remove_all(machine_.places().state + "/jobs/fifolock");
  EXPECT_EQ(machine_.run({"forget", "fifo"}).status, 0);
  EXPECT_FALSE(fs::exists(machine_.places().state + "/jobs/fifo"));
  EXPECT_TRUE(fs::exists(machine_.root() + "/precious/file"));
}

TEST(HostilePlaces, ALinkInPlaceOfTheStateFolderIsRefused) {
  const Machine machine;
  fs::rename(machine.places().state, machine.root() + "/elsewhere");
  fs::create_directory_symlink(machine.root() + "/elsewhere", machine.places().state);
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"list"}, {"show", "1"}, {"forget", "1"}, {"send", "1", "-"}}) {
    const Ran ran = machine.run(words);
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.err.find("rastertokestra is no folder"), std::string::npos) << ran.err;
  }
}

}  // namespace
}  // namespace kestra::delivery
