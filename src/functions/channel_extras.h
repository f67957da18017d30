#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::functions {

/// A column of a memory program's CSV for which a channel has no place of its own: shifts, tones, calls.
struct ChannelExtra {
  std::string name;
  std::string value;
  bool operator==(const ChannelExtra&) const = default;
};
using ChannelExtras = std::vector<ChannelExtra>;

struct ExtraColumn {
  std::string_view name;
  std::string_view none;   ///< what stands in it when it means nothing
  std::string_view needs;  ///< the column without which it means nothing
  bool always;             ///< written even if no channel has a value for it
};
/// In the order in which they are written; "Mode" is one of them where it is none of this station's.
const std::vector<ExtraColumn>& ExtraColumns();

/// The comment with what it has to keep behind it: "daily [Duplex=+; Offset=0.600000]".
std::string WithExtras(std::string comment, const ChannelExtras& extras);
/// Takes them off the comment's end again. Brackets that hold anything else are the operator's.
ChannelExtras TakeExtras(std::string& comment);
/// Takes "VFO=A" off it, as a file keeps it: the VFO, 0 when there is none.
char TakeVfo(std::string& comment);

}  // namespace kvx::functions
