// Tests of the folders in which renderers are looked for.
#include "tools/render/search_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "tests/tools/proof_run.h"

namespace kestra {
namespace {

// PATH for the length of a test; there is always one where tests run.
class Path {
 public:
  explicit Path(const std::string& value) : before_(std::getenv("PATH")) {
    setenv("PATH", value.c_str(), 1);
  }
  ~Path() { setenv("PATH", before_.c_str(), 1); }
  Path(const Path&) = delete;
  Path& operator=(const Path&) = delete;

 private:
  std::string before_;
};

TEST(SearchPath, LeavesRelativeFoldersOut) {
  const Path path(".:/one::two:/three/four:");
  EXPECT_EQ(safePath(), "/one:/three/four");
}

TEST(SearchPath, LeadsNowhereWhereNothingIsLeft) {
  for (const char* value : {"", ".", ":bin:"}) {
    const Path path(value);
    EXPECT_EQ(safePath(), "/") << value;
    EXPECT_EQ(onPath("sh"), "") << value;
  }
}

TEST(SearchPath, LeadsRenderersToNoProgramBesideTheDocument) {
  const ProofDirectory directory;
  directory.writeText("picture.png", "\x89PNG\r\n\x1A\n");
  directory.writeText("imagetoraster", "#!/bin/sh\nkestra_beside\nexit 3\n");
  directory.writeText("kestra_beside", "#!/bin/sh\n: >ran\n");
  for (const char* name : {"imagetoraster", "kestra_beside"}) {
    ASSERT_EQ(chmod(directory.path(name).c_str(), 0755), 0);
  }
  const ProofResult result = directory.run(
      {"picture.png"}, {}, {{"CUPS_FILTER_DIR", directory.path(".")}, {"PATH", ".:/usr/bin:/bin"}});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("ended with status 3"), std::string::npos) << result.errors;
  EXPECT_FALSE(directory.exists("ran"));
}

}  // namespace
}  // namespace kestra
