// Runs kestra-proof in a directory of its own and reads its pictures back.
//
// The program is tested as people use it: files in, words, pictures and an exit status out.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/files.h"
#include "tests/tools/frame_bytes.h"

namespace kestra {

struct ProofResult {
  int status = -1;     // exit status, -1 where the program did not exit
  int signal = 0;      // that ended it
  std::string output;  // standard output
  std::string errors;  // standard error
  long peak = 0;       // the most memory that it or a child of it had, in kB
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// A temporary directory that vanishes with this object.
class ProofDirectory {
 public:
  ProofDirectory();

  std::string path(const std::string& name) const { return root_ + "/" + name; }
  void write(const std::string& name, const Bytes& bytes) const;
  void writeText(const std::string& name, const std::string& text) const;
  Bytes read(const std::string& name) const;
  bool exists(const std::string& name) const;
  std::vector<std::string> names(const std::string& directory = ".") const;  // sorted

  // Runs kestra-proof with these words, the directory being the current one; its temporary files
  // go to a directory of their own, which must be empty afterwards, or the test fails.
  ProofResult run(const std::vector<std::string>& words, const Bytes& input = {},
                  const Environment& environment = {}) const;

  // The same with another program that tools are made of.
  ProofResult runProgram(const std::string& program, const std::vector<std::string>& words,
                         const Environment& environment = {}) const;

  // The same in two steps, for a run that is disturbed in between.
  pid_t start(const std::vector<std::string>& words, const Bytes& input = {},
              const Environment& environment = {}, std::string program = KESTRA_PROOF) const;
  ProofResult finish(pid_t child) const;

  // What lies in the directory for temporary files.
  std::vector<std::string> temporaries() const { return names("../temporary"); }

 private:
  testing_support::TemporaryFolder folder_;
  std::string root_ = folder_.path() + "/files";
};

// A picture as libpng reads it.
struct Picture {
  unsigned width = 0;
  unsigned height = 0;
  int bitDepth = 0;
  int colourType = 0;
  unsigned dotsPerMetre = 0;      // 0 where the file does not say it, or not the same both ways
  unsigned dotsPerMetreDown = 0;  // pixels per metre from top to bottom
  // '#' for black, '.' for white, '?' for any other colour
  std::vector<std::string> rows;
  // Of a picture with a palette: red, green and blue of each pixel.
  std::vector<std::vector<std::uint32_t>> colours;
};

// Reads a PNG file; width 0 where it is none.
Picture readPicture(const std::string& path);

// The rectangle of a picture's rows.
std::vector<std::string> cut(const Picture& picture, std::size_t x, std::size_t y,
                             std::size_t width, std::size_t height);

}  // namespace kestra
