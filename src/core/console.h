#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/frequency.h"

namespace kvx {

/// The fields of the console, by which a change is announced.
enum class Field {
  kFreqDisp,
  kFreqA,
  kFreqB,
  kMode,
  kFromF,
  kToF,
  kReference,
  kChannel,
  kBandNumber,
  kVfoKnob,
  kActiveVfo,
  kXnarrow,
  kMsgArea,
  kSpkbx,
  kErrorText,
  kRiggmt,
  kSMeter,
  kMeterValue,
  kMeterOn,
  kMeterNumber,
  kLabel10,
  kPolling,
  kTransmitting,
  kTuning,
  kOffset,
  kSlider,
  kFunctionText,
  kFunctionState,
  kRigName,
  kRigType,
  kRigNumber,
  kRigSlot,
  kRport,
  kPort,
  kColors,
  kRigRow,
  kAnnounce,
  kNoLimits,
  kTheme,
  kTextSize,
  kAgc,
  kRit,
  kXit,
  kBandPlan,
  kSavedRigs,
  kCwSpeed,
  kTune,
  kKeyer,
  kCwProgress,
  kTunerNotebook,
  kLoggerLink,
  kKeyerLink,
  kDde,
};
inline constexpr Field kLastField = Field::kDde;

/// What the console shows and what its modules share. Every field is observed: whoever sets one to a new value
/// announces it, and windows, servers and the logger bridge follow from that one signal. Engine thread only.
class Console {
 public:
  using Listener = std::function<void(Field)>;

  /// Keeps a listener in place; ends with it. Must not outlive the Console.
  class Subscription {
   public:
    Subscription() = default;
    Subscription(Console& console, std::uint64_t id) : console_(&console), id_(id) {}
    Subscription(Subscription&& other) noexcept : console_(std::exchange(other.console_, nullptr)), id_(other.id_) {}
    Subscription& operator=(Subscription&& other) noexcept {
      std::swap(console_, other.console_);
      std::swap(id_, other.id_);
      return *this;
    }
    ~Subscription() {
      if (console_ != nullptr) console_->Unsubscribe(id_);
    }

   private:
    Console* console_ = nullptr;
    std::uint64_t id_ = 0;
  };

  /// One field: a value that announces its changes.
  template <class T>
  class Cell {
   public:
    Cell(Console& console, Field field, T value = {}) : console_(console), field_(field), value_(std::move(value)) {}
    Cell(const Cell&) = delete;
    Cell& operator=(const Cell&) = delete;
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }
    void Set(T value) {
      if (value == value_) return;
      value_ = std::move(value);
      console_.Changed(field_);
    }

   private:
    Console& console_;
    const Field field_;
    T value_;
  };

  /// A numbered group of fields that share one announcement.
  template <class T, std::size_t kCount>
  class Cells {
   public:
    Cells(Console& console, Field field) : console_(console), field_(field) {}
    const T& operator[](std::size_t index) const { return values_.at(index); }
    void Set(std::size_t index, T value) {
      if (value == values_.at(index)) return;
      values_[index] = std::move(value);
      console_.Changed(field_);
    }
    static constexpr std::size_t size() { return kCount; }

   private:
    Console& console_;
    const Field field_;
    std::array<T, kCount> values_{};
  };

  Console() = default;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  [[nodiscard]] Subscription Subscribe(Listener listener) {
    listeners_.push_back({++last_id_, std::move(listener)});
    return Subscription(*this, last_id_);
  }

