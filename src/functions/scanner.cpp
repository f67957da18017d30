#include "functions/scanner.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/text.h"

namespace kvx::functions {
namespace {

using namespace std::chrono_literals;
using Phase = ScanState::Phase;

constexpr Duration kLevelCheck = 50ms;
constexpr Duration kShortestDwell = 100ms;
constexpr Duration kLongest = 1h;
// A rig may tell what it was tuned to less exactly than it was told.
constexpr Frequency kRounding = Frequency::FromHz(100);
// A rig may bring its own mode with a frequency and tells so this much later.
constexpr Duration kModeFollows = 1500ms;
constexpr const char* kNoEnds = "Please set the start and end frequencies before clicking the scan button.";
constexpr const char* kNoRow = "Could not find a row that had a 'Y' in the scan field";

bool Near(Frequency a, Frequency b) {
  return std::abs(a.decihertz - b.decihertz) < kRounding.decihertz;
}

}  // namespace

std::string ScanText(const ScanState& state) {
  const bool stopped = state.phase == Phase::kStopped;
  std::string text = stopped ? "scan stopped" : state.phase == Phase::kHeld ? "scan held" : "scan listening";
  if (stopped) return std::string(Trim(text + " " + state.why));
  if (state.stop) text += " " + KhzText(state.stop->frequency) + " " + OneLine(state.stop->row.description);
  return std::string(Trim(text));
}

Scanner::Scanner(Loop& loop, Console& console, FunctionMemory& functions, const FunctionStore& store,
                 const Dialogs& dialogs)
    : loop_(loop), console_(console), functions_(functions), store_(store), dialogs_(dialogs) {
  subscription_ = console.Subscribe([this](Field field) { Follow(field); });
}

void Scanner::SetStart(Frequency frequency) {
  start_ = frequency;
  stamp_.clear();
  dialogs_.Show("Start Freq set at " + KhzText(frequency));
}

void Scanner::SetEnd(Frequency frequency) {
  end_ = frequency;
  stamp_.clear();
  dialogs_.Show("End Freq set at " + KhzText(frequency));
}

void Scanner::SetSettings(const ScanSettings& settings) {
  const bool turned = settings.down != settings_.down;
  settings_ = settings;
  settings_.dwell = std::clamp<Duration>(settings.dwell, kShortestDwell, kLongest);
  settings_.hang = std::clamp<Duration>(settings.hang, 0ms, kLongest);
  settings_.settle = std::clamp<Duration>(settings.settle, 0ms, kLongest);
  if (!turned || stops_.empty()) return;
  // Goes back from where it is.
  std::reverse(stops_.begin(), stops_.end());
  const std::size_t heard = stops_.size() - std::min(next_, stops_.size());
  next_ = heard + 1;
}

Status Scanner::Start() {
  Stop();
  const auto refuse = [this](ErrorCode code, const std::string& why) -> Status {
    dialogs_.Show(why);
    return Error{code, why};
  };
  if (*console_.RigName == "NONE") return Error{ErrorCode::kInvalid, "no rig is selected"};
  if (!start_ || !end_) return refuse(ErrorCode::kInvalid, kNoEnds);
  if (*console_.Transmitting) return refuse(ErrorCode::kInvalid, "the rig is transmitting");
  if (const Status read = ReadStops(); !read) return refuse(read.error().code, read.error().message);
  run_ = Run();
  return running() ? Ok() : Status(Error{ErrorCode::kInvalid, state_.why});
}

Status Scanner::ReadStops() {
  std::string stamp = store_.Stamp();
  auto rows = store_.ToScan();
  if (!rows) return rows.error();
  auto stops = ScanStops(std::move(*rows), *start_, *end_, settings_.down, *console_.RigName);
  if (stops.empty()) return Error{ErrorCode::kNotFound, kNoRow};
  stops_ = std::move(stops);
  stamp_ = std::move(stamp);
  next_ = 0;
  return Ok();
}

void Scanner::Stop(const std::string& why) {
  run_ = Task();
  listen_ = Task();
  if (!running()) return;
  state_.why = why;
  Enter(Phase::kStopped);
}

void Scanner::Enter(Phase phase) {
  state_.phase = phase;
  changed.Tell();
}

void Scanner::Skip() {
  skip_.Notify();
}

Task Scanner::Run() {
  while (TuneNext()) {
    listen_ = Listen();
    co_await listen_;
    if (next_ < stops_.size()) continue;
    // Rows may have been marked or deleted meanwhile. A store that another program is writing is read next time.
    const Status read = store_.Stamp() == stamp_ ? Ok() : ReadStops();
    if (!read && read.error().code == ErrorCode::kNotFound) {
      dialogs_.Show(kNoRow);
      break;
    }
    next_ = 0;
  }
  state_.why = state_.why.empty() ? kNoRow : state_.why;
  Enter(Phase::kStopped);
}

/// Tunes to the next row. False when that has ended the scan.
bool Scanner::TuneNext() {
  const ScanStop& stop = stops_.at(next_++);
  const bool there = stops_.size() == 1 && running() && state_.stop && state_.stop->frequency == stop.frequency;
  state_.stop = stop;
  state_.why.clear();
  tuned_at_ = loop_.Now();
  if (!there) {
    acting_ = true;
    const auto outcome = functions_.Retrieve(stop.row);
    acting_ = false;
    if (outcome && *outcome == cat::SendOutcome::kClosed) {
      state_.why = "the rig port is closed (" + *console_.Port + ")";
      return false;
    }
  }
  Enter(Phase::kListening);
  return running();
}

bool Scanner::IsLoud() const {
  return settings_.level && level && level() > *settings_.level;
}

Task Scanner::Listen() {
  const bool skipped = co_await skip_.Within(loop_, settings_.settle);
  if (skipped) co_return;
  TimePoint leave = tuned_at_ + settings_.dwell;
  while (true) {
    if (IsLoud()) {
      leave = loop_.Now() + std::max(settings_.hang, kLevelCheck);
      if (state_.phase != Phase::kHeld) Enter(Phase::kHeld);
    }
    if (loop_.Now() >= leave) co_return;
    const Duration pause = std::min(kLevelCheck, leave - loop_.Now());
    const bool skipped_now = co_await skip_.Within(loop_, pause);
    if (skipped_now) co_return;
  }
}

void Scanner::OperatorActs() {
  if (running() && !acting_ && !functions_.acting()) Stop("stopped by the operator");
}

void Scanner::Follow(Field field) {
  if (!running() || acting_ || functions_.acting()) return;
  switch (field) {
    case Field::kFreqDisp:
      return Near(*console_.FreqDisp, state_.stop->frequency) ? void() : Stop("the frequency was changed");
    case Field::kMode:
      return loop_.Now() - tuned_at_ < kModeFollows ? void() : Stop("the mode was changed");
    case Field::kBandNumber:
    case Field::kActiveVfo:
      return Stop("band or VFO was changed");
    case Field::kRigName:
    case Field::kRigRow:
      return Stop("another rig was chosen");
    case Field::kFunctionText:
      return Stop("a function key was set");
    case Field::kTransmitting:
    case Field::kTuning:
      return *console_.Transmitting || *console_.Tuning ? Stop("the rig transmits") : void();
    default:
      return;
  }
}

}  // namespace kvx::functions
