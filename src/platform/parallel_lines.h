#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "core/loop.h"
#include "platform/parallel_port.h"
#include "platform/port_access.h"

namespace kvx::platform {

/// The data lines of this machine's parallel ports. A port is claimed at its first use and kept. A port that cannot be
/// had is told once; from then on its lines are those of a register in memory, until it can be had. A pulse ends with
/// its line low; where the port refuses that, the line is lowered as soon as the port can be had again. One of at most
/// 2 ms is held in place, to the microsecond, a longer one by a timer, of which the last 2 ms are. Whatever is asked
/// for meanwhile waits, up to a bound.
class ParallelLines final : public PortAccess {
 public:
  /// Makes the port of a number.
  using Maker = std::function<std::unique_ptr<ParallelPort>(int number)>;
  static constexpr std::size_t kMostWaiting = 16;

  ParallelLines(Loop& loop, Maker maker) : loop_(loop), maker_(std::move(maker)) {}
  ~ParallelLines() override { Close(); }
  ParallelLines(const ParallelLines&) = delete;
  ParallelLines& operator=(const ParallelLines&) = delete;

  void SendChar(const PortAccessCall& call, Done done) override;
  bool InUse(int port) const override { return ports_.contains(port); }
  Result<std::uint8_t> ReadData(int port) override;
  void Close() override;

  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator

 private:
  struct Waiting {
    PortAccessCall call;
    Done done;
  };
  struct Pulse {
    int number;
    ParallelPort* port;
    std::uint8_t line;
    std::uint8_t after;
    TimePoint end;
    Done done;
  };
  /// What stands for a port number.
  struct Entry {
    std::unique_ptr<ParallelPort> port;
    ShadowParallelPort shadow;
    bool lost = false;        ///< the port cannot be had: the shadow, which has its last byte, stands for it
    std::uint8_t raised = 0;  ///< lines that a pulse could not lower
    std::string told;         ///< why it could not be had
  };

  ParallelPort& PortOf(int number);
  void Lost(int number, const Error& error);
  void LowerRaised(Entry& entry);
  void Carry(const Waiting& waiting);
  void Raise(const Waiting& waiting, ParallelPort& port, std::uint8_t data);
  void EndPulse();
  void CarryWaiting();

  Loop& loop_;
  Maker maker_;
  std::map<int, Entry> ports_;
  std::deque<Waiting> waiting_;
  std::unique_ptr<Pulse> pulse_;  ///< under way by a timer
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::platform
