#pragma once

#include <memory>
#include <string>

#include "console/station.h"

namespace kvx::console {

/// What a test of the rig port came to.
struct RigTestResult {
  bool answered = false;  ///< the rig has told its frequency
  std::string sentence;   ///< one sentence for the operator, with what to look at when it is bad
};

/// Asks the rig for its frequency and says what came back, whatever the family and whether or not the rig is polled.
/// Sends nothing but queries.
class RigTest {
 public:
  RigTest(Loop& loop, Station& station) : loop_(loop), station_(station) {}
  RigTest(const RigTest&) = delete;
  RigTest& operator=(const RigTest&) = delete;
  ~RigTest() { StopListening(); }

  /// Waits at most two seconds for the port to open and two more for the answer. One test at a time: another one begun
  /// meanwhile is told so.
  Task Run(std::shared_ptr<RigTestResult> result);

 private:
  Task WaitUntilOpen();
  Task WaitUntilQuiet();
  Task Ask();
  Task AskForMode();
  std::string WhyNotNow() const;
  bool transmitting() const { return *station_.console.Transmitting || *station_.console.Tuning; }
  std::string_view Query() const;
  void Listen();
  void StopListening();
  void Hear(const cat::Reply& reply);
  RigTestResult Verdict() const;
  std::string Answer() const;
  std::string Port() const;

  /// What has come since the question.
  struct Heard {
    bool frequency = false;
    bool refused = false;
    bool other = false;  ///< a reply that tells something else
    Frequency shown;
    std::string mode;
    std::uint64_t bytes = 0;  ///< when the frequency had come
    TimePoint when{};
  };

  Loop& loop_;
  Station& station_;
  bool running_ = false;
  std::function<void(const cat::Reply&)> handed_on_;  ///< the engine's own handler, while a test listens
  Heard heard_;
  cat::SendOutcome sent_ = cat::SendOutcome::kSent;  ///< what became of the question
  bool interrupted_ = false;                         ///< the operator began to transmit
  TimePoint asked_{};
  std::uint64_t received_before_ = 0;
  std::uint64_t sent_before_ = 0;
};

}  // namespace kvx::console
