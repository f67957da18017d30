#include "console/debug_log.h"

#include <algorithm>
#include <optional>

#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr Duration kShortestGap = 5ms;
constexpr std::size_t kGapBytes = 4;        // a pause of so many bytes ends an entry on a slow line
constexpr std::size_t kLongestEntry = 256;  // bytes

/// The character that ends every reply of a rig; nothing for a rig whose replies have none.
std::optional<char> EndMark(const config::RigDefinition& rig) {
  if (rig.nameless()) return std::nullopt;
  if (rig.family == "ICOM") return '\xFD';
  if (rig.family == "TEN-TEC") return '\r';
  return ';';
}

}  // namespace

void DebugLog::Open() {
  ++open_;
  Hook();
}

void DebugLog::Close() {
  if (open_ > 0) --open_;
  complete_ = true;
  Hook();
}

DebugLog::Listening DebugLog::Listen(Listener listener) {
  listeners_.emplace_back(++last_id_, std::move(listener));
  Hook();
  return Listening(*this, last_id_);
}

void DebugLog::StopListening(std::uint64_t id) {
  std::erase_if(listeners_, [id](const auto& entry) { return entry.first == id; });
  Hook();
}

void DebugLog::Hook() {
  if (passing_ > 0) return;  // a hook must not be replaced while it runs; the next change of listeners does it
  cat::RigLink& link = engine_.link;
  if (open_ == 0 && listeners_.empty()) {
    link.DisplayTX = nullptr;
    link.DisplayRCV = nullptr;
  } else if (!link.DisplayTX) {
    link.DisplayTX = [this](std::string_view bytes) { Passed(Direction::kSent, bytes); };
    link.DisplayRCV = [this](std::string_view bytes) { Passed(Direction::kReceived, bytes); };
  }
}

void DebugLog::Passed(Direction direction, std::string_view bytes) {
  if (open_ > 0) Record(direction, bytes);
  if (listeners_.empty()) return;
  ++passing_;
  const auto listeners = listeners_;  // one of them may stop listening
  for (const auto& [id, listener] : listeners) listener(direction, bytes);
  --passing_;
}

/// A command is written in one piece. Received bytes come as the line and the system cut them: they are put together
/// again, and cut where a reply ends.
void DebugLog::Record(Direction direction, std::string_view bytes) {
  const UtcTime time = loop_.UtcNow();
  if (direction == Direction::kSent) {
    complete_ = true;
    ring_.Add({time, direction, std::string(bytes)});
    return;
  }
  const std::optional<char> mark = EndMark(engine_.rig());
  while (!bytes.empty()) {
    const bool growing = last_is_growing();
    const std::size_t room = kLongestEntry - (growing ? ring_.at(ring_.end() - 1).bytes.size() : 0);
    const std::size_t end = mark ? bytes.substr(0, room).find(*mark) : std::string_view::npos;
    const std::string_view piece = bytes.substr(0, end == std::string_view::npos ? room : end + 1);
    if (growing) {
      ring_.Extend(piece);
    } else {
      ring_.Add({time, direction, std::string(piece)});
    }
    complete_ = end != std::string_view::npos || piece.size() == room;
    last_ = loop_.Now();
    bytes.remove_prefix(piece.size());
  }
}

Duration DebugLog::Gap() const {
  return std::max(kShortestGap, engine_.link.TimeOf(kGapBytes));
}

bool DebugLog::last_is_growing() const {
  return !complete_ && ring_.end() > ring_.first() && loop_.Now() - last_ <= Gap();
}

std::uint64_t DebugLog::settled_end() const {
  return ring_.end() - (last_is_growing() ? 1 : 0);
}

Status DebugLog::SaveTo(const platform::Path& file, const TrafficRing& ring, const TrafficFilter& filter) const {
  std::string out = "# " + TrafficText::Date(loop_.UtcNow()) + " UTC, " +
                    (engine_.rig().name.empty() ? "no rig" : OneLine(engine_.rig().name)) + ", " +
                    std::to_string(engine_.link.speed()) + " baud; > sent, < received\n";
  for (std::uint64_t number = ring.first(); number < ring.end(); ++number) {
    const Traffic& entry = ring.at(number);
    if (text_.Passes(entry, filter)) out += text_.FormatLine(entry) + "\n";
  }
  return files_.Write(file, out);
}

}  // namespace kvx::console
