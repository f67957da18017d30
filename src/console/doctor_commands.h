#pragma once

#include "console/command_line.h"
#include "console/doctor.h"

namespace kvx::console {

/// Adds the headless command that examines the station: doctor. `doctor` outlives the command line.
void AddDoctorCommands(CommandLine& commands, Doctor& doctor);

}  // namespace kvx::console
