#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "cat/engine.h"
#include "core/console.h"
#include "core/loop.h"
#include "keyer/cw_backend.h"
#include "platform/release_guard.h"

namespace kvx::keyer {

/// The "CWText" template of a rig's row: what stands around the text, and how much text one command takes.
struct CwTemplate {
  std::string before;
  std::string after;
  std::size_t width = 0;
  bool padded = false;  ///< "<CW24>": always so many characters, blanks behind them; "<CW-30>": up to so many

  /// Nothing when the template has no such place.
  static std::optional<CwTemplate> Parse(std::string_view text);
};

/// A symbol in the characters that the keyer of a rig of that family takes; empty when it has none for it.
std::string RigCwText(std::string_view symbol, std::string_view family);

/// The rig's own keyer: text goes over the CAT line, in the row's "CWText" command, a little ahead of what the rig
/// sends, so that its buffer never runs over. The rig tells nothing back: what it is sending is reckoned from the
/// speed. A rig without a "CWStop" command may send what it has been given to its end whatever comes: it gets one sign
/// at a time.
class RigKeyer final : public CwBackend {
 public:
  /// `guard`, of the rig port: null, or it stops the text when the program ends out of order. `stop_first`: the rig may
  /// be sending what a console before this one has given it, and is stopped when its port opens.
  RigKeyer(Loop& loop, Console& console, cat::Engine& engine, platform::ReleaseGuard* guard = nullptr,
           bool stop_first = false);
  ~RigKeyer() override;
  RigKeyer(const RigKeyer&) = delete;
  RigKeyer& operator=(const RigKeyer&) = delete;

  void Open() override;
  void Close() override;
  bool ready() const override;
  std::string_view state() const override;
  std::size_t room() const override;
  void Send(std::string_view symbol) override;
  std::size_t pending() const override { return given_.size(); }
  void Abort() override;
  void SetSpeed(int wpm) override;
  /// No command holds the key of a rig down: false.
  bool Key(bool) override { return false; }

 private:
  struct Given {
    std::string text;
    TimePoint end;
  };

  std::string WhyNot() const;
  void Opened();
  void Flush();
  std::string TakeText(const CwTemplate& form);
  bool Write(const CwTemplate& form, const std::string& text);
  void WaitForFirst();
  void FirstDone();
  void Forget();
  void ForgetRig();
  void StopRig();
  bool has_stop() const { return !engine_.rig().row["CWStop"].empty(); }
  Duration Ahead() const;
  std::string StopBytes();
  void Guard();
  void Unguard();
  void PortChanged();
  void SendSpeed();

  Loop& loop_;
  Console& console_;
  cat::Engine& engine_;
  platform::ReleaseGuard* guard_;
  bool guarded_ = false;
  bool stop_first_;
  Console::Subscription port_;
  bool opened_ = false;
  int wpm_ = 25;
  std::deque<Given> given_;         ///< the first of them is being sent
  std::deque<std::string> unsent_;  ///< given to us and not yet to the rig, one piece a symbol
  TimePoint busy_until_{};          ///< the rig sends until then, whatever has become of its port
  bool stop_at_open_ = false;       ///< it was to be stopped while the port was closed
  Loop::TimerId opening_ = 0;
  Loop::TimerId said_ = 0;
  Loop::TimerId flush_ = 0;
  Loop::TimerId first_done_ = 0;
  Loop::TimerId due_ = 0;  ///< for the next sign
};

}  // namespace kvx::keyer
