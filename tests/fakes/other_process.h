#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <string>

namespace kvx {

/// Another process that does `prepare` and then waits to be killed.
class OtherProcess {
 public:
  explicit OtherProcess(const std::function<void()>& prepare) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) ::abort();
    process_ = ::fork();
    if (process_ == 0) {
      prepare();
      if (::write(ends[1], "r", 1) != 1) ::_exit(1);
      for (;;) ::pause();
    }
    ::close(ends[1]);  // one that dies while it prepares is not waited for
    char ready = 0;
    if (::read(ends[0], &ready, 1) != 1) ::abort();
    ::close(ends[0]);
  }
  ~OtherProcess() { Kill(); }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;
  void Kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
  }
  std::string id() const { return std::to_string(process_); }

 private:
  pid_t process_ = -1;
};

}  // namespace kvx
