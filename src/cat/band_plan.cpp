#include "cat/band_plan.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/csv.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::string_view kColumns = "from_khz,to_khz,use,text,privilege";
constexpr std::size_t kMostSegments = 5000;
constexpr std::size_t kLongestText = 200;

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

bool IsHead(const std::vector<std::string>& cells) {
  std::string line;
  for (const std::string& cell : cells) line += (line.empty() ? "" : ",") + cell;
  return EqualNoCase(Trim(line), kColumns);
}

std::optional<Frequency> Limit(std::string_view khz) {
  const auto frequency = ParseKhz(khz);
  const bool shown_exactly = frequency && frequency->decihertz >= 0 && frequency->displayed() == *frequency;
  return shown_exactly ? frequency : std::nullopt;
}

Result<BandPlan::Segment> ReadSegment(const std::vector<std::string>& cells) {
  const auto wrong = [](const std::string& what) { return Error{ErrorCode::kInvalid, what}; };
  if (cells.size() != 5) return wrong("it is not " + std::string(kColumns) + " (quote a text that holds a comma)");
  const auto from = Limit(cells[0]);
  const auto to = Limit(cells[1]);
  if (!from || !to) return wrong("a limit is no frequency in kHz, exact to 10 Hz");
  if (*from >= *to) return wrong("its lower limit is not below its upper limit");
  const auto use = Find<BandUse>(kUses, Trim(cells[2]));
  if (!use) return wrong("there is no use \"" + OneLine(cells[2], 40) + '"');
  const std::string text(Trim(cells[3]));
  if (text.empty()) return wrong("it has no text");
  if (text.size() > kLongestText || text.find_first_of("\r\n") != std::string::npos) {
    return wrong("its text is not one line of at most " + std::to_string(kLongestText) + " bytes");
  }
  const auto licence = Find<LicenceClass>(kLicences, Trim(cells[4]));
  if (!licence) return wrong("there is no licence class \"" + OneLine(cells[4], 40) + '"');
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
  BandPlan plan;
  CsvReader reader(csv);
  bool columns_seen = false;
  const auto failed = [](int line, const std::string& what) {
    return Error{ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + what};
  };
  while (const auto record = reader.Next()) {
    if (!std::exchange(columns_seen, true)) {
      if (!IsHead(record->cells)) return failed(record->line, "the columns are not " + std::string(kColumns));
      continue;
    }
    auto segment = ReadSegment(record->cells);
    if (!segment) return failed(record->line, segment.error().message);
    const std::string fault = plan.Add(std::move(*segment));
    if (!fault.empty()) return failed(record->line, fault);
  }
  if (!reader.fault().empty()) return failed(reader.line(), reader.fault());
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
