#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "core/loop.h"
#include "keyer/cw_backend.h"
#include "keyer/keyer_settings.h"
#include "platform/key_line.h"

namespace kvx::keyer {

/// Keys a line in software: looks up the pattern of a symbol, gives its elements to a KeyLine as steps, and lets that
/// time the edges. The line holds two symbols at most, so what a change of speed does not reach is short, and the next
/// one is given while the one before is still being sent. PTT goes on the lead time before the first element, stays on
/// from symbol to symbol, and goes off the tail time after the last one, but not before its gap is over.
class SoftwareKeyer final : public CwBackend {
 public:
  SoftwareKeyer(Loop& loop, std::unique_ptr<platform::KeyLine> line, const KeyerSettings& settings);
  ~SoftwareKeyer() override;

  void Open() override;
  void Close() override;
  bool ready() const override { return ready_; }
  std::string_view state() const override;

  std::size_t room() const override;
  void Send(std::string_view symbol) override { sendwave(symbol); }
  std::size_t pending() const override { return symbols_.size(); }
  void Abort() override;
  void SetSpeed(int wpm) override;
  bool Key(bool down) override;

  /// Keys one symbol; what has no pattern is left out.
  void sendwave(std::string_view symbol);

 private:
  /// Keys a pattern: "-" is three units down and one up, "." one down and one up, " " two up.
  void DelayTwo(std::string_view pattern);
  platform::KeyStep Tail(Duration length);
  void OpenAgain();
  void Opened();
  void Lost(const std::string& why);
  void Began(int mark);
  void Ended();
  void Progress();
  bool ptt_is_on() const;

  Loop& loop_;
  std::unique_ptr<platform::KeyLine> line_;
  KeyerSettings settings_;
  std::deque<int> symbols_;  ///< the marks at which those begin that have not been sent to their end
  int last_mark_ = 0;
  bool ptt_ = false;     ///< at the end of what has been given
  Duration silence_{0};  ///< since the last element, at the end of what has been given
  bool keyed_ = false;   ///< for tuning
  bool ready_ = false;
  bool failed_ = false;
  Duration retry_{0};  ///< since a loss or a try in vain: the time to the next try
  Loop::TimerId opening_ = 0;
};

}  // namespace kvx::keyer
