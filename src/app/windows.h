#pragma once

#include <string>

#include "app/program.h"
#include "console/console_window.h"
#include "widgets/appearance.h"

namespace kvx::app {

/// Tells the console window which other windows there are.
void AddWindows(console::ConsoleWindow& console, Program& program, widgets::Appearance& appearance);
/// Writes a picture of every window to a folder, and of the console in every theme. 0, or 1 after a line about what
/// cannot be written.
int GrabWindows(console::ConsoleWindow& console, console::Station& station, const std::string& folder);

}  // namespace kvx::app
