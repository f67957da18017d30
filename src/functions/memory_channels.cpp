#include "functions/memory_channels.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace kvx::functions {
namespace {

constexpr const char* kFile = "RIGMEM.MEM";
constexpr std::size_t kLargestFile = 4U << 20;
constexpr std::size_t kLongestName = 100;
constexpr std::size_t kLongestComment = 1000;
constexpr std::size_t kMostUndone = 50;

std::size_t Index(int number) {
  return static_cast<std::size_t>(number - 1);
}

/// Cuts a text, but no character of it.
void Bound(std::string& text, std::size_t limit) {
  if (text.size() <= limit) return;
  while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) --limit;
  text.resize(limit);
}

std::string Join(const std::vector<int>& numbers) {
  std::string text;
  for (const int number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
  return text;
}

/// Puts those without a number into free places. How many were put; nothing when there are not enough places.
std::optional<int> PlaceFree(const std::vector<NumberedChannel>& from, std::array<MemoryChannel, kChannels>& to) {
  int placed = 0;
  for (const NumberedChannel& numbered : from) {
    if (numbered.number != 0) continue;
    auto* free = std::find_if(to.begin(), to.end(), [](const MemoryChannel& c) { return c.empty(); });
    if (free == to.end()) return std::nullopt;
    *free = numbered.channel;
    ++placed;
  }
  return placed;
}

}  // namespace

MemoryChannels::MemoryChannels(Console& console, cat::Operations& operations, cat::Dispatcher& dispatcher,
                               platform::Files& files, platform::Path folder)
    : console_(console), operations_(operations), dispatcher_(dispatcher), files_(files), folder_(std::move(folder)) {}

Status MemoryChannels::Load() {
  const platform::Path path = folder_ / kFile;
  const auto content = files_.Read(path, kLargestFile);
  if (!content && content.error().code == ErrorCode::kNotFound) return Ok();
  auto parsed = content ? ParseMemories(*content) : Result<MemoryFile>(content.error());
  if (parsed) {
    file_ = std::move(*parsed);
    if (on_change) on_change();
    return Ok();
  }
  const std::string why = content ? path.string() + ": " + parsed.error().message : parsed.error().message;
  const platform::Path aside = platform::SetAsideName(files_, path);
  writable_ = files_.Rename(path, aside);
  return Error{parsed.error().code,
               why + (writable_ ? "; set aside as " + aside.filename().string() : "; memory channels are not saved")};
}

Status MemoryChannels::Save() {
  if (!writable_) return writable_;
  return files_.Write(folder_ / kFile, FormatMemories(file_));
}

Status MemoryChannels::Change(const Channels& channels) {
  undo_.push_back(file_.channels);
  if (undo_.size() > kMostUndone) undo_.pop_front();
  return Keep(channels);
}

Status MemoryChannels::Undo() {
  if (undo_.empty()) return Error{ErrorCode::kNotFound, "there is nothing to take back"};
  const Channels before = std::move(undo_.back());
  undo_.pop_back();
  return Keep(before);
}

Status MemoryChannels::Keep(const Channels& channels) {
  file_.channels = channels;
  for (MemoryChannel& channel : file_.channels) {
    Bound(channel.name, kLongestName);
    Bound(channel.comment, kLongestComment);
  }
  const Status saved = Save();
  if (on_change) on_change();
  return saved;
}

Status MemoryChannels::MustExist(int number) const {
  if (number >= 1 && number <= kChannels) return Ok();
  return Error{ErrorCode::kInvalid, "memory channels are 1 to " + std::to_string(kChannels)};
}

Status MemoryChannels::MustHold(int number) const {
  if (const Status there = MustExist(number); !there) return there;
  if (!channel(number).empty()) return Ok();
  return Error{ErrorCode::kNotFound, "memory channel " + std::to_string(number) + " is empty"};
}

int MemoryChannels::first_free() const {
  for (int number = 1; number <= kChannels; ++number) {
    if (channel(number).empty()) return number;
  }
  return 0;
}

int MemoryChannels::Neighbour(int direction) const {
  int number = current_ == 0 && direction < 0 ? 1 : current_;
  for (int i = 0; i < kChannels; ++i) {
    number = (number - 1 + direction + kChannels) % kChannels + 1;
    if (!channel(number).empty()) return number;
  }
  return 0;
}

Status MemoryChannels::Store(int number, const std::optional<std::string>& name) {
  if (const Status there = MustExist(number); !there) return there;
  Channels channels = file_.channels;
  MemoryChannel& channel = channels[Index(number)];
  channel.frequency = *console_.FreqDisp;
  channel.mode = Upper(Trim(*console_.Mode));
  channel.narrow = *console_.Xnarrow && (channel.mode == "CW" || channel.mode == "FM");
  channel.vfo = *console_.ActiveVfo;
  if (name) channel.name = *name;
  return Change(channels);
}

