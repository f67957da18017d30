#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cat/engine.h"
#include "config/settings.h"
#include "core/console.h"
#include "core/loop.h"
#include "core/result.h"
#include "keyer/cw_functions.h"
#include "keyer/cw_sender.h"
#include "keyer/keyer_settings.h"
#include "keyer/tuner.h"
#include "keyer/winkeyer.h"
#include "platform/key_line.h"
#include "platform/release_guard.h"
#include "platform/serial_port.h"

namespace kvx::keyer {

inline constexpr const char* kNoKeyer = "Please select a keyer port in the config setup.";

/// Whether the keyer's port is another one than the rig's, and what is keyed is released when it is closed.
Status CheckPorts(const KeyerSettings& settings, int rig_port);
/// Whether the operator may choose these settings: the same, and a WinKeyer has one of its outputs chosen.
Status CheckChoice(const KeyerSettings& settings, int rig_port);

/// What the keyer is put together from. Everything is borrowed.
struct KeyerParts {
  Loop& loop;
  Console& console;
  cat::Engine& engine;
  platform::Files& files;
  platform::Path folder;
  platform::SerialPort* port = nullptr;  ///< of the WinKeyer; null: there can be none
  /// Makes the line that those settings key in software; null when there is no such line.
  std::function<std::unique_ptr<platform::KeyLine>(const KeyerSettings&)> make_line;
  platform::ReleaseGuard* guard = nullptr;       ///< of the WinKeyer
  platform::ReleaseGuard* text_guard = nullptr;  ///< of the rig's own keyer
  /// Makes another keyer than the console's own ones.
  std::function<std::unique_ptr<CwBackend>(const KeyerSettings&)> make_backend;
};

/// The codes of SendChar1 that are no characters.
enum SendCode { kBackspaceCode = 8, kClearCode = 27, kKeyDownCode = 253, kKeyUpCode = 254 };

/// What was taken to be sent.
struct CwTaken {
  int characters = 0;
  Duration length{0};
  std::string left_out;  ///< one sentence on what there is no sign for; empty: nothing
};

/// CW keying: the keyer of the settings' kind, the queue before it, its stored texts, and the key held down for tuning.
/// Whatever happens, the key is let go: after the limit, when another keyer or rig is chosen, at the end.
class Keyer final {
 public:
  explicit Keyer(const KeyerParts& parts);
  ~Keyer();
  Keyer(const Keyer&) = delete;
  Keyer& operator=(const Keyer&) = delete;

  /// Follows the settings: a keyer for which anything is different is closed and made anew. `open`: a kind that is
  /// opened at start-up is opened.
  void Use(const KeyerSettings& settings, int rig_port);
  /// The port of that number leads to another device: a keyer on it is closed and made anew.
  void PortMoved(int number);
  void Open();
  void Close();
  /// The rig port is about to be closed or opened anew: a line of it is keyed no more.
  void ReleaseRigPort();
  /// The end is near: stops all keying; nothing more is taken.
  void Stop();
  /// Tells a WinKeyer that its host goes, waits until it has heard, and closes.
  Task Finish();

  /// Sends a text with its macros written out; all of it or nothing is taken. The operator's ends what a program sends.
  /// For a program: kBusy while somebody else sends or tunes, or when it would go on for more than five minutes.
  Result<CwTaken> Send(std::string_view text, cat::Party party = cat::kOperator);
  /// Stops what that program sends; nobody else's.
  void StopFor(cat::Party party);
  /// Sends what is being typed as it is.
  Result<CwTaken> Type(std::string_view text);
  /// Sends the message of function 1 to 12.
  Result<CwTaken> SendFunction(int number);
  /// Sends one character, or does what a SendCode says.
  void SendChar1(int code);
  std::size_t Backspace(std::size_t count = 1) { return sender_.Backspace(count); }
  void Pause(bool on) { sender_.Pause(on); }
  /// Stops text and tuning at once.
  void Escape();
  Status SetSpeed(int wpm);

  /// The tune control: holds the key down, or lets it go, and says so.
  void TuneIt();
  Status Tune(bool on);

  const KeyerSettings& settings() const { return settings_; }
  const CwSender& sender() const { return sender_; }
  /// It transmits, whoever has told it to: also a logging program that shares it.
  bool transmits() const { return *console_.Tune || sender_.sending() || (winkeyer_ && winkeyer_->keyed()); }
  bool ready() const { return backend_ != nullptr && backend_->ready(); }
  /// The last try to open it was in vain.
  bool failed() const { return failed_; }
  /// A console before this one may have left the keyer keyed: it is released when it is opened.
  void OweRelease() {
    if (winkeyer_) winkeyer_->OweRelease();
    owes_stop_ = true;
  }
  /// The WinKeyer on the keyer's port, in use or not; null when there can be none.
  WinKeyer* winkeyer() const { return winkeyer_.get(); }

  std::function<void(const std::string& line)> on_notice;             ///< one line for the operator
  std::function<void(std::vector<config::SettingChange>)> keep;       ///< lines for rig.ini
  std::function<void(const std::string& symbol, int wpm)> on_symbol;  ///< a symbol begins
  std::function<void(bool down)> on_key;                              ///< held down for tuning
  std::function<void()> on_silence;                                   ///< the text is at its end
  std::function<void()> on_settings;                                  ///< settings() is different

  CwFunctions functions;

 private:
  void StopSending();
  CwBackend* Choose();
  std::unique_ptr<CwBackend> Make();
  std::unique_ptr<CwBackend> MakeSoftwareKeyer();
  void Replace();
  Status MayType() const;
  Result<CwTaken> Take(std::string_view text, cat::Party party);
  Status MaySend(cat::Party party, Duration length) const;
  void Follow(Field field);
  void Ready();
  void Gone(bool was_sending);
  void RigPortGone();
  void KeepSpeed();
  void ShowState();
  void Notice(const std::string& line) const;
  bool with_rig() const { return settings_.kind == KeyerKind::kRigKeyer || settings_.kind == KeyerKind::kRigLine; }

  Loop& loop_;
  Console& console_;
  cat::Engine& engine_;
  KeyerParts parts_;
  KeyerSettings settings_;
  int rig_port_ = 0;
  bool used_ = false;  ///< settings have been taken over
  bool rig_is_open_ = false;
  bool owes_stop_ = false;  ///< to the rig's own keyer
  CwSender sender_;
  Tuner tuner_;
  std::unique_ptr<WinKeyer> winkeyer_;
  std::unique_ptr<CwBackend> made_;        ///< a keyer of another kind
  std::unique_ptr<CwBackend> retired_;     ///< the one before: the change may come from one of its own events
  CwBackend* backend_ = nullptr;           ///< the one in use
  cat::Party sends_for_ = cat::kOperator;  ///< while it sends
  bool failed_ = false;
  bool replacing_ = false;
  bool stopping_ = false;
  Loop::TimerId keep_speed_ = 0;
  Console::Subscription console_changes_;
};

}  // namespace kvx::keyer
