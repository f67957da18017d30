#include "console/position_file.h"

#include <algorithm>

#include "core/lines.h"
#include "core/text.h"

namespace kvx::console {
namespace {

constexpr std::int64_t kIntLimit = 1'000'000'000;

/// Visits every value in the order of the file. Reader and writer walk the same list.
template <class Position, class Visitor>
void Visit(Position& position, Visitor& visit) {
  visit.Number(position.top);
  visit.Number(position.left);
  for (std::size_t i = 1; i < position.memory_first.size(); ++i) visit.Memory(position.memory_first[i]);
  for (std::size_t i = 1; i < position.memory_second.size(); ++i) visit.Memory(position.memory_second[i]);
  visit.Number(position.front);
  for (auto& state : position.states) visit.Number(state);
  visit.Text(position.logger_program);
  visit.Number(position.state_after_logger);
  for (auto& slider : position.sliders) visit.Number(slider);
  for (auto& color : position.element_colors) visit.Number(color);
  visit.Number(position.h_scroll2);
  visit.Switch(position.am_scb);
  visit.Switch(position.menu_check);
  for (auto& color : position.display_colors) visit.Number(color);
  for (auto& text : position.texts) visit.Text(text);
}

/// Line breaks would shift every value behind them.
std::string OnOneLine(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  return line;
}

struct Writer {
  std::string out;
  void Line(const std::string& text) { out += text + "\n"; }
  void Number(std::int64_t value) { Line(NumberText(value)); }
  void Switch(bool value) { Line(value ? "True" : "False"); }
  void Text(const std::string& text) { Line(OnOneLine(text)); }
  void Memory(const std::string& text) { Text(text.find('=') == std::string::npos ? text : "=" + text); }
};

struct Reader {
  std::string_view rest;

  bool Take(std::string_view& line) {
    if (rest.empty()) return false;
    line = TakeLine(rest).text;
    return true;
  }
  template <class T>
  void Number(T& value) {
    std::string_view line;
    if (Take(line)) value = static_cast<T>(std::clamp(LeadingNumber(line), -kIntLimit, kIntLimit));
  }
  void Switch(bool& value) {
    std::string_view line;
    if (Take(line)) value = EqualNoCase(Trim(line), "True");
  }
  void Text(std::string& text) {
    std::string_view line;
    if (Take(line)) text = std::string(line);
  }
  void Memory(std::string& text) {
    std::string_view line;
    if (!Take(line)) return;
    const std::size_t equals = line.find('=');
    text = std::string(equals == std::string_view::npos ? line : line.substr(equals + 1));
  }
};

}  // namespace

ConsolePosition::ConsolePosition() {
  memory_first.fill("0000");
}

std::string FormatPosition(const ConsolePosition& position) {
  Writer writer;
  Visit(position, writer);
  return writer.out;
}

Status ParsePosition(std::string_view content, ConsolePosition& position) {
  if (!IsText(content)) return Error{ErrorCode::kDamaged, "it holds no text"};
  Reader reader{WithoutByteOrderMark(content)};
  Visit(position, reader);
  if (position.logger_program.empty()) position.logger_program = ConsolePosition().logger_program;
  return Ok();
}

}  // namespace kvx::console
