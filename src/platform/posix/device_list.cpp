#include "platform/posix/device_list.h"

#include <algorithm>
#include <fstream>

#include "core/text.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostEntries = 4096;  // of one folder
constexpr std::size_t kLongestText = 120;
constexpr int kMostSteps = 8;  // from a USB port's terminal up to the device that carries the product's name

std::vector<Path> EntriesOf(const Path& folder) {
  std::vector<Path> entries;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end && entries.size() < kMostEntries;
       it.increment(error)) {
    entries.push_back(it->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

/// The one line of a kernel attribute; empty when there is none.
std::string Attribute(const Path& file) {
  std::ifstream stream(file);
  std::string line(kLongestText, '\0');
  stream.read(line.data(), static_cast<std::streamsize>(line.size()));
  line.resize(static_cast<std::size_t>(stream.gcount()));
  return OneLine(Trim(std::string_view(line).substr(0, line.find('\n'))), kLongestText);
}

/// "maker product", the maker once.
std::string Joined(const std::string& maker, const std::string& product) {
  if (maker.empty() || ContainsNoCase(product, maker)) return product;
  return product.empty() ? maker : maker + " " + product;
}

}  // namespace

std::vector<Device> PosixDeviceList::List() const {
  std::vector<Device> devices;
  const auto known = [&devices](const std::string& file) {
    return std::any_of(devices.begin(), devices.end(), [&](const Device& device) { return device.leads_to == file; });
  };
  for (const Path& name : NamedDevices()) {
    std::error_code error;
    const Path file = fs::canonical(name, error);
    if (error || known(file.string())) continue;
    devices.push_back({name.string(), file.string(), Describe(file.filename().string())});
  }
  for (const Path& entry : EntriesOf(sys_ / "class" / "tty")) {
    const std::string name = entry.filename().string();
    const bool usb = name.starts_with("ttyUSB") || name.starts_with("ttyACM");
    if (!usb && !(name.starts_with("ttyS") && HasHardware(name))) continue;
    std::error_code error;
    const Path file = fs::canonical(dev_ / name, error);
    if (error || known(file.string())) continue;
    devices.push_back({(dev_ / name).string(), file.string(), Describe(name)});
  }
  return devices;
}

std::vector<Path> PosixDeviceList::NamedDevices() const {
  return EntriesOf(dev_ / "serial" / "by-id");
}

std::string PosixDeviceList::Describe(const std::string& name) const {
  std::error_code error;
  Path at = fs::canonical(sys_ / "class" / "tty" / name / "device", error);
  for (int step = 0; !error && step < kMostSteps && at != at.root_path(); ++step, at = at.parent_path()) {
    const std::string product = Attribute(at / "product");
    const std::string maker = Attribute(at / "manufacturer");
    if (!product.empty() || !maker.empty()) return Joined(maker, product);
  }
  return name.starts_with("ttyS") ? "built-in serial port" : "USB serial port";
}

/// The kernel makes ttyS0 to ttyS31 whether or not there is a chip; type 0 is none.
bool PosixDeviceList::HasHardware(const std::string& name) const {
  return LeadingNumber(Attribute(sys_ / "class" / "tty" / name / "type")) != 0;
}

}  // namespace kvx::platform
