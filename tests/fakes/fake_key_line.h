#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "core/loop.h"
#include "platform/key_line.h"

namespace kvx {

/// A key line in memory that plays by its loop: the test reads the edges, unplugs it with Lose.
class FakeKeyLine final : public platform::KeyLine {
 public:
  struct Edge {
    TimePoint when;
    bool key = false;
    bool ptt = false;
  };

  explicit FakeKeyLine(Loop& loop) : loop_(loop) {}
  ~FakeKeyLine() override { loop_.StopTimer(timer_); }

  Status Open() override {
    ++opens;
    if (absent) return Error{ErrorCode::kNotFound, "COM4: no such device"};
    open_ = true;
    return Ok();
  }
  void Close() override {
    Release();
    open_ = false;
  }
  bool is_open() const override { return open_; }
  void Play(std::vector<platform::KeyStep> steps) override {
    if (!open_ || steps.empty()) return;
    if (!steps_.empty() && steps_.back().tail) {
      if (steps_.size() == 1 && began_) {
        next_ = loop_.Now();
      } else {
        steps_.pop_back();
      }
    }
    if (steps_.empty()) {
      next_ = loop_.Now();
      began_ = false;
    }
    steps_.insert(steps_.end(), steps.begin(), steps.end());
    Arm();
  }
  void PlayInstead(std::vector<platform::KeyStep> steps) override {
    steps_.clear();
    if (steps.empty()) return Release();
    Play(std::move(steps));
  }
  void Release() override {
    loop_.StopTimer(std::exchange(timer_, 0));
    steps_.clear();
    Set(false, false);
  }
  Duration remaining() const override {
    Duration left = steps_.empty() ? Duration{0} : next_ - loop_.Now();
    for (std::size_t i = began_ ? 1 : 0; i < steps_.size(); ++i) left += steps_[i].length;
    return left;
  }

  void Lose() {
    Close();
    if (on_lost) on_lost("COM4: the device has gone");
  }
  /// The states since the last call, each with the milliseconds that it lasted: "PTT 20, KEY 60, PTT 60"; "-" is
  /// neither. The state that stands now comes last, without a number.
  std::string TakeHistory() {
    std::string history;
    for (std::size_t i = 0; i < edges.size(); ++i) {
      const Edge& edge = edges[i];
      history += edge.key && edge.ptt ? "KEY" : edge.key ? "KEY!" : edge.ptt ? "PTT" : "-";
      if (i + 1 == edges.size()) break;
      const Duration length = edges[i + 1].when - edge.when;
      history += ' ' + std::to_string(length.count() / 1'000'000) + ", ";
    }
    edges.clear();
    return history;
  }

  std::vector<Edge> edges;  ///< changes only
  bool key = false;
  bool ptt = false;
  int opens = 0;
  bool absent = false;

 private:
  void Arm() {
    loop_.StopTimer(timer_);
    timer_ = loop_.StartTimer(next_, [this] { Run(); });
  }
  void Run() {
    timer_ = 0;
    if (std::exchange(began_, true)) steps_.pop_front();
    if (steps_.empty()) {
      Set(false, false);
      if (on_idle) on_idle();
      return;
    }
    const platform::KeyStep step = steps_.front();
    Set(step.key, step.ptt);
    next_ += step.length;
    Arm();
    if (on_mark && step.mark != 0) on_mark(step.mark);
  }
  void Set(bool new_key, bool new_ptt) {
    if (new_key != key || new_ptt != ptt) edges.push_back({loop_.Now(), new_key, new_ptt});
    key = new_key;
    ptt = new_ptt;
  }

  Loop& loop_;
  std::deque<platform::KeyStep> steps_;  ///< the first is being played when it has begun
  bool began_ = false;
  TimePoint next_;  ///< when the first ends, or begins
  Loop::TimerId timer_ = 0;
  bool open_ = false;
};

}  // namespace kvx
