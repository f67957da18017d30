#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <iostream>
#include <memory>

#include "cat/transmit.h"
#include "core/text.h"
#include "soak/heap_count.h"
#include "soak/outside_programs.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;

constexpr Duration kMoment = 500ms;             // between two acts of the world
constexpr Duration kRound = 10min;              // between two looks at a station at rest
constexpr int kWarmUp = 3;                      // rounds at least in which it takes what it keeps, else a third of all
constexpr std::size_t kHeapGrowth = 128 << 10;  // what may come on top: texts that the operator has stored meanwhile
constexpr std::size_t kBlockGrowth = 500;
constexpr std::size_t kKeptForGood = 2000;  // blocks of tables that are made once
constexpr Duration kToRelease = 10s;

struct OtherRig {
  const char* name;
  const char* device;
};
constexpr std::array kRigs{OtherRig{"TS-2000", "sim:ts2000"},     OtherRig{"FT-857", "sim:ft857"},
                           OtherRig{"IC-7300", "sim:ic7300"},     OtherRig{"FT-DX5000", "sim:ftdx5000"},
                           OtherRig{"FT-1000MP", "sim:ft1000mp"}, OtherRig{"Orion", "sim:orion"},
                           OtherRig{"Omni VII", "sim:omni7"},     OtherRig{"K3", "sim:k3"}};

int FromEnvironment(const char* name, int otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atoi(text);
}

/// One station, hours long. Every round it is operated at random and then brought to rest and measured.
class Soak {
 public:
  explicit Soak(unsigned seed) : dice_(seed) { std::filesystem::current_path(soak_->folder.path()); }
  ~Soak() { std::filesystem::current_path("/"); }

  void Run(Duration length);

 private:
  void FillHistories();
  void OperateFor(Duration duration);
  void Give(const std::string& line);
  void Note(const std::string& line);
  void Follow(console::Direction direction, std::string_view bytes);
  void TellLatest() const;
  void Mishap();
  void StepClock(int step);
  void CheckClock();
  void CheckTransmitter();
  void Rest();
  void Measure(int round);
  void EndIt();

  const HeapCount before_ = CountHeap();
  Dice dice_;
  std::unique_ptr<SoakStation> soak_ = std::make_unique<SoakStation>();
  OutsidePrograms programs_{*soak_, dice_};
  Duration unexplained_{};  ///< the rig has transmitted for so long without the console
  Duration transmitted_{};  ///< and for so long in all
  TimePoint back_{};        ///< when the pulled plugs go back
  std::deque<std::string> latest_;
  console::DebugLog::Listening listening_;
  int warm_up_ = kWarmUp;
  HeapCount most_;
  std::size_t most_timers_ = 0;
};

void Soak::Run(Duration length) {
  soak_->loop.StepUtc(std::chrono::minutes(10 * 60 + 45));  // 23:45 UTC
  soak_->loop.SetLocalOffset(60min);
  soak_->Start();
  listening_ =
      soak_->station.debug_log.Listen([this](auto direction, std::string_view bytes) { Follow(direction, bytes); });
  FillHistories();
  warm_up_ = std::max(kWarmUp, static_cast<int>(length / kRound / 3));
  for (int round = 0; kRound * round < length; ++round) {
    StepClock(round);
    OperateFor(kRound);
    if (testing::Test::HasFailure()) return;
    Rest();
    Measure(round);
    if (testing::Test::HasFailure()) return;
  }
  EndIt();
}

/// What is kept up to a bound is filled to it, so that it does not look like growth.
void Soak::FillHistories() {
  for (int i = 1; i <= 100; ++i) {
    const std::string number = std::to_string(i);
    Give("memory store " + number + " a name that takes its place");
    Give("memory comment " + number + " and so does what is noted about it");
    Give("freq " + std::to_string(18000 + i));
    for (const char* line : {"fntext 1 a text that takes its place", "store a note that takes its place", "delete"}) {
      Give(line);
      soak_->RunFor(200ms);
    }
  }
}

void Soak::OperateFor(Duration duration) {
  SoakStation& soak = *soak_;
  for (Duration passed{}; passed < duration; passed += kMoment) {
    programs_.Act();
    if (dice_.OneIn(4)) Give(RandomCommand(dice_));
    if (dice_.OneIn(240)) Mishap();
    if (back_ != TimePoint{} && soak.loop.Now() >= back_) {
      back_ = {};
      soak.plugs.PutBack();
    }
    soak.RunFor(kMoment);
    soak.ForgetRecords();
    CheckTransmitter();
    if (testing::Test::HasFailure()) return TellLatest();
  }
}

