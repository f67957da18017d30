#pragma once

#include <functional>
#include <string>

#include "app/program.h"
#include "console/console_window.h"
#include "widgets/appearance.h"

namespace kvx::app {

/// Tells the console window which other windows there are.
void AddWindows(console::ConsoleWindow& console, Program& program, widgets::Appearance& appearance);
/// Writes a picture of every window to a folder, and of the console in every theme, and keys.txt, the list of their
/// keys. 0, or 1 after a line about what cannot be written.
int GrabWindows(console::ConsoleWindow& console, console::Station& station, const std::string& folder);
/// One more, of the audio window while it reads CW: what the simulated receiver hears takes a while to be read. `done`
/// with the exit code, at once where there is no simulated receiver.
void GrabDecoding(console::ConsoleWindow& console, console::Station& station, const std::string& folder,
                  const std::function<void(int code)>& done);

}  // namespace kvx::app
