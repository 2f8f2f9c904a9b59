// Runs kestra-proof in a directory of its own and reads its pictures back.
//
// The program is tested as people use it: files in, words, pictures and an exit status out.
#ifndef TESTS_TOOLS_PROOF_RUN_H_
#define TESTS_TOOLS_PROOF_RUN_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/tools/frame_bytes.h"

namespace kestra {

struct ProofResult {
  int status = -1;     // exit status, -1 where the program did not exit
  std::string output;  // standard output
  std::string errors;  // standard error
};

// A temporary directory that vanishes with this object.
class ProofDirectory {
 public:
  ProofDirectory();
  ~ProofDirectory();
  ProofDirectory(const ProofDirectory&) = delete;
  ProofDirectory& operator=(const ProofDirectory&) = delete;

  std::string path(const std::string& name) const { return root_ + "/" + name; }
  void write(const std::string& name, const Bytes& bytes) const;
  Bytes read(const std::string& name) const;
  bool exists(const std::string& name) const;
  std::vector<std::string> names() const;  // sorted

  // Runs kestra-proof with these words, the directory being the current one.
  ProofResult run(const std::vector<std::string>& words, const Bytes& input = {}) const;

 private:
  std::string root_;
};

// A picture as libpng reads it.
struct Picture {
  unsigned width = 0;
  unsigned height = 0;
  int bit_depth = 0;
  int colour_type = 0;
  unsigned dots_per_metre = 0;    // 0 where the file does not say it
  std::vector<std::string> rows;  // '#' for black, '.' for white
};

// Reads a PNG file; width 0 where it is none.
Picture readPicture(const std::string& path);

}  // namespace kestra

#endif  // TESTS_TOOLS_PROOF_RUN_H_
