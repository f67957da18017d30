#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::accessories {

/// The command by which a rotator controller goes to a bearing, as the operator would type it into CommString.
struct RotatorPreset {
  const char* name;       ///< "GS-232"
  const char* command;    ///< with <BEARING>; <CR>, <LF> and <0x57> are control characters
  int speed;              ///< baud as the controller is delivered; 0: it hangs on the network
  const char* made_from;  ///< the document
};
const std::vector<RotatorPreset>& RotatorPresets();
/// By name, any case; null when there is none.
const RotatorPreset* FindRotatorPreset(std::string_view name);

/// Fills the template: the first "<BEARING>" becomes the bearing, cut before its point and padded to three digits; a
/// template without one stays as it is. For controllers that count from 360: "<BEARING+360>", three digits, and for
/// those that do so in half degrees "<BEARING*2+720>", four.
std::string FormatIt(std::string_view command, std::string_view bearing);
/// The bytes of a filled template.
std::string RotatorBytes(std::string_view filled);

}  // namespace kvx::accessories
