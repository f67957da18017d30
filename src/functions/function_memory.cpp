#include "functions/function_memory.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "core/text.h"

namespace kvx::functions {
namespace {

using namespace std::chrono_literals;

constexpr Duration kBetweenPresses = 50ms;
constexpr Duration kRecallPatience = 1s;  // while another program writes
constexpr Duration kRecallPause = 20ms;
constexpr std::size_t kMostDeletions = 100;  // that can be undone
constexpr const char* kDeleted = "All Functions have been deleted for this frequency";

struct ModeRow {
  std::string_view text;
  cat::SendOutcome (cat::Operations::*set)();
};
/// In the order in which a recall tests them, each on its own.
constexpr std::array kRecallModes{
    ModeRow{"USB", &cat::Operations::SetUpper}, ModeRow{"LSB", &cat::Operations::SetLower},
    ModeRow{"CW", &cat::Operations::SetCW},     ModeRow{"FM", &cat::Operations::SetFM},
    ModeRow{"AM", &cat::Operations::SetAM},     ModeRow{"RTTY", &cat::Operations::SetRTTY}};
/// In the order of a list's rows.
constexpr std::array kListModes{ModeRow{"CW", &cat::Operations::SetCW},     ModeRow{"AM", &cat::Operations::SetAM},
                                ModeRow{"FM", &cat::Operations::SetFM},     ModeRow{"USB", &cat::Operations::SetUpper},
                                ModeRow{"LSB", &cat::Operations::SetLower}, ModeRow{"RTTY", &cat::Operations::SetRTTY}};

template <class Modes>
void SetModes(cat::Operations& operations, const Modes& modes, const std::string& text) {
  for (const ModeRow& row : modes) {
    if (ContainsNoCase(text, row.text)) (operations.*row.set)();
  }
}

Error NoRig() {
  return {ErrorCode::kInvalid, "no rig is selected"};
}

/// 1 to 9 for exactly that digit, else 0.
int KeyNumber(const std::string& argument) {
  return argument.size() == 1 && argument[0] >= '1' && argument[0] <= '9' ? argument[0] - '0' : 0;
}

std::string Count(std::size_t rows) {
  return std::to_string(rows) + (rows == 1 ? " row" : " rows");
}

std::string Marks(const std::string& freq, const std::string& mode, int key) {
  return "stored " + freq + " " + mode + (key > 0 ? ", function key " + std::to_string(key) + " on arrival" : "");
}

}  // namespace

FunctionMemory::FunctionMemory(Loop& loop, Console& console, cat::Operations& operations, FunctionStore& store,
                               StoreQueue& queue, const Dialogs& dialogs)
    : loop_(loop), console_(console), operations_(operations), store_(store), queue_(queue), dialogs_(dialogs) {}

void FunctionMemory::GetFN() {
  StopPresses();
  if (rig_chosen()) recall_ = Recall();
}

void FunctionMemory::StopPresses() {
  recall_ = Task();
  presses_ = Task();
}

bool FunctionMemory::IsDisplayed(const FunctionRecord& row) const {
  return EqualNoCase(row.rig, *console_.RigName) && row.freq == KhzText(*console_.FreqDisp);
}

Task FunctionMemory::Recall() {
  const std::string rig = *console_.RigName;
  const Frequency frequency = *console_.FreqDisp;
  const TimePoint until = loop_.Now() + kRecallPatience;
  auto found = store_.Find(rig, KhzText(frequency));
  while (!found && found.error().code == ErrorCode::kBusy && loop_.Now() < until) {
    co_await loop_.Sleep(kRecallPause);
    if (*console_.RigName != rig || *console_.FreqDisp != frequency) co_return;
    found = store_.Find(rig, KhzText(frequency));
  }
  if (found && *found) Apply(**found);
}

void FunctionMemory::Apply(const FunctionRecord& record) {
  ++acting_;
  SetModes(operations_, kRecallModes, record.mode);
  for (std::size_t i = 0; i < kKeys; ++i) {
    if (record.texts[i]) console_.Text5.Set(i, *record.texts[i]);
  }
  --acting_;
  const bool any = std::find(record.presses.begin(), record.presses.end(), true) != record.presses.end();
  if (any && press) presses_ = PressKeys(record.presses);
}

/// A wait that is under way when the next recall comes is not begun anew: its end is where that one presses first, so
/// that no two presses are ever closer.
Task FunctionMemory::PressKeys(std::array<bool, kKeys> keys) {
  const std::string rig = *console_.RigName;
  const Frequency frequency = *console_.FreqDisp;
  for (std::size_t i = 0; i < kKeys; ++i) {
    if (!keys[i]) continue;
    if (wait_end_ <= loop_.Now()) wait_end_ = loop_.Now() + kBetweenPresses;
    co_await loop_.SleepUntil(wait_end_);
    if (*console_.RigName != rig || *console_.FreqDisp != frequency) co_return;
    ++acting_;
    press(static_cast<int>(i) + 1);
    --acting_;
  }
}

void FunctionMemory::Write(StoreQueue::Attempt attempt, std::function<std::string()> sentence, const Done& done) {
  queue_.Do(std::move(attempt), [this, sentence = std::move(sentence), done](const Status& status) {
    const Result<std::string> result = status ? Result<std::string>(sentence()) : status.error();
    if (status) store_.changed.Tell();
    if (done) done(result);
  });
}

void FunctionMemory::StoreFN(const std::string& argument, const Done& done) {
  if (!rig_chosen()) return done ? done(NoRig()) : void();
  if (on_operation) on_operation();
  if (!argument.empty()) note_ = argument;
  FunctionRecord record{.rig = *console_.RigName,
                        .freq = KhzText(*console_.FreqDisp),
                        .mode = Upper(Trim(*console_.Mode)),
                        .description = note_};
  for (std::size_t i = 0; i < kKeys; ++i) record.texts[i] = console_.Text5[i];
  const int key = KeyNumber(argument);
  const std::string sentence = Marks(record.freq, record.mode, key);
  Write([this, record, key] { return store_.Store(record, key); }, [sentence] { return sentence; }, done);
}

void FunctionMemory::DelFN(const Done& done) {
  if (!rig_chosen()) return done ? done(NoRig()) : void();
  if (on_operation) on_operation();
  const auto deleted = std::make_shared<bool>(false);
  const auto attempt = [this, deleted, rig = *console_.RigName, freq = KhzText(*console_.FreqDisp)]() -> Status {
    auto result = store_.Delete(rig, freq);
    if (!result) return result.error();
    *deleted = result->has_value();
    if (*deleted) Remember({std::move(**result)});
    return Ok();
  };
  const auto sentence = [this, deleted] {
    if (*deleted) dialogs_.Show(kDeleted);
    return std::string(*deleted ? kDeleted : "nothing is stored for this frequency");
  };
  Write(attempt, sentence, done);
}

void FunctionMemory::ChangeRow(const FunctionRecord& before, const FunctionRecord& after, const Done& done) {
  Write([this, before, after] { return store_.Change(before, after); }, [after] { return "changed " + after.freq; },
        done);
}

void FunctionMemory::DeleteRows(const std::vector<FunctionRecord>& rows, const Done& done) {
  const auto displayed = [this](const FunctionRecord& row) { return IsDisplayed(row); };
  if (on_operation && std::any_of(rows.begin(), rows.end(), displayed)) on_operation();
  const auto attempt = [this, rows]() -> Status {
    auto deleted = store_.DeleteRows(rows);
    if (!deleted) return deleted.error();
    Remember(std::move(*deleted));
    return Ok();
  };
  Write(
      attempt, [count = rows.size()] { return "deleted " + Count(count); }, done);
}

void FunctionMemory::Remember(std::vector<FunctionRecord> deleted) {
  if (deleted.empty()) return;
  for (const FunctionRecord& row : deleted) {
    if (IsDisplayed(row)) StopPresses();
  }
  deleted_.push_back(std::move(deleted));
  if (deleted_.size() > kMostDeletions) deleted_.pop_front();
}

void FunctionMemory::UndoDelete(const Done& done) {
  const auto said = std::make_shared<std::string>();
  const auto attempt = [this, said]() -> Status {
    if (deleted_.empty()) return Error{ErrorCode::kNotFound, "nothing has been deleted"};
    const auto behind = store_.PutBack(deleted_.back());
    if (!behind) return behind.error();
    *said = "put back " + Count(deleted_.back().size());
    if (*behind > 0) *said += ", " + std::to_string(*behind) + " behind what has been stored since";
    deleted_.pop_back();
    return Ok();
  };
  Write(
      attempt, [said] { return *said; }, done);
}

Result<std::optional<FunctionRecord>> FunctionMemory::Stored() {
  if (!rig_chosen()) return std::optional<FunctionRecord>();
  return store_.Find(*console_.RigName, KhzText(*console_.FreqDisp));
}

Result<cat::SendOutcome> FunctionMemory::Retrieve(const FunctionRecord& row) {
  const auto frequency = ParseKhz(row.freq);
  if (!frequency || frequency->decihertz <= 0)
    return Error{ErrorCode::kInvalid, OneLine(row.freq, 40) + " is no frequency in kHz"};
  const cat::SendOutcome outcome = operations_.TuneTo(*frequency);
  if (outcome != cat::SendOutcome::kRefused) SetModes(operations_, kListModes, row.mode);
  return outcome;
}

}  // namespace kvx::functions
