#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/loop.h"
#include "core/result.h"

namespace kvx::platform {

/// How long the key line and the PTT line of a transmitter stand in one state.
struct KeyStep {
  bool key = false;
  bool ptt = false;
  Duration length{0};
  int mark = 0;       ///< not 0: on_mark tells when the step has begun
  bool tail = false;  ///< ends when steps are given to follow it, or is left out when it has not begun by then

  bool operator==(const KeyStep&) const = default;
};

/// Which lines of a serial port key a transmitter.
struct KeyLines {
  bool key_on_rts = false;  ///< the key on RTS and PTT on DTR instead of the other way round
  bool use_ptt = true;      ///< else the other line stays released
  bool inverted = false;    ///< active low

  bool operator==(const KeyLines&) const = default;
};

/// The two lines by which a transmitter is keyed in software. What is to be keyed is given as steps that follow each
/// other without a gap; when they are through both lines are released. Engine thread only; events are never raised from
/// inside a call. Adapters: a high-priority thread on a serial device or a parallel port, and the loop on any serial
/// port, which tests give one in memory.
class KeyLine {
 public:
  virtual ~KeyLine() = default;
  /// Opens the device with both lines released. The error names the device and the cause in one sentence. An open line
  /// is released and closed first.
  virtual Status Open() = 0;
  /// Releases both lines and closes.
  virtual void Close() = 0;
  virtual bool is_open() const = 0;
  /// Appends steps; begins at once when nothing is being played. Does nothing while closed.
  virtual void Play(std::vector<KeyStep> steps) = 0;
  /// Drops what has not been played and plays these from this moment on. While closed it does nothing.
  virtual void PlayInstead(std::vector<KeyStep> steps) = 0;
  /// Releases both lines at once; what has not been played is dropped. When the call returns the lines are released;
  /// when the device refuses that, the adapter tries again until it is closed and tells on_lost.
  virtual void Release() = 0;
  /// How long what has been given will still take.
  virtual Duration remaining() const = 0;

  std::function<void(int mark)> on_mark;                   ///< the step of that mark has begun
  std::function<void()> on_idle;                           ///< all steps have been played
  std::function<void(const std::string& why)> on_lost;     ///< the device has gone; the line is closed by then
  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator
};

}  // namespace kvx::platform
