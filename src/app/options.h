#pragma once

#include <string>
#include <vector>

#include "audio/file_decoder.h"
#include "core/result.h"

namespace kvx::app {

/// What the command line asks for.
struct Options {
  enum class Mode { kWindow, kHeadless, kFileDecoding, kDoctor, kRigSimulator, kVersion, kHelp, kManualPage };
  Mode mode = Mode::kWindow;
  bool demo = false;
  std::string station;      ///< folder; empty: the default
  std::string grab_folder;  ///< write a picture of every window there and end
  audio::FileDecoding decoding;
  std::string rig_kind;  ///< of the rig simulator
  std::string link;      ///< where the rig simulator puts a link to its device
  int speed = 0;         ///< line speed that the rig simulator keeps to, in baud; 0: as fast as it goes
};

/// Reads the arguments (without the program's name). kInvalid names the argument that is wrong.
Result<Options> ParseOptions(const std::vector<std::string>& arguments);

}  // namespace kvx::app
