#include "console/traffic.h"

#include <algorithm>
#include <chrono>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::console {
namespace {

constexpr std::size_t kTextColumns = 40;  // of a line, before the hexadecimal pairs

bool Printable(char c) {
  return c >= 0x20 && c < 0x7F;
}

/// A reply or command of a text rig; a stray control character does not make it binary.
bool Readable(std::string_view bytes) {
  const auto odd = std::count_if(bytes.begin(), bytes.end(),
                                 [](char c) { return !Printable(c) && c != '\r' && c != '\n' && c != '\t'; });
  return static_cast<std::size_t>(odd) * 4 <= bytes.size();
}

/// "fefe94" as it would stand in a line of pairs, "fe fe 94"; anything else stays as it is.
std::string AsPairs(std::string_view text) {
  const std::string digits = WithoutBlanks(text);
  const bool pairs = digits.size() >= 4 && digits.size() % 2 == 0 && BytesFromHex(digits).has_value();
  if (!pairs) return std::string(text);
  std::string out = digits.substr(0, 2);
  for (std::size_t i = 2; i < digits.size(); i += 2) out += ' ' + digits.substr(i, 2);
  return out;
}

}  // namespace

void TrafficRing::Add(Traffic entry) {
  bytes_ += entry.bytes.size();
  entries_.push_back(std::move(entry));
  Trim();
}

void TrafficRing::Extend(std::string_view bytes) {
  entries_.back().bytes += bytes;
  bytes_ += bytes.size();
  Trim();
}

void TrafficRing::Clear() {
  first_ = end();
  entries_.clear();
  bytes_ = 0;
}

void TrafficRing::Trim() {
  while (entries_.size() > kMostEntries || (bytes_ > kMostBytes && entries_.size() > 1)) {
    bytes_ -= entries_.front().bytes.size();
    entries_.pop_front();
    ++first_;
  }
}

std::string TrafficText::Time(const Traffic& entry) {
  const auto day = std::chrono::floor<std::chrono::days>(entry.time);
  const std::chrono::hh_mm_ss time(entry.time - day);
  return PadNumber(time.hours().count(), 2) + ":" + PadNumber(time.minutes().count(), 2) + ":" +
         PadNumber(time.seconds().count(), 2) + "." + PadNumber(time.subseconds().count(), 3);
}

std::string TrafficText::Date(UtcTime time) {
  const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(time));
  return PadNumber(static_cast<int>(date.year()), 4) + "-" + PadNumber(static_cast<unsigned>(date.month()), 2) + "-" +
         PadNumber(static_cast<unsigned>(date.day()), 2);
}

std::string TrafficText::Text(const Traffic& entry) {
  std::string out;
  const bool readable = Readable(entry.bytes);
  for (const char c : entry.bytes) {
    if (Printable(c)) {
      out += c;
    } else if (!readable) {
      out += '.';
    } else if (static_cast<unsigned char>(c) < 0x80) {
      out += ToVisible({&c, 1});
    } else {
      out += "<0x" + HexText::FromBytes({&c, 1}).digits + ">";
    }
  }
  return out;
}

std::string TrafficText::FormatLine(const Traffic& entry) const {
  std::string text = Text(entry);
  if (text.size() < kTextColumns) text.resize(kTextColumns, ' ');
  return Time(entry) + (entry.direction == Direction::kSent ? " > " : " < ") + text + "  " + Hex(entry);
}

bool TrafficText::Passes(const Traffic& entry, const TrafficFilter& filter) const {
  const bool wanted = entry.direction == Direction::kSent ? filter.sent : filter.received;
  if (!wanted || filter.text.empty()) return wanted;
  return ContainsNoCase(Text(entry), filter.text) || ContainsNoCase(Hex(entry), AsPairs(filter.text));
}

}  // namespace kvx::console
