#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

#include "platform/posix/descriptor.h"
#include "platform/qt/later_call.h"

namespace kvx::platform {

/// Turns the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) into one call from the event loop, and keeps a
/// broken pipe from ending it. When the loop does not hear of the first, a ReleaseWatch releases the transmitter.
/// Further signals are swallowed while the shut-down runs; after kPatienceSeconds they kill, when the transmitter has
/// been released. A hang-up that was ignored at the start (nohup) stays ignored. One object at a time.
class StopSignals final {
 public:
  static constexpr int kPatienceSeconds = 5;

  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  std::function<void(int signal)> on_stop;  ///< called once, for the first

 private:
  struct Previous;

  void Receive();

  Descriptor read_end_;
  Descriptor write_end_;
  std::unique_ptr<Previous> previous_;
  std::unique_ptr<QSocketNotifier> readable_;
  LaterCall stop_;
  int signal_ = 0;
};

}  // namespace kvx::platform
