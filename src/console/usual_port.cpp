#include "console/usual_port.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "core/text.h"

namespace kvx::console {
namespace {

using platform::Path;

constexpr const char* kOwnTable = "rig_setups.csv";
constexpr const char* kShippedTables = "rig_setups";
constexpr std::int64_t kDecihertzPerKhz = 10'000;

/// MHz with as many decimals as it takes.
std::string Mhz(Frequency frequency) {
  const std::int64_t khz = frequency.decihertz / kDecihertzPerKhz;
  std::string decimals = std::to_string(1'000'000 + khz % 1000 * 1000 + frequency.decihertz % kDecihertzPerKhz / 10);
  decimals = decimals.substr(1);
  decimals.erase(decimals.find_last_not_of('0') + 1);
  return std::to_string(khz / 1000) + (decimals.empty() ? "" : "." + decimals);
}

std::string NameOfReply(const std::string& word) {
  return word == "vfob" ? "VFO B" : word;
}

template <class Items, class Text>
std::string Listed(const Items& items, Text text) {
  std::string listed;
  for (const auto& item : items) listed += (listed.empty() ? "" : ", ") + text(item);
  return listed;
}

}  // namespace

UsualPorts::UsualPorts(const platform::Files& files, Path folder, Path data)
    : files_(files), folder_(std::move(folder)), data_(std::move(data)) {}

const config::RigSetup* UsualPorts::Of(std::string_view rig) {
  if (shipped_.empty()) ReadShipped();
  own_.clear();
  if (const Path own = folder_ / kOwnTable; files_.Exists(own)) ReadTable(own, own_);
  const config::RigSetup* setup = config::FindRigSetup(own_, rig);
  for (std::size_t i = 0; i < shipped_.size() && setup == nullptr; ++i) setup = config::FindRigSetup(shipped_[i], rig);
  return setup;
}

void UsualPorts::ReadShipped() {
  std::vector<Path> files;
  std::error_code error;
  for (std::filesystem::directory_iterator it(data_ / kShippedTables, error), end; !error && it != end;
       it.increment(error)) {
    if (it->path().extension() == ".csv") files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  for (const Path& file : files) ReadTable(file, shipped_.emplace_back());
}

void UsualPorts::ReadTable(const Path& file, std::vector<config::RigSetup>& table) {
  const Result<std::string> text = files_.Read(file);
  if (!text) return complaints_.push_back(text.error().message);
  Result<std::vector<config::RigSetup>> setups = config::ParseRigSetups(*text);
  if (!setups) return complaints_.push_back(file.string() + " " + setups.error().message);
  table = *std::move(setups);
}

RigPortChoice WithUsual(RigPortChoice port, const config::RigSetup& setup) {
  if (setup.speed == 0) return port;
  port.speed = setup.speed;
  port.stop_bits = setup.stop_bits;
  const bool switched = port.number > 0 && port.number < config::kSwitchedPorts;
  port.dtr = switched && setup.dtr;
  port.rts = switched && setup.rts;
  return port;
}

std::string UsualSentence(const config::RigSetup& setup) {
  if (setup.speed == 0) return "has no CAT port";
  std::string text = std::to_string(setup.speed) + " baud, " + std::to_string(setup.stop_bits) + " stop bit" +
                     (setup.stop_bits == 1 ? "" : "s") + ", DTR " + (setup.dtr ? "on" : "off") + ", RTS " +
                     (setup.rts ? "on" : "off");
  if (!setup.address.empty()) text += ", address " + setup.address;
  text += setup.replies.empty() ? "; cannot be read" : "; reads back " + Listed(setup.replies, NameOfReply);
  if (setup.ranges.empty()) return text;
  return text + "; receives " +
         Listed(setup.ranges,
                [](const config::FrequencyRange& range) { return Mhz(range.low) + "-" + Mhz(range.high); }) +
         " MHz";
}

}  // namespace kvx::console
