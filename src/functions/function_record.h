#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace kvx::functions {

inline constexpr std::size_t kKeys = 9;

/// What is stored for one rig on one frequency: a row of table `rigfn`.
struct FunctionRecord {
  std::int64_t place = 0;  ///< of the row in its table; 0: none yet
  std::string rig;
  std::string freq;  ///< exactly as displayed, "14025.00"
  std::string mode;
  std::array<std::optional<std::string>, kKeys>
      texts;                          ///< of the function-key boxes; nothing: the box is left as it is
  std::array<bool, kKeys> presses{};  ///< keys that are pressed on arrival
  std::string scan;                   ///< "Y" or "y": takes part in a scan
  std::string description;

  bool operator==(const FunctionRecord&) const = default;
};

}  // namespace kvx::functions
