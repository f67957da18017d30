#pragma once

#include <string>
#include <vector>

#include "config/settings.h"

namespace kvx::config {

/// What is wrong with the numbers of rig.ini, one sentence each: "rig.ini: RIGSPEED=7 is no whole number from 300 to
/// 4000000". An empty value is none. Of very many only the first are told.
std::vector<std::string> SettingFaults(const Settings& settings);

}  // namespace kvx::config
