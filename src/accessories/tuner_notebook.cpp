#include "accessories/tuner_notebook.h"

#include <algorithm>
#include <utility>

#include "accessories/tuner_exchange.h"
#include "core/text.h"
#include "core/utf8.h"

namespace kvx::accessories {
namespace {

using namespace std::chrono_literals;

constexpr Duration kDraftPace = 500ms;  // between two writes of what is being typed
constexpr Duration kLongestPause = 8s;  // after writes that have failed
constexpr auto kLastPatience = 2500ms;  // at the end, when there is no next time
constexpr std::size_t kMostDropped = 50;
constexpr std::size_t kLargestFile = 1U << 20;

Error NotVisible() {
  return {ErrorCode::kClosed, "The rig is not visible"};
}

std::string Segments(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " segment" : " segments");
}

bool IsBlank(const TunerValues& values) {
  return std::all_of(values.begin(), values.end(), [](const std::string& value) { return value.empty(); });
}

}  // namespace

TunerNotebook::TunerNotebook(Loop& loop, Console& console, platform::Files& files, platform::Path folder,
                             platform::Path data)
    : loop_(loop),
      console_(console),
      files_(files),
      folder_(folder),
      store_(files, std::move(folder), std::move(data)) {
  subscription_ = console.Subscribe([this](Field field) { Follow(field); });
}

TunerNotebook::~TunerNotebook() {
  loop_.StopTimer(timer_);
}

Status TunerNotebook::Load() {
  const auto prepared = store_.Prepare();
  if (!prepared) return prepared.error();
  if (!prepared->empty() && on_notice) on_notice(*prepared);
  if (!loaded_) {
    auto drafts = store_.Drafts();
    if (!drafts) return drafts.error();
    std::erase_if(*drafts, [](const auto& draft) { return SegmentOfKey(draft.first) == nullptr; });
    drafts_ = std::move(*drafts);
    loaded_ = true;
  }
  for (const auto& [key, values] : drafts_) to_keep_[key] = values;  // the file may be another one now
  return chosen_ ? Show(*segment_) : FindIt();
}

void TunerNotebook::Close() {
  closed_ = true;
  KeepDrafts(kLastPatience);
}

/// The segment of the frequency on the display; null when there is none.
const TunerSegment* TunerNotebook::Displayed() const {
  const Frequency frequency = *console_.FreqDisp;
  return closed_ || frequency.decihertz <= 0 ? nullptr : &SegmentOf(frequency);
}

Status TunerNotebook::FindIt() {
  if (!loaded_) return Load();
  const TunerSegment* const displayed = Displayed();
  if (displayed == nullptr) return NotVisible();
  chosen_ = false;
  return Show(*displayed);
}

Status TunerNotebook::Show(const TunerSegment& segment) {
  const TunerSegment* const before = std::exchange(segment_, &segment);
  const auto record = store_.Find(segment.key);
  stored_ = record ? *record : std::nullopt;
  if (const auto draft = drafts_.find(segment.key); draft != drafts_.end()) {
    fields_ = draft->second;
    state_ = TunerState::kUnsaved;
  } else if (stored_) {
    fields_ = *stored_;
    state_ = TunerState::kStored;
  } else {
    ShowUnstored(before, record.ok());
  }
  Changed();
  return record ? Ok() : Status(record.error());
}

void TunerNotebook::ShowUnstored(const TunerSegment* before, bool was_read) {
  const bool stays = before == segment_;
  const TunerSegment* const from = state_ == TunerState::kCarried ? carried_from_ : before;
  const bool carried = stays ? state_ == TunerState::kCarried : !chosen_ && from != segment_ && !IsBlank(fields_);
  if (was_read && carried) {
    carried_from_ = from;
    state_ = TunerState::kCarried;
  } else {
    fields_ = {};
    state_ = was_read ? TunerState::kEmpty : TunerState::kUnread;
  }
}

/// What could not be read is tried again before it is written over.
Status TunerNotebook::MustBeRead() {
  return state_ == TunerState::kUnread ? Show(*segment_) : Ok();
}

void TunerNotebook::Follow(Field field) {
  if (field != Field::kFreqDisp || !loaded_ || chosen_) return;
  const TunerSegment* const displayed = Displayed();
  if (displayed != nullptr && displayed == segment_) return;
  if (const Status found = FindIt(); !found && on_notice) on_notice(found.error().message);
}

Status TunerNotebook::MustBeLoaded() {
  const Status loaded = loaded_ ? Ok() : Load();
  return loaded_ ? Ok() : loaded;
}

