#include "cat/poller.h"

#include <array>

#include "core/text.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kQueryWait = 150ms;
constexpr Duration kPieceWait = 100ms;
constexpr Duration kQuietLine = 30ms;  // what some rigs tell beyond what is read has passed
constexpr Duration kFastTick = 10ms;
constexpr int kFastMeterTicks = 10;
constexpr int kFastMeterSpeed = 9600;  // baud from which the fast meter poll leaves room for everything else
constexpr int kTicksACycle = 2;
constexpr Duration kLongestCycle = 2s;
constexpr std::string_view kInit = "US7";
constexpr int kMostWaits = 10;  // for the end of one reply

}  // namespace

Poller::Poller(Loop& loop, Console& console, RigLink& link, Dispatcher& dispatcher, ReplyParser& parser,
               const config::RigDefinition& rig)
    : loop_(loop), console_(console), link_(link), dispatcher_(dispatcher), parser_(parser), rig_(rig) {}

void Poller::Start() {
  fast_timer_ = FastTimer();
}

void Poller::Stop() {
  fast_timer_ = Task();
  cycle_ = Task();
  init_ = Task();
}

void Poller::Tick() {
  if (*console_.Polling) {
    ++counter_;
    if (counter_ == kTicksACycle) PollRig();
    if (counter_ >= kTicksACycle) counter_ = line_awaited_ ? kTicksACycle - 1 : 0;
  }
  link_.CountDown();
}

void Poller::RigSelected() {
  due_.Forget();
  levels_due_ = 0;
  counter_ = 0;
  line_awaited_ = false;
  next_query_ = 0;
  mode_is_next_ = false;
  init_sent_ = false;
  cycle_ = Task();
  init_ = Task();
  fast_timer_needed_.Notify();
}

void Poller::PortOpened() {
  due_.Forget();
  levels_due_ = 0;
  parser_.Forget();
  init_sent_ = false;
  fast_timer_needed_.Notify();
}

void Poller::InputArrived(bool complete) {
  if (fast_meter()) due_.Arrived(loop_.Now());  // not all that it asks for is read
  ++arrivals_;
  if (!complete) return;
  answered_ = true;
  answer_.Notify();
}

void Poller::PollRig() {
  line_awaited_ = false;
  if (cycle_running() || !init_.done() || !link_.is_open()) return;
  line_awaited_ = line_is_busy() || still_answering();
  if (line_awaited_) return;
  cycle_start_ = loop_.Now();
  parser_.ForgetOverdue();
  if (rig_.family == "KENWOOD") {
    PollKenwood();
  } else {
    cycle_ = PollOthers();
  }
}

void Poller::PollKenwood() {
  if (blocked() && !*console_.MeterOn) return GiveUp();
  if (*console_.MeterOn) {
    link_.WriteRigPort("RM" + *console_.MeterNumber + ";RM;");
    // Every other cycle goes on asking for frequency and mode, so that the display follows the rig under a meter as
    // well.
    mode_is_next_ = !mode_is_next_;
    if (mode_is_next_ || blocked()) return;
  } else {
    dispatcher_.SendData("XGETSMETER");
  }
  if (dispatcher_.SendData("XREADMODE") == SendOutcome::kSent) due_.Asked(loop_.Now());
  if (on_cycle_end) on_cycle_end();
}

/// It is not asked again on top of the replies that it is still sending.
bool Poller::still_answering() const {
  return (due_.Awaited(loop_.Now()) || parser_.reply_under_way()) && loop_.Now() < cycle_start_ + kLongestCycle;
}

void Poller::LevelAsked() {
  if (rig_.nameless()) return;
  if (!due_.Awaited(loop_.Now())) levels_due_ = 0;  // of those before
  due_.Asked(loop_.Now());
  ++levels_due_;
}

/// Values of sliders, and what is told of a VFO, may come without having been asked for. A rig whose replies have no
/// name is never asked on top of one another.
void Poller::Heard(Reply::Kind kind) {
  using enum Reply::Kind;
  const bool level = kind == kSlider || kind == kVfo;
  if ((level && levels_due_ == 0) || rig_.nameless()) return;
  due_.Arrived(loop_.Now());
  if (level) {
    --levels_due_;
    return due_.Answered();
  }
  const bool meter = kind == kSMeter || kind == kMeter || kind == kRefused;
  if (rig_.family != "KENWOOD") return kind == kRefused ? void() : due_.Answered();
  if (meter) {
    meter_heard_ = true;
  } else if (tells_status(kind) && (meter_heard_ || !dispatcher_.Has("XGETSMETER"))) {
    meter_heard_ = false;
    due_.Answered();
  }
}

/// Whether it ends the answer to a KENWOOD row's second query: an "IF" tells mode and frequency, an "MD" the mode.
bool Poller::tells_status(Reply::Kind kind) const {
  if (rig_.row["ReadMode"].find("IF") == std::string::npos) return kind == Reply::Kind::kMode;
  return kind != Reply::Kind::kMode;
}

std::string_view Poller::FrequencyKey() const {
  // Rigs that answer in text, and Ten-Tec's, name the VFO in their reply; the others answer for the VFO in use.
  const bool names_vfo = !rig_.binary() || rig_.family == "TEN-TEC";
  const bool ask_b = *console_.ActiveVfo == 'B' && names_vfo && dispatcher_.Has("XGETFREQB");
  return ask_b ? "XGETFREQB" : "XGETFREQ";
}

