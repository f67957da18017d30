#include "functions/memory_file.h"

#include <algorithm>
#include <optional>

#include "core/csv.h"
#include "core/lines.h"
#include "core/text.h"
#include "core/utf8.h"

namespace kvx::functions {
namespace {

constexpr std::string_view kFirstLine = "KVX memory channels 1";
constexpr std::string_view kHeading = "# channel,name,frequency in kHz,mode,width,vfo,skip,comment";
constexpr std::size_t kCells = 8;

/// With the decimals beyond 10 Hz that somebody has written by hand.
std::string ExactKhz(Frequency frequency) {
  std::string text = KhzText(frequency);
  if (const auto rest = frequency.decihertz % 100; rest != 0) text += (rest < 10 ? "0" : "") + std::to_string(rest);
  return text;
}

/// One byte that is no UTF-8 would have the whole file read as if it were none.
std::string Cell(std::string_view text) {
  return CsvCell(Utf8Of(text));
}

std::string TextOf(std::string_view cell) {
  return Utf8Of(FromVisible(cell));
}

std::string FormatChannel(int number, const MemoryChannel& channel) {
  return std::to_string(number) + ',' + Cell(channel.name) + ',' + ExactKhz(channel.frequency) + ',' +
         Cell(channel.mode) + ',' + (channel.narrow ? "narrow" : "") + ',' +
         (channel.vfo == 0 ? std::string() : std::string(1, channel.vfo)) + ',' + (channel.skip ? "skip" : "") + ',' +
         Cell(channel.comment) + '\n';
}

/// "" or the word: whether the word; nothing for another text.
std::optional<bool> Flag(const std::string& text, std::string_view word) {
  if (text.empty()) return false;
  return EqualNoCase(text, word) ? std::optional(true) : std::nullopt;
}

/// A line that is kept as it stands, but control characters as one can read them: many of them would make the file none
/// of text.
std::string Kept(std::string_view line) {
  const auto odd = [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; };
  return std::any_of(line.begin(), line.end(), odd) ? ToVisible(line) : std::string(line);
}

enum class LineKind { kChannel, kSecond, kOther };

/// Puts one line into its channel. Nothing is changed when it is none, or the channel is taken already.
LineKind TakeChannel(std::string_view line, MemoryFile& file) {
  CsvReader reader(line);
  const auto record = reader.Next();
  if (!record || record->cells.size() != kCells) return LineKind::kOther;
  const auto& cells = record->cells;
  const auto number = ParseNumber(cells[0], 1, kChannels);
  const auto frequency = ParseKhz(cells[2]);
  const auto narrow = Flag(cells[4], "narrow");
  const auto skip = Flag(cells[6], "skip");
  const std::string vfo = Upper(cells[5]);
  if (!number || !frequency || frequency->decihertz <= 0 || !narrow || !skip) return LineKind::kOther;
  if (!vfo.empty() && vfo != "A" && vfo != "B") return LineKind::kOther;
  MemoryChannel& channel = file.channels[static_cast<std::size_t>(*number - 1)];
  if (!channel.empty()) return LineKind::kSecond;
  channel = {.name = TextOf(cells[1]),
             .frequency = *frequency,
             .mode = TextOf(cells[3]),
             .narrow = *narrow,
             .vfo = vfo.empty() ? '\0' : vfo[0],
             .skip = *skip,
             .comment = TextOf(cells[7])};
  return LineKind::kChannel;
}

}  // namespace

Result<MemoryFile> ParseMemories(std::string_view content) {
  const std::string text = Utf8Of(content);
  std::string_view rest = WithoutByteOrderMark(text);
  if (!IsText(content) || Trim(TakeLine(rest).text) != kFirstLine)
    return Error{ErrorCode::kDamaged, "it does not begin with \"" + std::string(kFirstLine) + "\""};
  MemoryFile file;
  while (!rest.empty()) {
    const std::string_view line = TakeLine(rest).text;
    if (Trim(line).empty() || line == kHeading) continue;
    const LineKind kind = TakeChannel(line, file);
    if (kind == LineKind::kOther) file.other_lines.push_back(Kept(line));
    // It must not step into the place of the first one when that is deleted.
    if (kind == LineKind::kSecond) file.other_lines.push_back("# " + Kept(line));
  }
  return file;
}

std::string FormatMemories(const MemoryFile& file) {
  std::string text = std::string(kFirstLine) + '\n' + std::string(kHeading) + '\n';
  for (int number = 1; number <= kChannels; ++number) {
    const MemoryChannel& channel = file.channels[static_cast<std::size_t>(number - 1)];
    if (!channel.empty()) text += FormatChannel(number, channel);
  }
  for (const std::string& line : file.other_lines) text += line + '\n';
  return text;
}

}  // namespace kvx::functions
