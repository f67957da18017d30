#include "cat/band_plan.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kColumns = "from_khz,to_khz,use,text,privilege";
constexpr std::size_t kMostSegments = 5000;
constexpr std::size_t kLongestLine = 300;

constexpr std::array<std::string_view, 9> kUses{"cw",        "data",     "phone", "mixed",  "beacon",
                                                "satellite", "repeater", "dx",    "calling"};
constexpr std::array<std::string_view, 6> kLicences{"", "Novice", "Technician", "General", "Advanced", "Extra"};

/// The place of a name in its table, which is the value it stands for.
template <class Value, std::size_t kCount>
std::optional<Value> Find(const std::array<std::string_view, kCount>& names, std::string_view name) {
  const auto* at = std::find_if(names.begin(), names.end(), [=](std::string_view n) { return EqualNoCase(n, name); });
  if (at == names.end()) return std::nullopt;
  return static_cast<Value>(at - names.begin());
}

/// The fields of one line; nothing when a quote is not closed or stands inside a field.
std::optional<std::vector<std::string>> Fields(std::string_view line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  bool closed = false;
  for (const char c : line) {
    std::string& field = fields.back();
    if (c == '"' && !quoted && field.empty() && !closed) {
      quoted = true;
    } else if (c == '"' && quoted) {
      quoted = false;
      closed = true;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
      closed = false;
    } else if (c == '"' || closed) {
      return std::nullopt;
    } else {
      field += c;
    }
  }
  if (quoted) return std::nullopt;
  return fields;
}

std::optional<Frequency> Limit(std::string_view khz) {
  const auto frequency = ParseKhz(khz);
  const bool shown_exactly = frequency && frequency->decihertz >= 0 && frequency->displayed() == *frequency;
  return shown_exactly ? frequency : std::nullopt;
}

Result<BandPlan::Segment> ReadSegment(std::string_view line) {
  const auto wrong = [](const std::string& what) { return Error{ErrorCode::kInvalid, what}; };
  const auto fields = line.size() <= kLongestLine ? Fields(line) : std::nullopt;
  if (!fields || fields->size() != 5)
    return wrong("it is not " + std::string(kColumns) + " (quote a text that holds a comma)");
  const auto from = Limit((*fields)[0]);
  const auto to = Limit((*fields)[1]);
  if (!from || !to) return wrong("a limit is no frequency in kHz, exact to 10 Hz");
  if (*from >= *to) return wrong("its lower limit is not below its upper limit");
  const auto use = Find<BandUse>(kUses, Trim((*fields)[2]));
  if (!use) return wrong("there is no use \"" + OneLine((*fields)[2], 40) + '"');
  const std::string text(Trim((*fields)[3]));
  if (text.empty()) return wrong("it has no text");
  const auto licence = Find<LicenceClass>(kLicences, Trim((*fields)[4]));
  if (!licence) return wrong("there is no licence class \"" + OneLine((*fields)[4], 40) + '"');
  return BandPlan::Segment{.from = *from, .to = *to, .use = *use, .text = text, .privilege = *licence};
}

std::string Range(const BandPlan::Segment& segment) {
  return KhzText(segment.from) + " to " + KhzText(segment.to);
}

}  // namespace

std::string_view BandUseName(BandUse use) {
  return kUses[static_cast<std::size_t>(use)];
}

std::string_view LicenceClassName(LicenceClass licence) {
  return kLicences[static_cast<std::size_t>(licence)];
}

Result<BandPlan> BandPlan::Parse(std::string_view csv) {
  if (csv.starts_with(kByteOrderMark)) csv.remove_prefix(kByteOrderMark.size());
  BandPlan plan;
  bool columns_seen = false;
  for (int number = 1; !csv.empty(); ++number) {
    std::string_view line = csv.substr(0, csv.find('\n'));
    csv.remove_prefix(std::min(line.size() + 1, csv.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (Trim(line).empty() || line.front() == '#') continue;
    const auto failed = [number](const std::string& what) {
      return Error{ErrorCode::kInvalid, "line " + std::to_string(number) + ": " + what};
    };
    if (!std::exchange(columns_seen, true)) {
      if (!EqualNoCase(Trim(line), kColumns)) return failed("the columns are not " + std::string(kColumns));
      continue;
    }
    auto segment = ReadSegment(line);
    if (!segment) return failed(segment.error().message);
    const std::string fault = plan.Add(std::move(*segment));
    if (!fault.empty()) return failed(fault);
  }
  if (plan.segments_.empty()) return Error{ErrorCode::kInvalid, "the band plan is empty"};
  plan.EndOpenSegments(plan.segments_[plan.open_.front()].to);
  return plan;
}

/// What is wrong with the segment at this place, else empty.
std::string BandPlan::Add(Segment segment) {
  if (segments_.size() == kMostSegments) return "there are too many segments";
  if (!segments_.empty()) {
    const Segment& last = segments_.back();
    if (segment.from < last.from) return "it begins below the line before it";
    if (segment.from == last.from && segment.to >= last.to)
      return "it is not narrower than " + Range(last) + " before it";
  }
  EndOpenSegments(segment.from);
  if (!open_.empty()) {
    const Segment& around = segments_[open_.back()];
    if (segment.to > around.to) return "it reaches out of " + Range(around);
    segment.note = true;
    if (segment.privilege == LicenceClass::kNone) segment.privilege = around.privilege;
  }
  pieces_.push_back({segment.from, segments_.size()});
  open_.push_back(segments_.size());
  segments_.push_back(std::move(segment));
  return "";
}

/// Goes back to the wider segment, or to none, wherever one ends at or below `up_to`.
void BandPlan::EndOpenSegments(Frequency up_to) {
  while (!open_.empty() && segments_[open_.back()].to <= up_to) {
    const Frequency end = segments_[open_.back()].to;
    open_.pop_back();
    pieces_.push_back({end, open_.empty() ? std::nullopt : std::optional(open_.back())});
  }
}

const BandPlan::Segment* BandPlan::At(Frequency frequency) const {
  const auto above = std::upper_bound(pieces_.begin(), pieces_.end(), frequency,
                                      [](Frequency f, const Piece& piece) { return f < piece.from; });
  if (above == pieces_.begin()) return nullptr;
  const auto segment = std::prev(above)->segment;
  return segment ? &segments_[*segment] : nullptr;
}

std::vector<BandPlan::Segment> BandPlan::Cut(Frequency from, Frequency to, bool notes) const {
  std::vector<Segment> cut;
  for (const Segment& segment : segments_) {
    if (segment.from >= to) break;
    if (segment.note != notes || segment.to <= from) continue;
    cut.push_back(segment);
    cut.back().from = std::max(segment.from, from);
    cut.back().to = std::min(segment.to, to);
  }
  return cut;
}

}  // namespace kvx::cat
