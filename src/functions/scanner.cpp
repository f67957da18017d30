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
constexpr Duration kReadingTurn = 10ms;  // of a table that is read piece by piece
// A rig may tell what it was tuned to less exactly than it was told.
constexpr Frequency kRounding = Frequency::FromHz(100);
// A rig may bring its own mode with a frequency and tells so this much later.
constexpr Duration kModeFollows = 1500ms;
constexpr const char* kNoEnds = "Please set the start and end frequencies before clicking the scan button.";
constexpr const char* kNoChannel = "Every memory channel is empty or skipped in scans";
constexpr const char* kTransmits = "the rig transmits";
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
  settings_.dwell = std::clamp<Duration>(settings.dwell, kShortestDwell, kLongestScanTime);
  settings_.hang = std::clamp<Duration>(settings.hang, 0ms, kLongestScanTime);
  settings_.settle = std::clamp<Duration>(settings.settle, 0ms, kLongestScanTime);
  if (!turned || stops_.empty()) return;
  // Goes back from where it is.
  std::reverse(stops_.begin(), stops_.end());
  const std::size_t heard = stops_.size() - std::min(next_, stops_.size());
  next_ = heard + 1;
}

Status Scanner::Start(ScanSource source) {
  Stop();
  source_ = source;
  const auto refuse = [this](ErrorCode code, const std::string& why) -> Status {
    dialogs_.Show(why);
    return Error{code, why};
  };
  if (*console_.RigName == "NONE") return Error{ErrorCode::kInvalid, "no rig is selected"};
  if (source == ScanSource::kRows && (!start_ || !end_)) return refuse(ErrorCode::kInvalid, kNoEnds);
  if (transmits()) return refuse(ErrorCode::kInvalid, "There is no scanning while the rig transmits or CW is sent");
  stops_.clear();
  const Result<bool> read = BeginReading();
  if (!read) return refuse(read.error().code, read.error().message);
  deaf_.clear();
  hears_from_ = {};
  CheckHearing();
  state_.stop.reset();
  state_.why.clear();
  tuned_at_ = loop_.Now();
  if (!*read) Enter(Phase::kListening);
  run_ = Run();
  return running() ? Ok() : Status(Error{ErrorCode::kInvalid, state_.why});
}

bool Scanner::StopsMayDiffer() const {
  return source_ == ScanSource::kMemories || store_.Stamp() != stamp_;
}

/// True when the stops are there: those of a large table are read on by and by.
Result<bool> Scanner::BeginReading() {
  if (source_ == ScanSource::kRows) {
    stamp_ = store_.Stamp();
    reader_.emplace(store_.Reader(RowChoice::kMarkedForScan));
    list_.emplace(*start_, *end_, *console_.RigName);
    return ReadOn();
  }
  auto held = channels ? channels() : std::vector<ScanStop>();
  if (held.empty()) return Error{ErrorCode::kNotFound, kNoChannel};
  if (settings_.down) std::reverse(held.begin(), held.end());
  stops_ = std::move(held);
  next_ = 0;
  return true;
}

Result<bool> Scanner::ReadOn() {
  const TimePoint until = loop_.Now() + kReadingTurn;
  Result<bool> last = false;
  do {
    last = reader_->ReadSome();
    for (FunctionRecord& row : reader_->rows) list_->Take(std::move(row));
  } while (last && !*last && loop_.Now() < until);
  if (last && !*last) return false;
  auto stops = std::move(*list_).Stops(settings_.down);
  reader_.reset();
  list_.reset();
  if (!last || stops.empty()) stamp_.clear();
  if (!last) return last.error();
  if (stops.empty()) return Error{ErrorCode::kNotFound, kNoRow};
  stops_ = std::move(stops);
  next_ = 0;
  return true;
}

void Scanner::Stop(const std::string& why) {
  run_ = Task();
  listen_ = Task();
  reader_.reset();
  list_.reset();
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
  Result<bool> read = !reader_.has_value();
  while (true) {
    while (reader_) {
      co_await loop_.Pass();
      read = ReadOn();
    }
    // A store that another program is writing is read next time.
    if (!read && (read.error().code == ErrorCode::kNotFound || stops_.empty())) {
      state_.why = read.error().message;
      dialogs_.Show(state_.why);
      break;
    }
    if (next_ >= stops_.size()) next_ = 0;
    if (!TuneNext()) break;
    listen_ = Listen();
    co_await listen_;
    // At the end of a round: stops may have been marked or deleted meanwhile.
    if (next_ >= stops_.size() && StopsMayDiffer()) read = BeginReading();
  }
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
    const auto outcome = stop.channel > 0 ? recall(stop.channel) : functions_.Retrieve(stop.row);
    acting_ = false;
    if (outcome && *outcome == cat::SendOutcome::kClosed)
      state_.why = "the rig port is closed (" + *console_.Port + ")";
  }
  if (state_.why.empty()) state_.why = Obstacle();
  if (!state_.why.empty()) return false;
  Enter(Phase::kListening);
  return running();
}

bool Scanner::transmits() const {
  return *console_.Transmitting || *console_.Tuning || *console_.Tune || *console_.KeyerState == "busy" ||
         (sending && sending());
}

/// Why the scan cannot go on; empty: it can.
std::string Scanner::Obstacle() const {
  if (transmits()) return kTransmits;
  if (*console_.Port == "open") return {};
  return *console_.Port == "closed" ? "the rig port is closed" : "the rig port is closed (" + *console_.Port + ")";
}

/// A level that nobody measures would hold the scan for ever, or never: the operator is told.
void Scanner::CheckHearing() {
  if (!settings_.level) return;
  const std::string why = deaf ? deaf() : std::string();
  const std::string before = std::exchange(deaf_, why);
  if (why == before) return;
  if (why.empty()) hears_from_ = loop_.Now() + settings_.settle;
  if (!why.empty()) dialogs_.Show("The scan does not stop on a level: " + why);
}

bool Scanner::IsLoud() {
  CheckHearing();
  if (!settings_.level || !level || !deaf_.empty() || loop_.Now() < hears_from_) return false;
  return level() > *settings_.level;
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
  if (running() && !acting_ && !functions_.acting()) Stop("by the operator");
}

void Scanner::Follow(Field field) {
  if (!running() || acting_) return;
  switch (field) {
    case Field::kTransmitting:  // by a key that was pressed on arrival as well
    case Field::kTuning:
    case Field::kTune:
    case Field::kKeyer:
    case Field::kCwProgress:
      return transmits() ? Stop(kTransmits) : void();
    case Field::kPort:
      return *console_.Port == "open" ? void() : Stop(Obstacle());
    default:
      break;
  }
  if (functions_.acting()) return;
  switch (field) {
    case Field::kFreqDisp:
      if (state_.stop && Near(*console_.FreqDisp, state_.stop->frequency)) return;
      return Stop("the frequency was changed");
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
    default:
      return;
  }
}

}  // namespace kvx::functions