void Soak::Give(const std::string& line) {
  soak_->Command(line);
  Note(line + " -> " + soak_->last_answer.substr(0, 100));
}

void Soak::Note(const std::string& line) {
  latest_.push_back(soak_->station.clock().Text() + " " + line);
  if (latest_.size() > 400) latest_.pop_front();
}

/// What has been sent to the rig, the poll left out.
void Soak::Follow(console::Direction direction, std::string_view bytes) {
  if (direction == console::Direction::kSent && bytes != "IF;" && !bytes.starts_with("SM0;"))
    Note("  sent " + std::string(bytes));
}

void Soak::TellLatest() const {
  std::cout << soak_->rig()->address() << " " << soak_->rig()->device()->Operate("state") << '\n';
  for (const std::string& line : latest_) std::cout << OneLine(line, 200) << '\n';
}

/// A cable is pulled, another rig is put on the desk, the rig is switched off, the receiver is listened to.
void Soak::Mishap() {
  SoakStation& soak = *soak_;
  switch (dice_.Below(6)) {
    case 0:
    case 1:
      Note("pulled the rig");
      if (soak.rig() != nullptr) soak.plugs.Pull(soak.rig()->address());
      back_ = soak.loop.Now() + std::chrono::seconds(dice_.Between(1, 90));
      break;
    case 2:
      soak.plugs.Pull(SoakStation::kKeyer);
      Note("pulled the keyer");
      back_ = soak.loop.Now() + std::chrono::seconds(dice_.Between(1, 90));
      break;
    case 3: {
      const OtherRig& rig = dice_.Pick(kRigs);
      Give(std::string("device 3 ") + rig.device);
      Give(std::string("rig ") + rig.name);
      break;
    }
    case 4:
      Give(dice_.OneIn(2) ? "sim mute on" : "sim mute off");
      break;
    default:
      Give("audio on");
      soak.RunFor(5s);
      Give(dice_.OneIn(2) ? "audio text" : "audio spectrum");
      Give("audio off");
  }
}

/// Summer time begins and ends, a time server sets the clock back and forth. The second round has midnight in it.
void Soak::StepClock(int step) {
  VirtualLoop& loop = soak_->loop;
  switch (step % 6) {
    case 0:
      return loop.SetLocalOffset(120min);
    case 1:
      return loop.StepUtc(-500ms);
    case 2:
      return loop.StepUtc(-2h);
    case 3:
      return loop.SetLocalOffset(60min);
    case 4:
      return loop.StepUtc(std::chrono::hours(24 * 40));
    default:
      return loop.StepUtc(-std::chrono::hours(24 * 39));
  }
}

void Soak::CheckClock() {
  std::tm shown{};
  int hundredths = 0;
  const int fields =
      std::sscanf(soak_->station.console.RIGGMT->c_str(), "%d-%d-%d %d:%d:%d.%d", &shown.tm_year, &shown.tm_mon,
                  &shown.tm_mday, &shown.tm_hour, &shown.tm_min, &shown.tm_sec, &hundredths);
  ASSERT_EQ(fields, 7) << *soak_->station.console.RIGGMT;
  shown.tm_year -= 1900;
  shown.tm_mon -= 1;
  const auto wanted = soak_->loop.UtcNow() + soak_->loop.LocalOffset() - 1h;  // GMT= -1
  const auto told = std::chrono::seconds(timegm(&shown)) + std::chrono::milliseconds(hundredths * 10);
  const auto late = wanted.time_since_epoch() - told;
  EXPECT_TRUE(late >= 0ms && late < 300ms) << *soak_->station.console.RIGGMT << " is " << late.count() << " ms late";
}

/// The rig does not go on transmitting after the console has let it go or has been silent for longer than may be.
void Soak::CheckTransmitter() {
  // The operator, told so, goes to the rig.
  if (soak_->station.console.MsgArea->starts_with("The transmitter of ")) soak_->Command("sim ptt off");
  // A saved rig that is not the one on the desk is sent what it does not understand: that keys or releases nothing.
  const bool fits = std::any_of(kRigs.begin(), kRigs.end(), [this](const OtherRig& rig) {
    return soak_->rig() != nullptr && soak_->rig()->is_open() && soak_->rig()->address() == rig.device &&
           *soak_->station.console.RigName == rig.name;
  });
  const bool transmits = fits && soak_->rig_transmits();
  const bool console_knows =
      *soak_->station.console.Transmitting || *soak_->station.console.Tune || soak_->station.keyer.sender().sending();
  if (transmits && unexplained_ == Duration{} && !console_knows)
    Note("unexplained begins " + soak_->rig()->device()->Operate("state"));
  if (transmits && transmitted_ == Duration{}) Note("transmits");
  unexplained_ = transmits && !console_knows ? unexplained_ + kMoment : Duration{};
  transmitted_ = transmits ? transmitted_ + kMoment : Duration{};
  EXPECT_LT(unexplained_, kToRelease) << "at " << *soak_->station.console.RIGGMT;
  EXPECT_LT(transmitted_, cat::kLongestTransmission + kToRelease) << "at " << *soak_->station.console.RIGGMT;
}

