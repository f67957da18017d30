#pragma once

#include <deque>
#include <optional>

#include "core/loop.h"
#include "platform/key_line.h"
#include "platform/serial_port.h"

namespace kvx::keyer {

/// Keys the lines of any serial port with the loop's timers: for ports that are not devices of this machine. As even as
/// the loop's timers are.
class PortKeyLine final : public platform::KeyLine {
 public:
  /// With `settings` the port is this line's own, opened and closed with it. Without, it is another's (the rig port),
  /// and Open needs it to be open; who closes it closes this first.
  PortKeyLine(Loop& loop, platform::SerialPort& port, platform::KeyLines lines,
              std::optional<platform::PortSettings> settings);
  ~PortKeyLine() override;

  Status Open() override;
  void Close() override;
  bool is_open() const override { return open_; }
  void Play(std::vector<platform::KeyStep> steps) override;
  void PlayInstead(std::vector<platform::KeyStep> steps) override;
  void Release() override;
  Duration remaining() const override;

 private:
  void Run();
  void Set(bool key, bool ptt);
  void Lose(const std::string& why);

  Loop& loop_;
  platform::SerialPort& port_;
  platform::KeyLines lines_;
  std::optional<platform::PortSettings> settings_;
  std::deque<platform::KeyStep> steps_;  ///< the first is being played when timer_ runs
  bool open_ = false;
  bool listening_ = false;  ///< to the loss of a port of its own
  bool began_ = false;      ///< the first step has
  TimePoint next_;          ///< when the first step ends, or begins when it has not
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::keyer
