#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "config/settings.h"

namespace kvx::config {

/// What is wrong with the values of rig.ini, one sentence each: "rig.ini: RIGSPEED=7 is no whole number from 300 to
/// 4000000". An empty value is none. Of very many only the first are told.
std::vector<std::string> SettingFaults(const Settings& settings);
/// Whether the number of that key can be used, or has none to be used.
bool CanBeUsed(const Settings& settings, std::string_view key);

}  // namespace kvx::config