void Soak::Rest() {
  SoakStation& soak = *soak_;
  soak.plugs.PutBack();
  back_ = {};
  soak.logger.absent = false;
  for (const char* line : {"escape",
                           "scan stop",
                           "audio off",
                           "debug off",
                           "debug clear",
                           "trace off",
                           "cwpause off",
                           "announce off",
                           "setting KEYERPORT=WINKEY",
                           "device 3 sim:ts2000",
                           "port 3",
                           "speed 57600",
                           "stopbits 1",
                           "rig TS-2000",
                           "rignumber 1",
                           "interval 50",
                           "offset 0",
                           "poll on",
                           "meter off",
                           "gmt -1",
                           "link net on",
                           "link logger on",
                           "link dde on",
                           "sim mute off",
                           "sim pieces off",
                           "sim ptt off",
                           "freq 14025",
                           "tuner drop",
                           "memory delete 1",
                           "audio clear",
                           "keyer close"}) {
    soak.Command(line);
    soak.RunFor(200ms);
  }
  soak.RunFor(60s);
  soak.Command("escape");
  soak.RunFor(30s);
  soak.ForgetRecords();
}

void Soak::Measure(int round) {
  SoakStation& soak = *soak_;
  const Console& console = soak.station.console;
  const int before = soak.rig()->writes;
  soak.RunFor(10s);
  const int cycles = (soak.rig()->writes - before) / 2;
  const HeapCount heap = CountHeap();
  const std::size_t timers = soak.loop.timers();
  std::cout << *console.RIGGMT << ": " << heap.bytes / 1024 << " KB in " << heap.blocks << " blocks, store "
            << heap.store / 1024 << " KB, " << timers << " timers, " << cycles << " polls in 10 s, " << soak.taken
            << " commands, " << programs_.answers << " NET answers" << std::endl;
  EXPECT_GE(cycles, 90) << "of a poll every 100 ms";
  EXPECT_LE(cycles, 110);
  CheckClock();
  EXPECT_EQ(*console.Port, "open");
  EXPECT_FALSE(*console.Transmitting);
  EXPECT_FALSE(soak.rig_transmits());
  EXPECT_FALSE(soak.guard.armed);
  EXPECT_FALSE(soak.keyer_guard.armed);
  const std::string status = soak.Command("status");
  EXPECT_TRUE(status.starts_with("{") && status.ends_with("}")) << status;
  EXPECT_EQ(soak.taken, soak.answered) << "a command has had no answer";
  EXPECT_EQ(programs_.Check(), "");
  if (round < warm_up_) {
    most_.bytes = std::max(most_.bytes, heap.bytes);
    most_.blocks = std::max(most_.blocks, heap.blocks);
    most_timers_ = std::max(most_timers_, timers);
    return;
  }
  EXPECT_LE(heap.bytes, most_.bytes + kHeapGrowth);
  EXPECT_LE(heap.blocks, most_.blocks + kBlockGrowth);
  EXPECT_LE(timers, most_timers_ + 2);
}

/// Nothing is left of the station but what libraries and tables keep for good.
void Soak::EndIt() {
  listening_ = {};
  soak_->ShutDown();
  EXPECT_FALSE(soak_->rig_transmits());
  latest_.clear();
  soak_.reset();
  const HeapCount left = CountHeap();
  std::cout << "left: " << left.blocks - before_.blocks << " blocks, store " << left.store << " bytes" << std::endl;
  EXPECT_LT(left.blocks, before_.blocks + kKeptForGood);
  EXPECT_EQ(left.store, before_.store);
}

TEST(Soak, HoursOfAStationLeaveNothingBehind) {
  const auto seed = static_cast<unsigned>(FromEnvironment("KVX_SOAK_SEED", 1));
  const int hours = FromEnvironment("KVX_SOAK_HOURS", 1);
  std::cout << hours << " hours, KVX_SOAK_SEED=" << seed << std::endl;
  Soak(seed).Run(std::chrono::hours(hours));
}

}  // namespace
}  // namespace kvx
