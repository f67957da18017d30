#pragma once

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cat/band_plan.h"
#include "config/rig_definition.h"
#include "core/console.h"
#include "core/loop.h"
#include "platform/speech.h"

namespace kvx::console {

/// Spoken announcements. While they are on, every operation, and every change at the rig itself, puts its short
/// sentence ("Band = 40", "Mode = USB") into SPKBX, where a screen reader finds it, and hands it to the voice if there
/// is one. Never the same sentence twice in a row. What moves (frequency, sliders) is told when it has come to rest,
/// and of several changes of one kind only the last.
class Announcer {
 public:
  enum class Topic {
    kOperation,
    kRig,
    kSlot,
    kRigNumber,
    kPort,
    kBand,
    kVfo,
    kMode,
    kNarrow,
    kStep,
    kLimits,
    kOffset,
    kMeter,
    kAgc,
    kPolling,
    kTransmit,
    kTune,
    kTheme,
    kTextSize,
    kFunction,
    kAccessory,
    kSlider,
    kMessage,
    kPlan,
    kLoggerLink,
    kKeyerLink,
    kFrequency,
  };

  /// `speech`: null without a voice.
  Announcer(Loop& loop, Console& console, const config::RigDefinition& rig, const cat::BandPlan& plan,
            platform::Speech* speech);
  Announcer(const Announcer&) = delete;
  Announcer& operator=(const Announcer&) = delete;
  ~Announcer() { loop_.StopTimer(timer_); }

  /// While it lasts, sliders that move are not announced.
  class Hush {
   public:
    explicit Hush(Announcer& announcer) : announcer_(announcer) { ++announcer_.hushed_; }
    Hush(const Hush&) = delete;
    Hush& operator=(const Hush&) = delete;
    ~Hush() { --announcer_.hushed_; }

   private:
    Announcer& announcer_;
  };

  /// Function key 1 to 9 has been pressed and its command sent.
  void FunctionPressed(int number);
  /// An operation that leaves no trace in the console's state ("AGC fast").
  void Operated(std::string sentence) { Queue(Topic::kOperation, 0, std::move(sentence)); }
  /// The same of the antennas, one after the other for each topic.
  void Accessory(int topic, std::string sentence) { Queue(Topic::kAccessory, topic, std::move(sentence)); }
  /// Frequency, mode, VFO, band and S-meter in one sentence, said at once, whether announcements are on or not.
  std::string SayStatus();

 private:
  struct Row;
  static const Row kRows[];
  using Key = std::pair<Topic, int>;
  struct Waiting {
    Key key;
    std::string sentence;  ///< empty: made from the console's state when its turn comes
    TimePoint since;
    TimePoint due;
  };

  void Follow(Field field);
  void Switched(bool on);
  void FollowSpkbx();
  void FollowSliders();
  void FollowMessage(const std::string& line);
  void Queue(Topic topic, int index, std::string sentence = {});
  bool Absorb(const Key& key);
  void Arm();
  void Flush();
  bool Tell(const Waiting& waiting);
  bool Put(Topic topic, const std::string& sentence);
  std::string StateSentence(const Key& key) const;
  std::string FunctionName(int number) const;
  bool is_plan_note(const std::string& line) const;

  Loop& loop_;
  Console& console_;
  const config::RigDefinition& rig_;
  const cat::BandPlan& plan_;
  platform::Speech* speech_;
  bool putting_ = false;
  int hushed_ = 0;
  std::vector<Waiting> waiting_;
  std::map<Key, std::string> known_;  ///< what each piece of state was last told to be, or was at the beginning
  std::array<int, config::kSliders> sliders_{};
  TimePoint free_at_{};  ///< the sentence before has had its time
  Loop::TimerId timer_ = 0;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