/// Ask, wait, and ask the next question only while the rig stays silent. A rig that answers ends the cycle; the next
/// cycle goes on with the query after the one that was answered.
Task Poller::PollOthers() {
  if (blocked()) {
    GiveUp();
    co_return;
  }
  if (link_.has_unread_input()) {
    parser_.Parse();
    co_return;
  }
  const std::array<std::string_view, 3> keys{"XGETSMETER", "XREADMODE", FrequencyKey()};
  for (std::size_t i = next_query_; i < keys.size(); ++i) {
    const std::uint64_t before = arrivals_;
    Task ask = Ask(std::string(keys[i]));
    co_await ask;
    if (!asked_) continue;
    for (int wait = 0; wait < 2 && arrivals_ == before; ++wait) {
      co_await answer_.Within(loop_, kQueryWait);
    }
    if (arrivals_ != before && i + 1 < keys.size()) {
      next_query_ = i + 1;
      co_return;
    }
    if (blocked()) {
      GiveUp();
      co_return;
    }
  }
  next_query_ = 0;
  if (on_cycle_end) on_cycle_end();
}

/// Writes one query of a poll cycle. A five-byte rig gets it in pieces of one command each, and only after its
/// acknowledgement of the operator's last command can have come; a rig whose replies have no name is not asked into a
/// reply that is still coming.
Task Poller::Ask(std::string key) {
  asked_ = dispatcher_.Has(key);
  answered_ = false;
  if (!asked_) co_return;
  const bool in_pieces = rig_.binary() && !rig_.row.rev_data;
  if (rig_.nameless()) {
    co_await loop_.SleepUntil(std::max(loop_.Now(), dispatcher_.last_command() + kAcknowledgeTime));
    for (int wait = 0; wait < kMostWaits; ++wait) {
      const TimePoint quiet = link_.last_arrival() + (parser_.reply_under_way() ? kReplySilence : kQuietLine);
      if (quiet <= loop_.Now()) break;
      co_await loop_.SleepUntil(quiet);
    }
    parser_.ForgetOverdue();
  }
  if (!in_pieces) {
    asked_ = dispatcher_.SendData(key) == SendOutcome::kSent;
    if (asked_ && !rig_.nameless()) due_.Asked(loop_.Now());
    co_return;
  }
  asked_ = false;
  const std::vector<std::string> pieces = dispatcher_.PollPieces(key);
  for (const std::string& piece : pieces) {
    if (!link_.WriteRigPort(piece)) co_return;
    if (!asked_) dispatcher_.ArmPollQuery(key);
    asked_ = true;
    if (just_after_midnight() || answered_) continue;
    co_await answer_.Within(loop_, kPieceWait);
  }
}

/// The pacing clock counts seconds since local midnight and has always been let run free for the first twenty of them.
bool Poller::just_after_midnight() const {
  const auto local = loop_.UtcNow() + loop_.LocalOffset();
  return local - std::chrono::floor<std::chrono::days>(local) < 20s;
}

bool Poller::init_due() const {
  return !init_sent_ && link_.is_open() && !rig_.row["US7"].empty();
}

bool Poller::fast_meter() const {
  return rig_.name.find("FT-DX") != std::string::npos && link_.is_open() && *console_.Polling;
}

Task Poller::FastTimer() {
  int ticks = 0;
  TimePoint next = loop_.Now();
  while (true) {
    if (!init_due() && !fast_meter()) {
      co_await fast_timer_needed_.Within(loop_, 1s);
      next = loop_.Now();
    }
    if (init_due()) {
      init_sent_ = true;
      init_ = WriteInitString();
    }
    const int speed = link_.speed();
    const bool answered = !due_.Awaited(loop_.Now());
    if (fast_meter() && ++ticks >= std::max(kFastMeterTicks, kFastMeterTicks * kFastMeterSpeed / speed) && answered) {
      ticks = 0;
      // It keeps the beat of the poll cycles, so without giving way it could keep every one of them from the line.
      if (!line_is_busy() && !parser_.reply_under_way() && !line_awaited_) WriteFastMeter();
    }
    next = std::max(next + kFastTick, loop_.Now());
    co_await loop_.SleepUntil(next);
  }
}

void Poller::WriteFastMeter() {
  if (link_.WriteRigPort(*console_.MeterOn ? "PS;RM" + *console_.MeterNumber + ";" : "PS;SM0;"))
    due_.Asked(loop_.Now());
}

Task Poller::WriteInitString() {
  const std::string init = dispatcher_.FillIn(rig_.row["US7"], kInit);
  if (rig_.family == "KENWOOD") {
    std::string_view rest = init;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find(';'), rest.size() - 1) + 1;
      link_.WriteRigPort(dispatcher_.Encode(rest.substr(0, end), kInit));
      rest.remove_prefix(end);
    }
    co_return;
  }
  if (!rig_.row.send_as_hex || rig_.row.rev_data) {
    link_.WriteRigPort(dispatcher_.Encode(init, kInit));
    co_return;
  }
  const std::string digits = WithoutBlanks(init);
  for (std::size_t at = 0; at + 10 <= digits.size(); at += 10) {
    link_.WriteRigPort(dispatcher_.Encode(std::string_view(digits).substr(at, 10), kInit));
    if (just_after_midnight()) continue;
    co_await loop_.Sleep(kPieceWait);
  }
}

}  // namespace kvx::cat