Result<cat::SendOutcome> MemoryChannels::Recall(int number) {
  if (const Status holds = MustHold(number); !holds) return holds.error();
  const MemoryChannel wanted = channel(number);
  current_ = number;
  if (wanted.vfo == 'A' && *console_.ActiveVfo != 'A') operations_.VFOA_Click();
  if (wanted.vfo == 'B' && *console_.ActiveVfo != 'B') operations_.VFOB_Click();
  const cat::SendOutcome outcome = operations_.TuneTo(wanted.frequency);
  if (outcome == cat::SendOutcome::kRefused || wanted.mode.empty()) return outcome;
  if (wanted.mode == "CW" || wanted.mode == "FM") console_.Xnarrow.Set(wanted.narrow);
  const auto mode = operations_.SetModeByName(wanted.mode);
  if (!mode) return mode.error();
  return outcome;
}

Status MemoryChannels::SetName(int number, const std::string& name) {
  if (const Status holds = MustHold(number); !holds) return holds;
  MemoryChannel changed = channel(number);
  changed.name = name;
  return Change(number, changed);
}

Status MemoryChannels::Change(int number, const MemoryChannel& channel) {
  if (const Status there = MustExist(number); !there) return there;
  Channels channels = file_.channels;
  channels[Index(number)] = channel.empty() ? MemoryChannel() : channel;
  return Change(channels);
}

Status MemoryChannels::Move(int from, int to) {
  if (const Status there = MustExist(from); !there) return there;
  if (const Status there = MustExist(to); !there) return there;
  Channels channels = file_.channels;
  const auto at = [&](int number) { return channels.begin() + (number - 1); };
  if (from < to) std::rotate(at(from), at(from + 1), at(to + 1));
  if (from > to) std::rotate(at(to), at(from), at(from + 1));
  return Change(channels);
}

Status MemoryChannels::Delete(int number) {
  if (const Status holds = MustHold(number); !holds) return holds;
  return Change(number, {});
}

Status MemoryChannels::Delete(const std::vector<int>& numbers) {
  Channels channels = file_.channels;
  for (const int number : numbers) {
    if (const Status there = MustExist(number); !there) return there;
    channels[Index(number)] = {};
  }
  return channels == file_.channels ? Ok() : Change(channels);
}

Result<std::string> MemoryChannels::Export(const platform::Path& file) const {
  std::vector<NumberedChannel> held;
  for (int number = 1; number <= kChannels; ++number) {
    if (!channel(number).empty()) held.push_back({number, channel(number)});
  }
  const platform::Path path = folder_ / file;
  if (auto written = files_.Write(path, FormatChannels(held)); !written) return written.error();
  return std::to_string(held.size()) + " channels to " + path.string();
}

Result<std::vector<NumberedChannel>> MemoryChannels::Read(const platform::Path& file) const {
  const platform::Path path = folder_ / file;
  const auto content = files_.Read(path, kLargestFile);
  if (!content) return content.error();
  auto parsed = ParseChannels(*content);
  if (!parsed) return Error{parsed.error().code, path.string() + " " + parsed.error().message};
  return parsed;
}

std::vector<int> MemoryChannels::Conflicts(const std::vector<NumberedChannel>& channels) const {
  std::vector<int> numbers;
  for (const NumberedChannel& numbered : channels) {
    if (numbered.number != 0 && !channel(numbered.number).empty()) numbers.push_back(numbered.number);
  }
  return numbers;
}

Result<std::string> MemoryChannels::Take(const std::vector<NumberedChannel>& channels, Conflict conflict,
                                         const platform::Path& file) {
  const std::vector<int> taken = Conflicts(channels);
  if (conflict == Conflict::kRefuse && !taken.empty())
    return Error{ErrorCode::kInvalid, "there already: " + Join(taken) + "; nothing is imported"};
  Channels changed = file_.channels;
  int count = 0;
  for (const NumberedChannel& numbered : channels) {
    if (numbered.number == 0) continue;
    if (conflict == Conflict::kKeep && !channel(numbered.number).empty()) continue;
    changed[Index(numbered.number)] = numbered.channel;
    ++count;
  }
  const auto placed = PlaceFree(channels, changed);
  if (!placed) return Error{ErrorCode::kInvalid, "there are more channels than free places; nothing is imported"};
  if (const Status kept = Change(changed); !kept) return kept.error();
  const auto extras = std::count_if(channels.begin(), channels.end(), [](const auto& c) { return c.has_extras; });
  return std::to_string(count + *placed) + " channels from " + (folder_ / file).string() +
         (extras == 0 ? "" : "; shifts, tones or modes of " + std::to_string(extras) + " are kept in their comments");
}

Result<std::string> MemoryChannels::Import(const platform::Path& file, Conflict conflict) {
  const auto channels = Read(file);
  if (!channels) return channels.error();
  return Take(*channels, conflict, file);
}

}  // namespace kvx::functions
