#pragma once

#include "console/command_line.h"
#include "platform/files.h"

namespace kvx::console {

/// Adds the commands of the rig definition editor, `rigdef ...` and `preview ...`. Each writes at once; a window's
/// working copy is not touched. All are borrowed and outlive the command line.
void AddRigEditorCommands(CommandLine& commands, Station& station, platform::Files& files);

}  // namespace kvx::console
