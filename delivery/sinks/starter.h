// Whoever can start the program of the print system: ourselves, or a process that kept the rights
// for it.
#pragma once

#include <sys/types.h>

#include <optional>

#include "delivery/sinks/inner_program.h"
#include "delivery/sinks/start_program.h"

namespace kestra::delivery {

/// Starts one program again and again, one at a time.
class Starter {
 public:
  Starter() = default;
  Starter(const Starter&) = delete;
  Starter& operator=(const Starter&) = delete;
  virtual ~Starter() = default;

  /// Starts it; the descriptors stay the caller's, who closes them.
  /// @return 0, or why it did not start
  [[nodiscard]] virtual int start(const InnerEnds& ends) = 0;

  /// While one runs: becomes readable at its end. The starter's own.
  [[nodiscard]] virtual int descriptor() const = 0;

  /// How it ended, as waitpid(2) says, once; nothing before.
  [[nodiscard]] virtual std::optional<int> end() = 0;

  /// SIGTERM or SIGKILL to the program and whatever it has started.
  virtual void signal(int number) = 0;
};

/// Starts it with the rights that we have.
class DirectStarter : public Starter {
 public:
  explicit DirectStarter(InnerProgram program);
  ~DirectStarter() override;

  [[nodiscard]] int start(const InnerEnds& ends) override;
  [[nodiscard]] int descriptor() const override { return end_; }
  [[nodiscard]] std::optional<int> end() override;
  void signal(int number) override;

 private:
  const InnerProgram program_;
  pid_t process_ = -1;
  int end_ = -1;  // readable when the process has ended
};

}  // namespace kestra::delivery
