// Tests of documents that come as a file.
#include "delivery/backend/document.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "tests/delivery/backend/child.h"

namespace kestra::delivery {
namespace {

// What a process reads from its standard input after `readDocument`.
std::string readBack(const std::string& path, int copies) {
  Child child([&] {
    const std::string problem = readDocument(path, copies);
    if (!problem.empty()) {
      static_cast<void>(!write(STDERR_FILENO, problem.data(), problem.size()));
      return 1;
    }
    std::array<char, 1000> block = {};
    for (ssize_t size = 1; size > 0;) {
      size = read(STDIN_FILENO, block.data(), block.size());
      if (size > 0)
        static_cast<void>(!write(STDOUT_FILENO, block.data(), static_cast<std::size_t>(size)));
    }
    return 0;
  });
  std::string text = child.output();
  EXPECT_EQ(child.messages(), "");
  EXPECT_EQ(child.wait(), 0);
  return text;
}

TEST(ReadDocument, BecomesStandardInput) {
  const Folder folder;
  EXPECT_EQ(readBack(folder.write("d00001-001", "label"), 1), "label");
  EXPECT_EQ(readBack(folder.write("empty", ""), 1), "");
}

TEST(ReadDocument, ComesAsOftenAsCopiesWereAskedFor) {
  const Folder folder;
  EXPECT_EQ(readBack(folder.write("d00001-001", "label"), 3), "labellabellabel");
  // More than a pipe holds.
  const std::string large(200000, 'x');
  EXPECT_EQ(readBack(folder.write("large", large), 2), large + large);
}

TEST(ReadDocument, EndsTheCopiesWithTheirReader) {
  const Folder folder;
  const std::string path = folder.write("large", std::string(200000, 'x'));
  Child child([&path] { return readDocument(path, 1000000).empty() ? 0 : 1; });
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(child.output(), "");  // the writer's end of the pipe is closed as well
}

TEST(ReadDocument, TakesNothingButAFile) {
  const Folder folder;
  ASSERT_EQ(mkfifo((folder.path() + "/fifo").c_str(), 0600), 0);
  ASSERT_EQ(symlink(folder.write("file", "x").c_str(), (folder.path() + "/link").c_str()), 0);
  for (const char* name : {"/none", "/fifo", "/link", ""}) {
    const std::string problem = readDocument(folder.path() + name, 2);
    EXPECT_NE(problem.find("cannot be read"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace kestra::delivery
