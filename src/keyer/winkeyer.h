#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/console.h"
#include "core/loop.h"
#include "core/task.h"
#include "keyer/cw_backend.h"
#include "keyer/keyer_settings.h"
#include "keyer/logger_keying.h"
#include "keyer/winkey_bytes.h"
#include "keyer/winkey_progress.h"
#include "platform/release_guard.h"
#include "platform/serial_port.h"

namespace kvx::keyer {

/// An external WinKeyer on a serial port of its own. It is started up step by step, given a few symbols at a time, and
/// followed by what it reports. A port that cannot be opened or vanishes is tried again; a keyer that stays silent is
/// left alone until the next Open. What it had not sent when it went is never sent again; one that went while it was
/// keyed is released before anything else when it is back. A logging program on another port may share it: what that
/// one keys is released as well, and held no longer than a tune or any transmission. Engine thread only.
class WinKeyer final : public CwBackend {
 public:
  WinKeyer(Loop& loop, Console& console, platform::SerialPort& port, platform::ReleaseGuard* guard = nullptr);
  ~WinKeyer() override;
  WinKeyer(const WinKeyer&) = delete;
  WinKeyer& operator=(const WinKeyer&) = delete;

  /// Counts from the next start-up on.
  void Configure(const KeyerSettings& settings) { settings_ = settings; }

  /// Opens the keyer port, anew if it is open, and starts the keyer up.
  void OpenPort(int number);
  /// The start-up on the port as it is. Keep it, or await it.
  Task InitWinkey();

  /// A console before this one may have left the keyer keyed: the next start-up releases it before anything else.
  void OweRelease() { release_owed_ = ptt_owed_ = true; }
  /// It was keyed when it was last within reach, and has not been released since.
  bool owes_release() const { return release_owed_; }
  void Open() override;
  /// Releases what is keyed and sends the host-close command; the port closes when that has been delivered.
  Task HostClose();
  /// The same for who need not wait for it.
  void Close() override;
  bool closing() const { return !closing_.done(); }
  bool ready() const override { return state_ == State::kReady && !host_closed_; }
  /// The transmitter may be keyed by what was written to it, also by a logging program.
  bool keyed() const { return key_down_ || progress_.size() > 0 || logger_keying_.keyed(); }
  std::string_view state() const override;
  std::size_t room() const override;
  void Send(std::string_view symbol) override;
  std::size_t pending() const override { return progress_.size(); }
  void Abort() override;
  void SetSpeed(int wpm) override;
  /// Ends by itself after the tune limit.
  bool Key(bool down) override;

  /// The port of a logging program; null: none. Its owner calls GetWInkey when bytes have arrived at it.
  void SetLogger(platform::SerialPort* logger);
  void SetPassThrough(bool on);
  /// The logging program has gone, with whatever it may have keyed.
  void LoggerGone();
  /// Takes what has arrived from the keyer.
  void KeyBack();
  /// Takes what has arrived from the logging program.
  void GetWInkey();

  /// As it told at the latest start-up: 23 is 2.3; 0 before.
  int version() const { return version_; }
  bool keyer_ready() const { return keyer_ready_; }    ///< as its status bytes tell
  bool keyer_failed() const { return keyer_failed_; }  ///< the latest start-up timed out
  /// The logging program has asked the keyer to drop its text, and nothing has been sent from here since.
  bool clear_request() const { return clear_request_; }
  /// What the logging program has asked the keyer to send lately, blanks left out.
  const std::string& logger_text() const { return logger_text_; }

  std::function<void(std::string_view bytes)> on_written;
  std::function<void(std::string_view bytes)> on_received;
  std::function<void(std::string_view bytes)> on_logger;  ///< what the logging program has sent

 private:
  enum class State { kClosed, kStarting, kReady, kFailed };

  Task KeepOpening(Duration pause);
  bool OpenTheLine();
  Task AwaitReply(WinkeyReply kind);
  void Ready();
  void Failed(const std::string& why);
  void Lost(const std::string& why);
  void Let();
  void Write(std::string_view bytes);
  void WriteRelease(bool clear);
  Duration LineTime(std::size_t bytes) const;
  bool may_write() const { return port_.is_open() && (state_ == State::kReady || state_ == State::kFailed); }
  void TakeFlags(std::string_view bytes);
  void TakePot(std::uint8_t byte);
  void TakeSpeed(int wpm);
  void TakeReports(std::string_view bytes);
  void TakeLoggerByte(std::uint8_t byte, std::string& command);
  void Hold(std::string_view bytes);
  void PassOn();
  void AwaitRest();
  void RestCame();
  void EndCommand();
  void Share(const LoggerKeying::Effect& effect);
  void LimitHold();
  void ReleaseLogger(const char* why);
  void Follow();
  void Guard();
  void Advance();

  Loop& loop_;
  Console& console_;
  platform::SerialPort& port_;
  platform::ReleaseGuard* guard_;
  KeyerSettings settings_;
  State state_ = State::kClosed;
  int number_ = 0;     ///< of the port
  bool told_ = false;  ///< the operator knows that it does not work
  Duration pause_{0};  ///< before the latest attempt to open
  std::string reply_;  ///< to the latest step of the start-up
  Signal arrived_;     ///< a part of it
  TimePoint last_arrival_{};
  Duration waited_{0};  ///< in this start-up
  bool answered_ = false;
  WinkeyProgress progress_;
  TimePoint line_free_at_{};  ///< all that was written has reached the keyer
  Loop::TimerId tick_ = 0;
  Loop::TimerId tune_end_ = 0;
  int told_speed_ = 0;
  bool speed_in_text_ = false;  ///< the speed changed while text was being sent
  bool key_down_ = false;
  bool release_owed_ = false;  ///< it was keyed when it went
  bool ptt_owed_ = false;      ///< and nobody knows by what
  std::string armed_;          ///< what the guard has
  Loop::TimerId guard_check_ = 0;
  int pot_ = -1;
  bool keyer_ready_ = false;
  bool keyer_failed_ = false;
  int version_ = 0;
  platform::SerialPort* logger_ = nullptr;
  bool pass_through_ = false;
  std::string held_;          ///< from the logging program, until the line has room for it
  bool overrun_ = false;      ///< some of it has been dropped
  Loop::TimerId pass_ = 0;    ///< to pass on more of it
  Loop::TimerId rest_ = 0;    ///< the logging program has begun a command: bytes of ours wait for its rest
  int later_speed_ = 0;       ///< one of them; 0: none
  bool host_closed_ = false;  ///< by the logging program
  Loop::TimerId reopen_ = 0;
  LoggerKeying logger_keying_;
  Duration hold_limit_{0};  ///< how long the logging program may hold what it holds; 0: nothing
  Loop::TimerId hold_end_ = 0;
  bool clear_request_ = false;
  std::string logger_text_;
  std::string logger_command_;  ///< begun at the end of the latest arrival
  Task closing_;
  Task start_;
};

}  // namespace kvx::keyer
