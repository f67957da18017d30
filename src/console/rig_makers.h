#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::console {

/// The maker of a rig, known by how the maker's models are named; "Other" for a name that nobody's models have.
std::string_view MakerOf(std::string_view rig);

/// The rigs of one maker.
struct RigGroup {
  std::string maker;
  std::vector<std::string> rigs;
  bool operator==(const RigGroup&) const = default;
};

/// The rigs by maker, makers and rigs in alphabetical order, "Other" last. With a filter only those in whose maker or
/// name every word of it occurs; blanks, hyphens and case do not matter ("ts2000", "icom 73").
std::vector<RigGroup> GroupRigs(const std::vector<std::string>& names, std::string_view filter = {});

}  // namespace kvx::console