Result<const TunerSegment*> TunerNotebook::InHand() {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  if (chosen_) return segment_;
  const TunerSegment* const displayed = Displayed();
  if (displayed == nullptr) return NotVisible();
  if (displayed != segment_) Show(*displayed).ok();  // what could not be read is noted in the state
  return segment_;
}

Result<std::string> TunerNotebook::SaveIt() {
  if (const auto in_hand = InHand(); !in_hand) return in_hand.error();
  if (const Status read = MustBeRead(); !read) return read.error();
  const std::string from =
      state_ == TunerState::kCarried ? ", with the values left from " + std::string(carried_from_->key) : "";
  const std::string key(segment_->key);
  if (const Status saved = Save({{key, fields_}}); !saved) return saved.error();
  return "Segment " + key + " saved" + from;
}

Status TunerNotebook::Save(const TunerRecords& records) {
  if (const Status saved = store_.Save(records); !saved) return saved;
  for (const auto& [key, values] : records) {
    drafts_.erase(key);
    to_keep_.erase(key);
    if (segment_ == nullptr || segment_->key != key) continue;
    fields_ = values;
    stored_ = values;
    state_ = TunerState::kStored;
  }
  Changed();
  return Ok();
}

Result<std::string> TunerNotebook::SaveAll() {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  if (drafts_.empty()) return Error{ErrorCode::kNotFound, "nothing is unsaved"};
  const TunerRecords records = drafts_;
  if (const Status saved = Save(records); !saved) return saved.error();
  return Segments(records.size()) + " saved";
}

Status TunerNotebook::Choose(const TunerSegment* segment) {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded;
  if (segment == nullptr) return FindIt();
  chosen_ = true;
  return Show(*segment);
}

Status TunerNotebook::Edit(const TunerSegment& segment, std::size_t field, const std::string& text) {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded;
  if (text.size() > kLongestText) {
    return Error{ErrorCode::kInvalid, std::string(kTunerFields.at(field).control) + " takes up to " +
                                          std::to_string(kLongestText) + " bytes"};
  }
  const bool in_hand = &segment == segment_;
  if (const Status read = in_hand ? MustBeRead() : Ok(); !read) return read;
  const auto record = in_hand ? Result<std::optional<TunerValues>>(stored_) : store_.Find(segment.key);
  if (!record) return record.error();
  const TunerValues stored = record->value_or(TunerValues());
  const auto draft = drafts_.find(segment.key);
  TunerValues values = in_hand ? fields_ : draft != drafts_.end() ? draft->second : stored;
  if (values.at(field) == text) return Ok();
  values[field] = Utf8Of(text);
  const bool unsaved = values != stored;
  SetDraft(segment.key, unsaved ? std::optional(values) : std::nullopt);
  if (in_hand) {
    fields_ = std::move(values);
    state_ = unsaved ? TunerState::kUnsaved : *record ? TunerState::kStored : TunerState::kEmpty;
  }
  Changed();
  return Ok();
}

Result<std::string> TunerNotebook::Drop(const TunerSegment& segment) {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  const std::string key(segment.key);
  const auto draft = drafts_.find(key);
  if (draft == drafts_.end()) return Error{ErrorCode::kNotFound, "nothing is unsaved in segment " + key};
  dropped_.emplace_back(&segment, draft->second);
  if (dropped_.size() > kMostDropped) dropped_.pop_front();
  SetDraft(key, std::nullopt);
  const Status shown = &segment == segment_ ? Show(segment) : Ok();
  if (!shown) return shown.error();
  Changed();
  return "Segment " + key + ": what was not saved is dropped";
}

Result<std::string> TunerNotebook::UndoDrop() {
  if (dropped_.empty()) return Error{ErrorCode::kNotFound, "nothing has been dropped"};
  const auto [segment, values] = dropped_.back();
  const std::string key(segment->key);
  if (drafts_.contains(key)) return Error{ErrorCode::kInvalid, "segment " + key + " has something unsaved again"};
  dropped_.pop_back();
  SetDraft(key, values);
  const Status shown = segment == segment_ ? Show(*segment) : Ok();
  if (!shown) return shown.error();
  Changed();
  return "Segment " + key + ": what was dropped is back, unsaved";
}

void TunerNotebook::SetDraft(std::string_view key, std::optional<TunerValues> values) {
  const std::string name(key);
  to_keep_[name] = values;
  if (values) {
    drafts_[name] = std::move(*values);
  } else {
    drafts_.erase(name);
  }
  KeepLater();
}

