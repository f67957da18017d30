#include "platform/ports_file.h"

#include "core/lines.h"
#include "core/text.h"

namespace kvx::platform {
namespace {

constexpr std::size_t kLongestLine = 1024;
constexpr std::size_t kMostComplaints = 20;
constexpr std::size_t kFileLimit = 1U << 20;

/// What is wrong with the line; empty when it was taken or holds nothing.
std::string TakeAddress(std::string_view line, std::map<int, std::string>& addresses) {
  if (line.size() > kLongestLine) return "the line is too long";
  if (line.find('\0') != std::string_view::npos) return "the line is no text";
  line = Trim(line);
  if (line.empty() || line.front() == '#' || line.front() == ';') return "";
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return "there is no \"=\"";
  const std::string_view key = Trim(line.substr(0, equals));
  const std::string_view value = Trim(line.substr(equals + 1));
  if (!EqualNoCase(key.substr(0, 3), "COM")) return "a line begins with COM and a number";
  const std::string_view digits = key.substr(3);
  const auto number = digits.starts_with(' ') ? std::nullopt : ParseNumber(digits, 1, kHighestPort);
  if (!number) return "the port number must be 1 to " + std::to_string(kHighestPort);
  if (value.empty()) return "there is no device behind the \"=\"";
  if (!addresses.emplace(static_cast<int>(*number), value).second)
    return "COM" + std::to_string(*number) + " is there already";
  return "";
}

}  // namespace

PortTable PortTable::Parse(std::string_view content) {
  PortTable table;
  content = WithoutByteOrderMark(content);
  for (int number = 1; !content.empty(); ++number) {
    const std::string_view line = TakeLine(content).text;
    const std::string fault = TakeAddress(line, table.addresses);
    if (fault.empty() || table.complaints.size() >= kMostComplaints) continue;
    table.complaints.push_back("ports.ini line " + std::to_string(number) + " \"" + OneLine(line, 60) + "\": " + fault);
  }
  return table;
}

std::string PortTable::AddressOf(int number) const {
  const auto address = addresses.find(number);
  return address != addresses.end() ? address->second : "/dev/ttyS" + std::to_string(number - 1);
}

PortTable ReadPortTable(const Files& files, const Path& station) {
  const Path file = station / "ports.ini";
  const Result<std::string> content = files.Read(file, kFileLimit);
  PortTable table;
  if (!content) {
    if (content.error().code != ErrorCode::kNotFound) table.complaints.push_back(content.error().message);
  } else if (!IsText(*content)) {
    table.complaints.push_back(file.string() + " is no text file");
  } else {
    table = PortTable::Parse(*content);
  }
  return table;
}

}  // namespace kvx::platform
