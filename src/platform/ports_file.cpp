#include "platform/ports_file.h"

#include <algorithm>
#include <optional>

#include "core/lines.h"
#include "core/text.h"

namespace kvx::platform {
namespace {

constexpr std::size_t kLongestLine = 1024;
constexpr std::size_t kMostComplaints = 20;
constexpr std::size_t kFileLimit = 1U << 20;

/// The port number that the part before a line's "=" names.
std::optional<int> PortNumber(std::string_view key) {
  key = Trim(key);
  if (!EqualNoCase(key.substr(0, 3), "COM") || key.substr(3).starts_with(' ')) return std::nullopt;
  const auto number = ParseNumber(key.substr(3), 1, kHighestPort);
  if (!number) return std::nullopt;
  return static_cast<int>(*number);
}

/// The same for a parallel port.
std::string TakeParallel(std::string_view key, std::string_view value, std::map<int, std::string>& parallel) {
  const auto number = ParseNumber(key, 1, kHighestParallelPort);
  if (!number) return "a parallel port is LPT1, LPT2 or LPT3";
  if (!value.starts_with('/') && value != "sim:lpt") return "a parallel port is a device, /dev/..., or sim:lpt";
  if (!parallel.emplace(*number, value).second) return "LPT" + std::to_string(*number) + " is there already";
  return "";
}

/// What is wrong with the line; empty when it was taken or holds nothing.
std::string TakeAddress(std::string_view line, PortTable& table) {
  if (line.size() > kLongestLine) return "the line is too long";
  if (line.find('\0') != std::string_view::npos) return "the line is no text";
  line = Trim(line);
  if (line.empty() || line.front() == '#' || line.front() == ';') return "";
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return "there is no \"=\"";
  const std::string_view key = Trim(line.substr(0, equals));
  const std::string_view value = Trim(line.substr(equals + 1));
  if (EqualNoCase(key.substr(0, 3), "LPT")) return TakeParallel(key.substr(3), value, table.parallel);
  if (!EqualNoCase(key.substr(0, 3), "COM")) return "a line begins with COM or LPT and a number";
  const auto number = PortNumber(key);
  if (!number) return "the port number must be 1 to " + std::to_string(kHighestPort);
  if (value.empty()) return "there is no device behind the \"=\"";
  const int other = table.LinkOwner(value, *number);
  if (!table.addresses.emplace(*number, value).second) return "COM" + std::to_string(*number) + " is there already";
  return other == 0 ? "" : "the link is that of COM" + std::to_string(other) + ", and each port needs its own";
}

/// Whether a line is the one for that number, usable or not. What is too long was never read and stays.
bool IsLineOf(int number, std::string_view line) {
  const std::size_t equals = line.find('=');
  return line.size() <= kLongestLine && equals != std::string_view::npos &&
         PortNumber(line.substr(0, equals)) == number;
}

bool IsHostAndPort(std::string_view address) {
  const std::size_t colon = address.rfind(':');
  return colon != std::string_view::npos && colon > 0 && ParseNumber(address.substr(colon + 1), 1, 65535).has_value();
}

}  // namespace

PortTable PortTable::Parse(std::string_view content) {
  PortTable table;
  content = WithoutByteOrderMark(content);
  for (int number = 1; !content.empty(); ++number) {
    const std::string_view line = TakeLine(content).text;
    const std::string fault = TakeAddress(line, table);
    if (fault.empty()) continue;
    if (table.complaints.size() == kMostComplaints) table.complaints.push_back("ports.ini has more such lines");
    if (table.complaints.size() > kMostComplaints) continue;
    table.complaints.push_back("ports.ini line " + std::to_string(number) + " \"" + OneLine(line, 60) + "\": " + fault);
  }
  return table;
}

std::string PortTable::AddressOf(int number) const {
  const auto address = addresses.find(number);
  return address != addresses.end() ? address->second : "/dev/ttyS" + std::to_string(number - 1);
}

int PortTable::LinkOwner(std::string_view address, int number) const {
  if (!address.starts_with("pty:")) return 0;
  const auto same = std::find_if(addresses.begin(), addresses.end(),
                                 [&](const auto& port) { return port.first != number && port.second == address; });
  return same == addresses.end() ? 0 : same->first;
}

std::string PortTable::ParallelAddressOf(int number) const {
  const auto address = parallel.find(number);
  return address != parallel.end() ? address->second : "/dev/parport" + std::to_string(number - 1);
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

Status CheckAddress(std::string_view address) {
  const auto wrong = [](const std::string& why) -> Status { return Error{ErrorCode::kInvalid, why}; };
  const bool blank_at_end = address != Trim(address);
  const bool control =
      std::any_of(address.begin(), address.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
  if (address.empty()) return wrong("There is no device behind the port");
  if (control || blank_at_end) return wrong("\"" + OneLine(address, 60) + "\" is no address of a device");
  if (address.size() > kLongestLine - 10) return wrong("The address of the device is too long");
  if (address.starts_with("/")) return Ok();
  if (address.starts_with("pty:"))
    return address.substr(4).starts_with("/") ? Ok() : wrong("pty: takes the full path of a link, as in pty:/tmp/rig");
  if (address.starts_with("tcp:"))
    return IsHostAndPort(address.substr(4)) ? Ok() : wrong("tcp: takes HOST:PORT, as in tcp:shack.local:4001");
  if (address.starts_with("sim:"))
    return address.size() > 4 ? Ok() : wrong("sim: takes the name of a simulated rig, as in sim:ts2000");
  return wrong("\"" + OneLine(address, 60) + "\" is no device: /dev/..., pty:PATH, tcp:HOST:PORT or sim:NAME");
}

std::string WithAddress(std::string_view content, int number, std::string_view address) {
  const std::string line = "COM" + std::to_string(number) + "=" + std::string(address);
  const std::string_view text = WithoutByteOrderMark(content);
  std::string result(content.substr(0, content.size() - text.size()));
  std::string line_end = "\n";
  bool written = false;
  std::string_view rest = text;
  while (!rest.empty()) {
    const Line old = TakeLine(rest);
    if (!old.end.empty()) line_end = old.end;
    const bool own = !written && IsLineOf(number, old.text);
    result += own ? line : std::string(old.text);
    result += old.end.empty() ? line_end : std::string(old.end);
    written = written || own;
  }
  return written ? result : result + line + line_end;
}

Status WriteAddress(Files& files, const Path& station, int number, std::string_view address) {
  const Path file = station / "ports.ini";
  Result<std::string> content = files.Read(file, kFileLimit);
  if (!content && content.error().code != ErrorCode::kNotFound) return content.error();
  if (content && !IsText(*content)) {
    if (auto moved = files.Rename(file, SetAsideName(files, file)); !moved) return moved;
    content = std::string();
  }
  return files.Write(file, WithAddress(content ? *content : std::string(), number, address));
}

}  // namespace kvx::platform
