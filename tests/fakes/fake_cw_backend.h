#pragma once

#include <deque>
#include <string>

#include "core/loop.h"
#include "keyer/cw_backend.h"
#include "keyer/morse.h"

namespace kvx {

/// A keyer in memory that sends at its speed in the loop's time. `keyed` is what has been on the air, symbol by symbol;
/// a symbol that was cut off is in brackets.
class FakeCwBackend final : public keyer::CwBackend {
 public:
  explicit FakeCwBackend(Loop& loop) : loop_(loop) {}
  ~FakeCwBackend() override { Stop(); }

  void Open() override {
    ++opens;
    if (ready_ || opening_ != 0) return;
    opening_ = loop_.StartTimer(loop_.Now() + opening_time, [this] {
      opening_ = 0;
      ready_ = !refuses;
      if (refuses) {
        if (on_failed) on_failed("it does not answer");
      } else if (on_ready) {
        on_ready();
      }
    });
  }
  void Close() override {
    Stop();
    ready_ = false;
    key = false;
    ++closes;
  }
  bool ready() const override { return ready_; }
  std::string_view state() const override {
    return opening_ != 0 ? "starting" : !ready_ ? "closed" : given_.empty() ? "ready" : "busy";
  }
  std::size_t room() const override { return given_.size() < capacity ? capacity - given_.size() : 0; }
  void Send(std::string_view symbol) override {
    sent += symbol;
    if (symbol == unknown) return;
    given_.emplace_back(symbol);
    if (given_.size() == 1) BeginFirst();
  }
  std::size_t pending() const override { return given_.size(); }
  void Abort() override {
    if (!given_.empty()) keyed += "[" + given_.front() + "]";
    StopSending();
    key = false;
  }
  void SetSpeed(int wpm) override { speed = wpm; }
  bool Key(bool down) override {
    if (!ready_) return false;
    key = down;
    return true;
  }
  void Lose() {
    Stop();
    ready_ = false;
    key = false;
    if (on_lost) on_lost("the keyer has gone");
  }

  std::string keyed;
  std::string sent;  ///< everything that was given
  std::string unknown = "#";
  std::size_t capacity = 3;
  Duration opening_time = std::chrono::milliseconds(300);
  int speed = 0;
  int opens = 0;
  int closes = 0;
  bool key = false;
  bool refuses = false;

 private:
  void BeginFirst() {
    playing_ = loop_.StartTimer(loop_.Now() + keyer::MorseLength(given_.front(), speed), [this] {
      playing_ = 0;
      keyed += given_.front();
      given_.pop_front();
      if (!given_.empty()) BeginFirst();
      if (on_progress) on_progress();
    });
  }
  void StopSending() {
    loop_.StopTimer(playing_);
    playing_ = 0;
    given_.clear();
  }
  void Stop() {
    StopSending();
    loop_.StopTimer(opening_);
    opening_ = 0;
  }

  Loop& loop_;
  Loop::TimerId opening_ = 0;
  Loop::TimerId playing_ = 0;
  bool ready_ = false;
  std::deque<std::string> given_;
};

}  // namespace kvx
