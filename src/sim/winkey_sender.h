#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"
#include "sim/winkey_morse.h"
#include "sim/winkey_paddles.h"
#include "sim/winkey_registers.h"

namespace kvx::sim {

/// One thing in a WinKeyer's buffer.
struct WinkeyItem {
  enum class Kind { kSign, kBlank, kPtt, kKey, kWait, kSpeed, kSpeedBack, kPort, kNull };
  Kind kind = Kind::kNull;
  std::string letters;  ///< of a sign: one, or two run together
  int value = 0;
  std::size_t bytes = 1;  ///< that it takes up
};

/// The buffer and the key of a WinKeyer: plays what has been put in, and what the paddles do, in loop time. Every edge
/// has its moment, without an error that adds up.
class WinkeySender {
 public:
  WinkeySender(Loop& loop, const WinkeyRegisters& registers, std::size_t capacity)
      : loop_(loop), registers_(registers), capacity_(capacity) {}
  WinkeySender(const WinkeySender&) = delete;
  WinkeySender& operator=(const WinkeySender&) = delete;
  ~WinkeySender() { loop_.StopTimer(timer_); }

  /// False when the buffer cannot take it.
  bool Put(WinkeyItem item);
  void Backspace();
  /// What comes is put there, `position` items from the next one to be sent: over what is there, or before it.
  bool MovePointer(std::size_t position, bool overwrite);
  /// Stops in the middle of a sign and forgets the buffer, a pause and tuning.
  void Clear();
  void Pause(bool on);
  /// Holds the key down for tuning, 100 s at most, or lets it go.
  void KeyNow(bool down);
  /// The paddles as they are now. A press takes over from the host.
  void Press(bool dit, bool dah);
  /// Everything is released and forgotten.
  void Stop();
  void SetSpeed() { buffered_speed_.reset(); }  ///< the register has just been set
  void set_pot(int value) { pot_ = value; }

  int speed() const;
  int pot() const { return pot_; }
  std::size_t used() const { return used_; }
  bool key() const { return key_; }
  bool ptt() const { return ptt_; }
  int port() const { return port_; }
  bool waiting() const { return waiting_; }
  bool tuning() const { return tuning_; }
  bool busy() const { return active_ && !break_in_ && !tuning_; }
  bool break_in() const { return break_in_; }
  bool xoff() const { return 3 * used_ > 2 * capacity_; }
  KeyPace pace() const;

  std::function<void(bool down, TimePoint when)> on_key;
  std::function<void()> on_status;                           ///< one of the states above may have changed
  std::function<void(char letter, bool by_paddle)> on_sent;  ///< a character has been sent to its end

 private:
  using Step = void (WinkeySender::*)();
  void After(Duration time, Step step);
  void Halt();
  void Wake();
  void Next();
  bool Run(const WinkeyItem& item);
  void Rest();
  void PttOff() { SetPtt(false); }
  void Transmit(Step step);
  void Element();
  void ElementEnd();
  void HoldEnd();
  void TuneDown();
  void TuneEnd() { KeyNow(false); }
  void PaddleElement();
  void PaddleElementEnd();
  void PaddleNext();
  void PaddleLetterEnd();
  void PaddleEnd();
  Duration Length(char element) const;
  void SetKey(bool down);
  void SetPtt(bool on) { ptt_ = on; }
  void Tell() {
    if (on_status) on_status();
  }
  WinkeyItem Take();

  Loop& loop_;
  const WinkeyRegisters& registers_;
  const std::size_t capacity_;
  std::deque<WinkeyItem> items_;
  std::size_t used_ = 0;
  std::optional<std::size_t> pointer_;  ///< where the next item goes; nothing: the end
  bool overwrite_ = false;
  std::optional<int> buffered_speed_;
  int pot_ = 10;
  int port_ = 1;

  Loop::TimerId timer_ = 0;
  TimePoint next_{};     ///< the moment of the step under way
  bool active_ = false;  ///< there is something under way that is not only PTT's tail
  bool paused_ = false;
  bool tuning_ = false;
  bool waiting_ = false;
  bool break_in_ = false;
  bool key_ = false;
  bool ptt_ = false;
  bool ptt_held_ = false;  ///< by the host's command
  bool first_ = false;     ///< the next element is the first one after a rest
  char sign_ = ' ';        ///< the character being sent
  std::string pattern_;    ///< what is left of it
  std::string by_hand_;    ///< the elements of the paddle letter
  WinkeyPaddles paddles_;
  bool between_ = false;  ///< the paddles are at rest between elements
};

}  // namespace kvx::sim
