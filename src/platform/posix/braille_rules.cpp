#include "platform/posix/braille_rules.h"

#include <fnmatch.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "core/text.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLines = 5000;

/// What stands in quotes behind `key`; empty when the line has no such key.
std::string ValueOf(const std::string& line, const std::string& key) {
  const std::size_t at = line.find(key + "==\"");
  if (at == std::string::npos) return "";
  const std::size_t begin = at + key.size() + 3;
  return line.substr(begin, line.find('"', begin) - begin);
}

std::string WithoutZeros(const std::string& digits) {
  const std::size_t first = digits.find_first_not_of('0');
  return first == std::string::npos ? "0" : digits.substr(first);
}

/// "403/6001" of "403/6001/*", or of the two attributes by which older files name the device.
std::string NumbersIn(const std::string& line) {
  const std::vector<std::string> product = Split(Lower(ValueOf(line, "ENV{PRODUCT}")), '/');
  if (product.size() >= 2) return WithoutZeros(product[0]) + "/" + WithoutZeros(product[1]);
  const std::string vendor = Lower(ValueOf(line, "ATTRS{idVendor}"));
  const std::string number = Lower(ValueOf(line, "ATTRS{idProduct}"));
  return vendor.empty() || number.empty() ? "" : WithoutZeros(vendor) + "/" + WithoutZeros(number);
}

void TakeRules(const Path& file, std::vector<BrailleRule>& rules) {
  std::ifstream stream(file);
  std::size_t count = 0;
  for (std::string line; ++count <= kMostLines && std::getline(stream, line);) {
    const std::string_view text = Trim(line);
    if (text.empty() || text.front() == '#') continue;
    if (std::string numbers = NumbersIn(line); !numbers.empty())
      rules.push_back({std::move(numbers), ValueOf(line, "ATTRS{manufacturer}"), ValueOf(line, "ATTRS{product}")});
  }
}

bool Fits(const std::string& pattern, const std::string& text) {
  return pattern.empty() || ::fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

}  // namespace

bool BrailleRule::Takes(const UsbTexts& device) const {
  const std::vector<std::string> own = Split(device.numbers, ':');
  return own.size() == 2 && WithoutZeros(own[0]) + "/" + WithoutZeros(own[1]) == numbers &&
         Fits(manufacturer, device.manufacturer) && Fits(product, device.product);
}

std::vector<BrailleRule> ReadBrailleRules(const Path& root) {
  std::map<std::string, Path> files;  // by name: the folders that come first have the last word
  for (const char* folder : {"etc/udev/rules.d", "run/udev/rules.d", "usr/lib/udev/rules.d", "lib/udev/rules.d"}) {
    std::error_code error;
    for (fs::directory_iterator it(root / folder, error), end; !error && it != end; it.increment(error)) {
      const std::string name = it->path().filename().string();
      if (name.find("brltty") != std::string::npos && name.ends_with(".rules")) files.emplace(name, it->path());
    }
  }
  std::vector<BrailleRule> rules;
  for (const auto& [name, file] : files) TakeRules(file, rules);
  return rules;
}

}  // namespace kvx::platform
