#pragma once

#include <map>
#include <string>
#include <string_view>

#include "config/rig_definition.h"
#include "core/console.h"

namespace kvx::console {

/// What a command would put on the rig's line at this moment.
struct CommandPreview {
  std::string bytes;  ///< empty: nothing would be sent
  std::string text;   ///< the bytes as they are shown
  std::string fault;  ///< one sentence: why nothing, or not all of it, can be made; empty when all is well
};

/// The bytes that the dispatcher would write for a logical key or a literal command of this rig, with the values that
/// `console` shows now and the values of the mode buttons. Neither the console nor the real rig port is touched.
CommandPreview PreviewCommand(const Console& console, const std::map<std::string, std::string>& button_values,
                              const config::RigDefinition& rig, std::string_view key_or_command);

/// Bytes as they are shown: spaced pairs for a binary rig; else text, with what is no plain character as <CR>, <0x07>.
std::string ShownBytes(std::string_view bytes, bool binary);

}  // namespace kvx::console
