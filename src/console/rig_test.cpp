#include "console/rig_test.h"

#include <utility>

#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr Duration kOpenTime = 2s;
constexpr Duration kAnswerTime = 2s;
constexpr Duration kAskAgain = 1s;
constexpr Duration kModeTime = 300ms;
constexpr Duration kLook = 2ms;
constexpr Duration kQuiet = 30ms;       // of the line before the question
constexpr Duration kQuietTime = 500ms;  // at most waited for it

/// Set while its procedure runs, whichever way that ends.
class Running {
 public:
  Running(bool& flag, std::function<void()> at_end) : flag_(flag), at_end_(std::move(at_end)) { flag_ = true; }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  ~Running() {
    flag_ = false;
    at_end_();
  }

 private:
  bool& flag_;
  std::function<void()> at_end_;
};

}  // namespace

std::string RigTest::Port() const {
  return "COM" + std::to_string(station_.settings().rig_port);
}

/// The frequency query; for a rig without one, what else it can be asked.
std::string_view RigTest::Query() const {
  for (const std::string_view key : {"XGETFREQ", "XREADMODE", "XGETSMETER"}) {
    if (station_.engine.dispatcher.Has(key)) return key;
  }
  return {};
}

/// Why there is nothing to ask; empty when there is.
std::string RigTest::WhyNotNow() const {
  const Console& console = station_.console;
  if (running_) return "A test is running already";
  if (EqualNoCase(*console.RigName, "NONE")) return "No rig is chosen: choose one first";
  if (station_.settings().rig_port == 0) return "No port is chosen: choose the one that the rig is connected to";
  if (Query().empty()) return Port() + ": there is nothing that a " + *console.RigName + " could be asked";
  if (transmitting()) return Port() + ": not asked while the rig is transmitting";
  return {};
}

Task RigTest::Run(std::shared_ptr<RigTestResult> result) {
  *result = {.answered = false, .sentence = WhyNotNow()};
  if (!result->sentence.empty()) co_return;
  const Running running(running_, [this] { StopListening(); });
  heard_ = {};
  interrupted_ = false;
  Task open = WaitUntilOpen();
  co_await open;
  if (station_.engine.link.is_open()) {
    Task quiet = WaitUntilQuiet();
    co_await quiet;
    Task ask = Ask();
    co_await ask;
    Task mode = AskForMode();
    co_await mode;
  }
  *result = Verdict();
}

Task RigTest::WaitUntilOpen() {
  const TimePoint limit = loop_.Now() + kOpenTime;
  while (!station_.engine.link.is_open() && loop_.Now() < limit) {
    co_await loop_.Sleep(kLook);
  }
}

/// A poll's question and answer that are under way would be taken for ours.
Task RigTest::WaitUntilQuiet() {
  const TimePoint limit = loop_.Now() + kQuietTime;
  while (loop_.Now() < limit) {
    const cat::RigLink& link = station_.engine.link;
    const bool busy = station_.engine.poller.cycle_running() || link.bytes_unsent() > 0 ||
                      link.line_free_at() > loop_.Now() || loop_.Now() < link.last_arrival() + kQuiet;
    if (!busy) co_return;
    co_await loop_.Sleep(kLook);
  }
}

void RigTest::Listen() {
  heard_ = {};
  asked_ = loop_.Now();
  received_before_ = station_.engine.link.received_bytes();
  sent_before_ = station_.engine.link.sent_bytes();
  handed_on_ = std::exchange(station_.engine.parser.on_reply, [this](const cat::Reply& reply) { Hear(reply); });
}

void RigTest::StopListening() {
  if (handed_on_) station_.engine.parser.on_reply = std::exchange(handed_on_, {});
}

void RigTest::Hear(const cat::Reply& reply) {
  using Kind = cat::Reply::Kind;
  const auto handed_on = handed_on_;
  handed_on(reply);
  // The other VFO's frequency is not what was asked for.
  const bool frequency = reply.kind == Kind::kShownFrequency || reply.kind == Kind::kFrequencyA;
  if (reply.kind == Kind::kMode) heard_.mode = std::string(Trim(reply.mode));
  heard_.refused = heard_.refused || reply.kind == Kind::kRefused;
  heard_.other = heard_.other || (!frequency && reply.kind != Kind::kRefused);
  if (!frequency || heard_.frequency) return;
  heard_.frequency = true;
  heard_.shown = reply.frequency - *station_.console.Offset;
  heard_.bytes = station_.engine.link.received_bytes() - received_before_;
  heard_.when = loop_.Now();
}

Task RigTest::Ask() {
  Listen();
  TimePoint ask_at = asked_;
  while (!heard_.frequency && station_.engine.link.is_open() && loop_.Now() < asked_ + kAnswerTime) {
    interrupted_ = interrupted_ || transmitting();
    if (interrupted_) co_return;
    if (loop_.Now() >= ask_at) {
      sent_ = station_.engine.dispatcher.SendData(Query());
      ask_at += kAskAgain;
    }
    co_await loop_.Sleep(kLook);
  }
}

Task RigTest::AskForMode() {
  const TimePoint limit = loop_.Now() + kModeTime;
  const bool needed =
      heard_.frequency && heard_.mode.empty() && !transmitting() && station_.engine.dispatcher.Has("XREADMODE");
  if (needed) station_.engine.dispatcher.SendData("XREADMODE");
  while (needed && heard_.mode.empty() && loop_.Now() < limit) {
    co_await loop_.Sleep(kLook);
  }
}

std::string RigTest::Answer() const {
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(heard_.when - asked_).count();
  return "the rig answers, " + KhzText(heard_.shown) + " kHz" + (heard_.mode.empty() ? "" : " " + heard_.mode) + " (" +
         std::to_string(heard_.bytes) + " bytes in " + std::to_string(time) + " ms)";
}

RigTestResult RigTest::Verdict() const {
  const std::string rig = *station_.console.RigName;
  const auto bad = [this](const std::string& what) { return RigTestResult{false, Port() + ": " + what}; };
  const cat::RigLink& link = station_.engine.link;
  if (heard_.frequency) return {true, Port() + ": " + Answer()};
  if (interrupted_) return bad("the test has ended because the rig is transmitting");
  if (!link.is_open()) {
    std::string why = *station_.console.Port;
    if (why.find("members of the group") != std::string::npos) why += ": add yourself to it and log in again";
    return why.starts_with(Port() + ": ") ? RigTestResult{false, why} : bad(why);
  }
  const std::uint64_t received = link.received_bytes() - received_before_;
  const bool echo = station_.engine.rig().family == "ICOM" && received > 0 &&
                    received == link.sent_bytes() - sent_before_ && !heard_.other && !heard_.refused;
  if (echo) return bad("only the question itself comes back: is the rig on, and its address right?");
  if (heard_.other) return bad("the rig answers, but does not tell its frequency");
  if (heard_.refused) return bad("the rig refuses the question: is it a " + rig + "?");
  if (received == 0 && sent_ != cat::SendOutcome::kSent) return bad(station_.WhyNotSent(sent_));
  if (received > 0) return bad("bytes arrive but make no reply of a " + rig + ": wrong speed or wrong rig?");
  return bad("no answer within 2 seconds: is the rig on, the cable right, the speed " +
             std::to_string(station_.settings().rig_speed) + "?");
}

}  // namespace kvx::console