  // Frequency and mode.
  Cell<Frequency> FreqDisp{*this, Field::kFreqDisp, Frequency::FromKhz(14'000)};  ///< of the chosen VFO, as displayed
  Cell<Frequency> FreqA{*this, Field::kFreqA};
  Cell<Frequency> FreqB{*this, Field::kFreqB};
  Cell<std::string> Mode{*this, Field::kMode, "  CW"};  ///< caption: " USB", " LSB", "  CW", "  AM", "  FM", "RTTY"
  Cell<bool> Xnarrow{*this, Field::kXnarrow};
  Cell<char> ActiveVfo{*this, Field::kActiveVfo, 'A'};  ///< 'A' or 'B'
  Cell<Frequency> Offset{*this, Field::kOffset};        ///< the rig is this much above the display

  // Tuning.
  Cell<int> BandNumber{*this, Field::kBandNumber, 20};
  Cell<Frequency> FromF{*this, Field::kFromF, Frequency::FromKhz(14'000)};
  Cell<Frequency> ToF{*this, Field::kToF, Frequency::FromKhz(14'350)};
  Cell<Frequency> Reference{*this, Field::kReference, Frequency::FromKhz(14'000)};
  Cell<std::string> Channel{*this, Field::kChannel, "0.05"};  ///< the step box, kHz
  Cell<bool> NoLimits{*this, Field::kNoLimits};               ///< the band limits are left as they are
  Cell<std::string> VFO{*this, Field::kVfoKnob, "5500"};      ///< the knob's position read-out

  // Meters. Values are the rig's own units.
  Cell<int> SMeter{*this, Field::kSMeter};
  Cell<int> MeterValue{*this, Field::kMeterValue};
  Cell<bool> MeterOn{*this, Field::kMeterOn};  ///< poll the selected meter instead of the S-meter
  Cell<std::string> MeterNumber{*this, Field::kMeterNumber, "0"};
  Cell<std::string> Label10{*this, Field::kLabel10, "ALC"};  ///< caption of the selected meter

  Cell<std::string> Agc{*this, Field::kAgc};  ///< key of the AGC command last sent: "AGCFAST"

  Cell<bool> Rit{*this, Field::kRit};  ///< as switched from here
  Cell<bool> Xit{*this, Field::kXit};

  // Texts.
  Cell<std::string> MsgArea{*this, Field::kMsgArea};
  Cell<std::string> SPKBX{*this, Field::kSpkbx};          ///< announcements
  Cell<std::string> ErrorText{*this, Field::kErrorText};  ///< the last command that could not be built
  Cell<std::string> RIGGMT{*this,
                           Field::kRiggmt};  ///< UTC clock, "2026-11-21 14:02:25.30"; its changes are the poll's beat

  Cell<bool> Announce{*this, Field::kAnnounce};  ///< spoken announcements are on

  // Polling and the two states in which the rig must not be asked.
  Cell<bool> Polling{*this, Field::kPolling, true};
  Cell<bool> Transmitting{*this, Field::kTransmitting};
  Cell<bool> Tuning{*this, Field::kTuning};

  // Sliders #1 to #11 and function buttons 1 to 9, index 0 first.
  Cells<int, 11> Slider{*this, Field::kSlider};
  Cells<std::string, 9> Text5{*this, Field::kFunctionText};    ///< the texts of the function-key boxes
  Cells<bool, 9> FunctionState{*this, Field::kFunctionState};  ///< a two-state button's second command is next

  // CW keying.
  Cell<int> CWSpeed{*this, Field::kCwSpeed, 25};  ///< words a minute
  Cell<bool> Tune{*this, Field::kTune};           ///< the key is held down for tuning
  Cell<std::string> KeyerState{*this, Field::kKeyer,
                               "none"};             ///< "none", "closed", "starting", "ready", "busy", "failed"
  Cell<int> CwProgress{*this, Field::kCwProgress};  ///< counts changes of the text being sent

  Cell<int> TunerNotebook{*this, Field::kTunerNotebook};  ///< counts changes of the tuner notebook

  // Links to other programs, each as one line: "on COM7", "on, COM7 is closed (why)", "off, no port".
  Cell<std::string> LoggerLink{*this, Field::kLoggerLink};
  Cell<std::string> KeyerLink{*this, Field::kKeyerLink};
  Cell<std::string> DdeBox{*this, Field::kDde};  ///< while DDE is active: the frequency last told, "X01402500X"

  // Rig selection and its port.
  Cell<std::string> RigName{*this, Field::kRigName, "NONE"};
  Cell<std::string> RigType{*this, Field::kRigType};
  Cell<std::string> RigNumber{*this, Field::kRigNumber, "1"};  ///< "1" to "7": the rig address in use
  Cell<int> RigSlot{*this, Field::kRigSlot, 1};                ///< 0 to 8
  Cell<std::string> Rport{*this, Field::kRport};               ///< the saved-rig slot last chosen, as shown
  Cell<std::string> Port{*this, Field::kPort, "closed"};       ///< "open", or why not
  Cell<std::pair<std::int64_t, std::int64_t>> Colors{*this, Field::kColors, {8421504, 4210752}};
  Cell<std::string> Theme{*this, Field::kTheme, "dark"};  ///< "dark", "light", "contrast", "classic"
  Cell<int> TextSize{*this, Field::kTextSize, 100};       ///< percent
  Cell<int> BandPlan{*this, Field::kBandPlan};            ///< counts loaded band plans
  Cell<int> SavedRigs{*this, Field::kSavedRigs};          ///< counts changes of the saved rigs
  Cell<int> RigRow{*this, Field::kRigRow};  ///< counts loaded rows: changes whenever captions and templates may have

 private:
  struct Entry {
    std::uint64_t id;
    Listener listener;
  };

  void Changed(Field field) {
    // By index, and up to the listeners of this moment: a listener may subscribe or end a subscription.
    ++announcing_;
    const std::size_t count = listeners_.size();
    for (std::size_t i = 0; i < count; ++i) {
      if (listeners_[i].listener) {
        const Listener listener = listeners_[i].listener;
        listener(field);
      }
    }
    if (--announcing_ == 0) {
      std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
    }
  }

  void Unsubscribe(std::uint64_t id) {
    for (Entry& entry : listeners_) {
      if (entry.id == id) entry.listener = nullptr;
    }
    if (announcing_ == 0) {
      std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
    }
  }

  std::vector<Entry> listeners_;
  std::uint64_t last_id_ = 0;
  int announcing_ = 0;
};

}  // namespace kvx
