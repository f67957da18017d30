#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/qt/later_call.h"

namespace kvx::platform {

/// The lines of standard input, read from the event loop, whatever it is: terminal, pipe, file, nothing. The descriptor
/// stays in its blocking mode, for a terminal shares that mode with standard output. A handler may destroy the object.
class StandardInput final {
 public:
  static constexpr std::size_t kLongestLine = 64 << 10;

  explicit StandardInput(int descriptor = 0);
  /// Reading begins here, with the handlers in place.
  void Start();

  std::function<void(const std::string& line)> on_line;  ///< without its line end (LF or CR LF)
  std::function<void()> on_overlong;                     ///< a line longer than kLongestLine was dropped
  std::function<void()> on_end;                          ///< called once, after the last line

 private:
  void Wait();
  void ReadSome();
  bool Take(std::string_view bytes);
  bool Deliver();
  void End();

  const int descriptor_;
  bool pollable_ = true;  ///< a regular file is not
  bool terminal_ = false;
  bool overlong_ = false;  ///< the rest of a line is being dropped
  std::string line_;
  std::unique_ptr<QSocketNotifier> readable_;
  QObject context_;
  LaterCall read_;
};

}  // namespace kvx::platform
