#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::sim {

/// One direction of a serial line: bytes come out in order, each when its last bit would have passed, always from the
/// loop and never from inside Push. What the buffer of 64 KiB cannot take is lost.
class PacedLine {
 public:
  PacedLine(Loop& loop, std::function<void(std::string_view)> deliver) : loop_(loop), deliver_(std::move(deliver)) {}
  PacedLine(const PacedLine&) = delete;
  PacedLine& operator=(const PacedLine&) = delete;
  ~PacedLine() { loop_.StopTimer(timer_); }

  void set_byte_time(Duration time) { byte_time_ = time; }
  void Push(std::string_view bytes);
  void Clear();
  std::size_t waiting() const { return bytes_.size(); }

 private:
  void Arm();
  void Deliver();

  Loop& loop_;
  std::function<void(std::string_view)> deliver_;
  Duration byte_time_{0};
  std::string bytes_;
  TimePoint next_{};  ///< when the first of them is through
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::sim
