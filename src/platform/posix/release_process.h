#pragma once

#include <cstddef>

#include "platform/posix/descriptor.h"

namespace kvx::platform {

/// A process beside this program that makes the armed releases when the program cannot: at once when it has died,
/// however that came, or has been stopped (SIGSTOP), and when they are due. It hears of them through a socket
/// (release_message.h) and has each device open only while that is armed. No signal but SIGKILL ends it; it ends with
/// the program. One thread at a time.
class ReleaseProcess {
 public:
  /// `argv` as main has it: the process writes a name of its own over its copy.
  ReleaseProcess(int argc, char** argv);
  ~ReleaseProcess();
  ReleaseProcess(const ReleaseProcess&) = delete;
  ReleaseProcess& operator=(const ReleaseProcess&) = delete;

  /// Best before the program has threads and memory. False when it cannot be started now.
  bool Start();
  /// Of one that has failed: nobody is left at the other end of the socket.
  void Kill();
  /// -1 while there is no such process.
  int socket() const { return socket_.get(); }

 private:
  char* name_room_ = nullptr;
  std::size_t name_size_ = 0;
  Descriptor socket_;
  int child_ = 0;
};

}  // namespace kvx::platform
