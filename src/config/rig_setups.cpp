#include "config/rig_setups.h"

#include <algorithm>
#include <array>
#include <utility>

#include "config/station_settings.h"
#include "core/csv.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::config {
namespace {

constexpr std::size_t kMostSetups = 4096;
constexpr std::size_t kMostRanges = 32;
constexpr int kMostDigits = 12;
constexpr std::array<std::string_view, 4> kReplies{"frequency", "mode", "meter", "vfob"};

std::string Quoted(std::string_view text) {
  return "\"" + OneLine(text, 40) + "\"";
}

std::vector<std::string> Words(std::string_view text) {
  std::vector<std::string> words = Split(text, ' ');
  std::erase(words, "");
  return words;
}

std::optional<Frequency> ParseMhz(std::string_view text) {
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string decimals(text.substr(std::min(point + 1, text.size())));
  if (!AllDigits(text.substr(0, point)) || (point < text.size() && !AllDigits(decimals))) return std::nullopt;
  decimals.resize(std::max<std::size_t>(decimals.size(), 3), '0');
  return ParseKhz(std::string(text.substr(0, point)) + decimals.substr(0, 3) + "." + decimals.substr(3));
}

// A reader takes one cell into the setup and says what is wrong with it, or nothing.

std::string ReadNumber(std::string_view cell, int low, int high, std::string_view what, int& number) {
  const auto value = ParseNumber(cell, low, high);
  if (!value)
    return std::string(what) + " " + Quoted(cell) + " is not " + std::to_string(low) + " to " + std::to_string(high);
  number = static_cast<int>(*value);
  return "";
}

std::string ReadName(std::string_view cell, RigSetup& setup) {
  setup.rig = Trim(cell);
  return setup.rig.empty() ? "the rig has no name" : "";
}

std::string ReadSpeed(std::string_view cell, RigSetup& setup) {
  return ReadNumber(cell, 0, kFastestLine, "the speed", setup.speed);
}

std::string ReadStopBits(std::string_view cell, RigSetup& setup) {
  return ReadNumber(cell, 1, 2, "the number of stop bits", setup.stop_bits);
}

std::string ReadLine(std::string_view cell, bool& line) {
  line = EqualNoCase(cell, "on");
  return line || EqualNoCase(cell, "off") ? "" : Quoted(cell) + " is neither on nor off";
}
std::string ReadDtr(std::string_view cell, RigSetup& setup) {
  return ReadLine(cell, setup.dtr);
}
std::string ReadRts(std::string_view cell, RigSetup& setup) {
  return ReadLine(cell, setup.rts);
}

std::string ReadAddress(std::string_view cell, RigSetup& setup) {
  setup.address = Upper(Trim(cell));
  const bool fits = setup.address.empty() || (setup.address.size() == 2 && BytesFromHex(setup.address));
  return fits ? "" : "the address " + Quoted(cell) + " is not two hexadecimal digits";
}

std::string ReadDigits(std::string_view cell, RigSetup& setup) {
  return ReadNumber(cell, 0, kMostDigits, "the number of digits", setup.digits);
}

std::string ReadRanges(std::string_view cell, RigSetup& setup) {
  for (const std::string& word : Words(cell)) {
    const std::size_t dash = word.find('-');
    const auto low = ParseMhz(std::string_view(word).substr(0, dash));
    const auto high = dash == std::string::npos ? std::nullopt : ParseMhz(std::string_view(word).substr(dash + 1));
    if (!low || !high || *low >= *high) return "the range " + Quoted(word) + " is not two frequencies in MHz, low-high";
    if (!setup.ranges.empty() && *low <= setup.ranges.back().high)
      return "the range " + word + " is not above the last";
    if (setup.ranges.size() == kMostRanges) return "there are too many ranges";
    setup.ranges.push_back({*low, *high});
  }
  return "";
}

std::string ReadReplies(std::string_view cell, RigSetup& setup) {
  setup.replies = Words(cell);
  for (const std::string& word : setup.replies) {
    if (std::find(kReplies.begin(), kReplies.end(), word) == kReplies.end()) return "there is no reply " + Quoted(word);
  }
  return "";
}

struct Column {
  std::string_view name;
  std::string (*read)(std::string_view cell, RigSetup& setup);
};
constexpr std::array kColumns{
    Column{"RigName", ReadName},  Column{"Speed", ReadSpeed},   Column{"StopBits", ReadStopBits},
    Column{"DTR", ReadDtr},       Column{"RTS", ReadRts},       Column{"Address", ReadAddress},
    Column{"Digits", ReadDigits}, Column{"Ranges", ReadRanges}, Column{"Replies", ReadReplies},
};

std::string CheckHead(const std::vector<std::string>& cells) {
  for (std::size_t i = 0; i < kColumns.size(); ++i) {
    if (i >= cells.size() || !EqualNoCase(Trim(cells[i]), kColumns[i].name)) {
      return "the column " + std::string(kColumns[i].name) + " is not where it belongs";
    }
  }
  return cells.size() == kColumns.size() ? "" : "there are too many columns";
}

/// Puts one record into the setups; what is wrong with it, else empty.
std::string TakeRecord(const std::vector<std::string>& cells, std::vector<RigSetup>& setups) {
  if (cells.size() != kColumns.size()) return "a line has " + std::to_string(kColumns.size()) + " cells";
  RigSetup setup;
  for (std::size_t i = 0; i < kColumns.size(); ++i) {
    std::string fault = kColumns[i].read(cells[i], setup);
    if (!fault.empty()) return fault;
  }
  if (FindRigSetup(setups, setup.rig) != nullptr) return "the rig " + OneLine(setup.rig, 60) + " is there already";
  if (setups.size() == kMostSetups) return "there are too many rigs";
  setups.push_back(std::move(setup));
  return "";
}

}  // namespace

bool RigSetup::Receives(Frequency frequency) const {
  return std::any_of(ranges.begin(), ranges.end(), [frequency](const FrequencyRange& range) {
    return frequency >= range.low && frequency <= range.high;
  });
}

Result<std::vector<RigSetup>> ParseRigSetups(std::string_view csv) {
  std::vector<RigSetup> setups;
  CsvReader reader(csv);
  bool head_seen = false;
  const auto failed = [](int line, const std::string& fault) {
    return Error{ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + fault};
  };
  while (const auto record = reader.Next()) {
    const bool is_head = !std::exchange(head_seen, true);
    const std::string fault = is_head ? CheckHead(record->cells) : TakeRecord(record->cells, setups);
    if (!fault.empty()) return failed(record->line, fault);
  }
  if (!reader.fault().empty()) return failed(reader.line(), reader.fault());
  return setups;
}

const RigSetup* FindRigSetup(const std::vector<RigSetup>& setups, std::string_view rig) {
  const auto setup = std::find_if(setups.begin(), setups.end(),
                                  [rig](const RigSetup& candidate) { return EqualNoCase(candidate.rig, rig); });
  return setup == setups.end() ? nullptr : &*setup;
}

}  // namespace kvx::config
