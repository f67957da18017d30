#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "sim/rig_output.h"
#include "sim/simulated_device.h"
#include "sim/winkey_registers.h"
#include "sim/winkey_sender.h"

namespace kvx::sim {

/// A WinKeyer 2 or 3 at its serial port. A byte below 0x20 begins a command, whose length its code tells; what is above
/// is text:
///
///     00 aa [..]   administration: 00 02 opens the host mode and answers the version, 00 03 closes it, 00 04 xx echoes
///     01..15 [..]  acts at once         16 [..]  moves in the buffer         18..1F [..]  waits in the buffer
///
/// Until the host mode is open only administration is heard. In the host mode it tells its status (C0..) and the speed
/// pot (80..BF) whenever they change, and what it has sent if it has been asked to. Bytes of 80 and above, where a
/// command or a text is due, are passed over as the keyer does. Facts: K1EL, WinKeyer 2 and WinKeyer 3 manuals.
///
/// Its panel:
///
///     pot N            words a minute above the pot's lower end     silent on|off   hears, and says nothing
///     paddle dit MS    a paddle is held; dit, dah or squeeze        late MS         says everything later
///     text             what the key has sent, read by ear           pieces on|off   says it byte by byte
///     log              the last bytes that came                     garbage HEX     noise before it next speaks
///     state            as JSON                                      unplug, plug    without power, and with it again
class WinkeyDevice final : public SimulatedDevice {
 public:
  enum class Model { kWinkey2, kWinkey3 };

  WinkeyDevice(Loop& loop, Model model);
  ~WinkeyDevice() override;
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override;

  bool key() const { return keyed_; }
  /// Of its own tone, as the host has set it.
  int side_tone_hertz() const { return registers_.side_tone_hertz(); }

  /// Its key output goes down or up; `when` may be a little before this call.
  std::function<void(bool down, TimePoint when)> on_key;

 private:
  struct Command;
  struct Word;

  void Take(char byte);
  std::size_t ParametersWanted() const;
  void Execute();
  bool Administer();
  bool Run();
  bool RunImmediate(int code, int value);
  bool RunBuffered(int code, int value);
  bool LoadEeprom();
  bool PutText(char letter);
  bool PutItem(WinkeyItem::Kind kind, int value, std::size_t bytes);
  void Open();
  void Close();
  void Refuse();
  void Say(std::string_view bytes);
  void SayByte(int byte) { Say(std::string(1, static_cast<char>(byte))); }
  void TellStatus(bool always = false);
  void TellPot();
  int status() const;
  int Parameter(std::size_t index) const { return static_cast<unsigned char>(command_[index]); }
  bool IsThird() const { return model_ == Model::kWinkey3; }
  void KeyEdge(bool down, TimePoint when);
  void Sent(char letter, bool by_paddle);

  std::string TurnPot(std::string_view argument);
  std::string HoldPaddle(std::string_view argument);
  std::string SetSilent(std::string_view argument);
  std::string SetLate(std::string_view argument);
  std::string SetPieces(std::string_view argument);
  std::string SetGarbage(std::string_view argument);
  std::string ShowText(std::string_view argument);
  std::string ShowLog(std::string_view argument);
  std::string ShowState(std::string_view argument);
  std::string Unplug(std::string_view argument);
  std::string Plug(std::string_view argument);

  Loop& loop_;
  const Model model_;
  WinkeyRegisters registers_;
  WinkeySender sender_;
  RigOutput output_;
  MorseReader reader_;
  std::string eeprom_;
  std::string command_;  ///< what has come of the command under way
  bool open_ = false;
  bool newer_status_ = false;  ///< the host has asked for the status of WinKeyer 2
  bool fine_tone_ = false;     ///< it is a WinKeyer 3 in its own mode
  bool keyed_ = false;         ///< its key output is down
  bool silent_ = false;
  bool powered_ = true;
  int told_status_ = 0xC0;
  Loop::TimerId paddle_timer_ = 0;
  std::string log_;
  std::int64_t refused_ = 0;
};

}  // namespace kvx::sim
