#include "console/link_list.h"

namespace kvx::console {

std::vector<LinkLine> LinkLines(const Station& station) {
  std::vector<LinkLine> lines;
  const auto add = [&lines](std::string_view name, const auto& link) {
    lines.push_back({name, link.state(), &link.activity()});
  };
  if (station.loggers) {
    add("logger", station.loggers->logger);
    add("keyer", station.loggers->winkey);
  }
  if (station.dde) add("dde", *station.dde);
  if (station.net) add("net", *station.net);
  return lines;
}

}  // namespace kvx::console
