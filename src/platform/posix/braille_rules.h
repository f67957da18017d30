#pragma once

#include <string>
#include <vector>

#include "platform/files.h"

namespace kvx::platform {

/// What a USB device tells of itself.
struct UsbTexts {
  std::string numbers;  ///< "1a86:7523"
  std::string manufacturer;
  std::string product;
};

// ENV{PRODUCT}=="403/6001/*", ATTRS{manufacturer}=="...", ENV{BRLTTY_BRAILLE_DRIVER}="...", GOTO="brltty_usb_run"

/// One line of the device manager's rules by which the Braille service is started for a USB device.
struct BrailleRule {
  std::string numbers;       ///< "403/6001", without leading zeros
  std::string manufacturer;  ///< patterns; empty: any
  std::string product;

  bool Takes(const UsbTexts& device) const;
};

/// The rules that are in force, of a system whose folders are below `root`: a file in /etc comes instead of the one of
/// its name in /usr/lib.
std::vector<BrailleRule> ReadBrailleRules(const Path& root);

}  // namespace kvx::platform