void TunerNotebook::KeepLater() {
  if (timer_ != 0) return;
  timer_ = loop_.StartTimer(loop_.Now() + std::max(pause_, kDraftPace), [this] {
    timer_ = 0;
    KeepDrafts();
  });
}

/// Tried again and again, told at the first failure, at the last and when they are kept at last.
void TunerNotebook::KeepDrafts(std::chrono::milliseconds patience) {
  loop_.StopTimer(timer_);
  timer_ = 0;
  const Duration before = std::exchange(pause_, Duration(0));
  if (to_keep_.empty()) return;
  const Status kept = store_.KeepDrafts(to_keep_, patience);
  if (kept) {
    to_keep_.clear();
    if (before > Duration(0) && on_notice) on_notice("What is unsaved in the tuner notebook is on the disk now");
    return;
  }
  if ((before == Duration(0) || closed_) && on_notice)
    on_notice("What is unsaved in the tuner notebook is not on the disk: " + kept.error().message);
  if (closed_) return;
  pause_ = std::clamp(2 * before, kDraftPace, kLongestPause);
  KeepLater();
}

void TunerNotebook::Changed() {
  console_.TunerNotebook.Set(*console_.TunerNotebook + 1);
}

Result<std::string> TunerNotebook::Export(const platform::Path& file) {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  const auto records = store_.Records();
  if (!records) return records.error();
  const platform::Path path = folder_ / file;
  if (const Status written = files_.Write(path, FormatTunerCsv(*records)); !written) return written.error();
  const std::string left_out = drafts_.empty() ? "" : ", without what is not saved of " + Segments(drafts_.size());
  return Segments(records->size()) + " to " + path.string() + left_out;
}

Result<TunerRecords> TunerNotebook::ReadFile(const platform::Path& file) const {
  if (EqualNoCase(file.extension().string(), ".mdb")) return ReadTunerMdb(file);
  const auto content = files_.Read(file, kLargestFile);
  if (!content) return content.error();
  auto records = ParseTunerCsv(*content);
  if (!records) return Error{records.error().code, file.string() + " " + records.error().message};
  return records;
}

Result<std::string> TunerNotebook::Import(const platform::Path& file) {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  auto records = ReadFile(folder_ / file);
  if (!records) return records.error();
  const auto stored = store_.Records();
  if (!stored) return stored.error();
  std::erase_if(*records, [&](const auto& record) {
    const auto same = stored->find(record.first);
    return same == stored->end() ? IsBlank(record.second) : same->second == record.second;
  });
  for (const auto& [key, values] : *records) {
    if (drafts_.contains(key) && drafts_.at(key) != values)
      return Error{ErrorCode::kInvalid, "segment " + key + " has something unsaved: save or drop it first"};
    const bool too_long =
        std::any_of(values.begin(), values.end(), [](const std::string& value) { return value.size() > kLongestText; });
    if (too_long) return Error{ErrorCode::kInvalid, "segment " + key + " has a text of more than 1000 bytes"};
  }
  for (const auto& [key, values] : *records) SetDraft(key, values);
  const Status shown = segment_ != nullptr && records->contains(segment_->key) ? Show(*segment_) : Ok();
  if (!shown) return shown.error();
  Changed();
  return Segments(records->size()) + " taken, not yet saved";
}

Result<std::vector<TunerRow>> TunerNotebook::Rows() {
  if (const Status loaded = MustBeLoaded(); !loaded) return loaded.error();
  const auto records = store_.Records();
  if (!records) return records.error();
  std::vector<TunerRow> rows;
  for (const TunerSegment& segment : kTunerSegments) {
    const auto record = records->find(segment.key);
    const auto draft = drafts_.find(segment.key);
    const bool stored = record != records->end();
    const bool unsaved = draft != drafts_.end();
    rows.push_back({&segment, unsaved ? draft->second : stored ? record->second : TunerValues(), stored, unsaved});
  }
  return rows;
}

std::string TunerNotebook::StateText() const {
  switch (state_) {
    case TunerState::kEmpty:
      return "nothing stored";
    case TunerState::kStored:
      return "stored";
    case TunerState::kUnsaved:
      return "unsaved";
    case TunerState::kCarried:
      return "nothing stored, left from " + std::string(carried_from_->key);
    case TunerState::kUnread:
      break;
  }
  return "could not be read";
}

}  // namespace kvx::accessories
