// The only part of delivery that stays the administrator while a job prints: it starts one program
// that only the administrator can execute, and nothing else.
#pragma once

#include <memory>
#include <optional>

#include "delivery/sinks/starter.h"

namespace kestra::delivery {

/// Serves one sender: starts `program`, whatever the requests contain, signals it, tells its end.
/// Returns when the other end of the socket is closed; a program that still runs is ended then.
/// @param socket  one end of a SOCK_SEQPACKET pair; stays the caller's
void serveStarts(int socket, const InnerProgram& program);

/// Asks such a process.
class RootStarter : public Starter {
 public:
  /// @param socket  the other end; owned
  explicit RootStarter(int socket) : socket_(socket) {}
  ~RootStarter() override;

  [[nodiscard]] int start(const InnerEnds& ends) override;
  [[nodiscard]] int descriptor() const override { return socket_; }
  [[nodiscard]] std::optional<int> end() override;
  void signal(int number) override;

 private:
  const int socket_;
  bool isRunning_ = false;
};

/// Leaves a process behind that keeps today's rights and serves the returned starter. It has no
/// other descriptor of ours, so that neither job nor print system waits for it, and heeds no signal
/// that ends a job: it ends with the starter. To be called before rights are given up.
/// @return null where there cannot be one, with `errno` set
[[nodiscard]] std::unique_ptr<Starter> forkRootStarter(const InnerProgram& program);

}  // namespace kestra::delivery
