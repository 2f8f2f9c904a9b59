// Reads whole files and decides where a picture may be written.
//
// A proof must never destroy what it shows: pages wait in the spool to be printed.
#ifndef TOOLS_PROOF_FILES_H_
#define TOOLS_PROOF_FILES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tools/proof/arguments.h"

namespace kestra {

// Reads the file `path`, "-" being standard input. Returns false and the reason in `problem`,
// also for a file larger than any frame.
[[nodiscard]] bool readFile(const std::string& path, std::vector<std::uint8_t>& bytes,
                            std::string& problem);

// The picture's path for the frame `frame_path`: -o as given, else the frame's name with .png for
// .dat in the output directory.
[[nodiscard]] std::string picturePath(const Arguments& arguments, const std::string& frame_path);

// False and the reason in `problem` where `path` is one of the inputs, a picture written before
// in this run (listed in `written`), or something that is no ordinary file.
[[nodiscard]] bool mayWrite(const std::string& path, const std::vector<Input>& inputs,
                            const std::vector<std::string>& written, std::string& problem);

}  // namespace kestra

#endif  // TOOLS_PROOF_FILES_H_
