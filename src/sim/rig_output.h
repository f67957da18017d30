#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::sim {

/// What a rig sends on its way to the line, with the faults that can be switched on: late, byte by byte, behind noise,
/// or not at all. Order is always kept; what a blocked line cannot take (beyond 64 KiB) is lost.
class RigOutput {
 public:
  RigOutput(Loop& loop, std::function<void(std::string_view)> deliver) : loop_(loop), deliver_(std::move(deliver)) {}
  RigOutput(const RigOutput&) = delete;
  RigOutput& operator=(const RigOutput&) = delete;
  ~RigOutput() { loop_.StopTimer(timer_); }

  void Send(std::string_view bytes);
  /// Forgets what has not been sent yet.
  void Clear();
  void set_delay(Duration delay) { delay_ = delay; }
  void set_gap(Duration gap) { gap_ = gap; }                        ///< between bytes; 0 sends an answer in one piece
  void set_noise(std::string noise) { noise_ = std::move(noise); }  ///< goes out once, before the next answer

 private:
  struct Piece {
    TimePoint when;
    std::string bytes;
  };
  void Queue(TimePoint when, std::string bytes);
  void Arm();

  Loop& loop_;
  std::function<void(std::string_view)> deliver_;
  Duration delay_{0};
  Duration gap_{0};
  std::string noise_;
  std::deque<Piece> pieces_;
  std::size_t queued_bytes_ = 0;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::sim
