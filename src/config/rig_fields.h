#pragma once

#include <array>
#include <span>
#include <string_view>

namespace kvx::config {

/// The groups in which the fields of a rig definition are edited.
enum class RigFieldGroup {
  kRig,
  kFrequency,
  kModes,
  kLevels,
  kFunctionKeys,
  kRit,
  kMeters,
  kButtons,
  kPolling,
  kNotes,
};
inline constexpr std::array<std::string_view, 10> kRigFieldGroups{
    "Rig",     "Frequency & VFO", "Modes",   "Sliders",        "Functions 1-9",
    "RIT/XIT", "Meters & AGC",    "Buttons", "Polling & init", "Notes"};

/// What the program does with a field.
enum class RigFieldUse {
  kText,     ///< a name or a caption: nothing is sent
  kFlag,     ///< Yes or No
  kCommand,  ///< a template that goes to the rig
};

/// One field of a rig definition as it is edited.
struct RigField {
  std::string_view name;  ///< in table `RigSetup`
  std::string_view label;
  std::string_view hint;
  RigFieldGroup group;
  RigFieldUse use = RigFieldUse::kText;
  std::string_view key;  ///< the logical key under which it is sent; empty: none
};

/// Every field, those of a group together and in the order of the groups.
std::span<const RigField> RigFields();
/// The field of that name in any case, or null.
const RigField* FindRigField(std::string_view name);

}  // namespace kvx::config
