// A machine's folders below a temporary one, jobs in them, and the program run on them.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "delivery/core/journal.h"
#include "delivery/core/places.h"
#include "tests/delivery/core/frames.h"

namespace kestra::delivery::testing_support {

/// What a run of a program left.
struct Ran {
  int status = -1;  ///< exit status; -1: it was killed, or took longer than 20 s
  std::string out, err;
};

/// A program that may still run.
class Started {
 public:
  Started(const std::string& program, std::vector<std::string> words,
          std::optional<uid_t> user = std::nullopt);
  ~Started();
  Started(const Started&) = delete;
  Started& operator=(const Started&) = delete;

  void signal(int number) const;
  /// Waits until standard error holds a text; false after 20 s.
  [[nodiscard]] bool says(const std::string& text) const;
  [[nodiscard]] Ran wait();

 private:
  Folder folder_;
  pid_t process_ = -1;
};

class Machine {
 public:
  Machine();

  [[nodiscard]] const std::string& root() const { return folder_.path(); }
  [[nodiscard]] const Places& places() const { return places_; }
  /// Starts kestra-delivery with --root.
  [[nodiscard]] Started start(std::vector<std::string> words,
                              std::optional<uid_t> user = std::nullopt) const;
  /// The same, and waits for its end.
  [[nodiscard]] Ran run(const std::vector<std::string>& words,
                        std::optional<uid_t> user = std::nullopt) const;

  /// The folder of a printing, made.
  [[nodiscard]] std::string printing(const std::string& key, int generation = 0) const;
  /// Opens the journal of a printing and notes its start.
  void begin(Journal& journal, const std::string& folder, int number,
             const std::string& title = "Labels") const;
  /// Puts a kept frame into a printing's folder; returns its path.
  std::string keep(const std::string& folder, int number, const Bytes& frame) const;
  /// Puts a frame into the filter's folder; `age` seconds old. Returns its path.
  std::string leave(const std::string& name, const Bytes& frame, long age = 0) const;

 private:
  Folder folder_;
  Places places_;
};

/// Waits for a file that appears whole; false after 20 s.
[[nodiscard]] bool awaitFile(const std::string& path);

/// The digest of a frame.
[[nodiscard]] std::string digestOf(Bytes frame);

/// Notes a label that came.
[[nodiscard]] bool noteDone(Journal& journal, const Bytes& frame);

}  // namespace kestra::delivery::testing_support
