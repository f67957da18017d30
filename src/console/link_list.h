#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/station.h"

namespace kvx::console {

/// One link to other programs: its name in the command `link`, its state in one line, and what has gone over it.
struct LinkLine {
  std::string_view name;
  std::string state;
  const links::LinkActivity* activity;
};

/// Those that this program has.
std::vector<LinkLine> LinkLines(const Station& station);

}  // namespace kvx::console
