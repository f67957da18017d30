#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "app/doctor.h"
#include "app/file_decoding.h"
#include "app/headless.h"
#include "app/manual_page.h"
#include "app/options.h"
#include "app/rig_simulator.h"
#include "app/usage.h"
#include "app/windows_program.h"

namespace {

bool HasDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

/// One of them that is closed would be the number of the next device or socket that is opened.
void OpenStandardDescriptors() {
  int null = 0;
  while (null >= 0 && null <= STDERR_FILENO) null = ::open("/dev/null", O_RDWR);
  if (null > STDERR_FILENO) ::close(null);
}

}  // namespace

int main(int argc, char** argv) {
  OpenStandardDescriptors();
  using kvx::app::Options;
  const auto options = kvx::app::ParseOptions({argv + 1, argv + argc});
  if (!options) {
    std::cerr << "kvx: " << options.error().message << "; kvx --help tells more\n";
    return 1;
  }
  switch (options->mode) {
    case Options::Mode::kHelp:
      std::cout << kvx::app::HelpText();
      return 0;
    case Options::Mode::kManualPage:
      return kvx::app::PrintManualPage(argc, argv);
    case Options::Mode::kVersion:
      std::cout << "kvx " KVX_VERSION "\n";
      return 0;
    case Options::Mode::kRigSimulator:
      return kvx::app::RunRigSimulator(argc, argv, *options);
    case Options::Mode::kHeadless:
      return kvx::app::RunHeadless(argc, argv, *options);
    case Options::Mode::kFileDecoding:
      return kvx::app::RunFileDecoding(argc, argv, *options);
    case Options::Mode::kDoctor:
      return kvx::app::RunDoctor(argc, argv, *options);
    case Options::Mode::kWindow:
      break;
  }
  if (!HasDisplay()) {
    if (!options->grab_folder.empty()) {
      setenv("QT_QPA_PLATFORM", "offscreen", 0);
    } else {
      std::cerr << "kvx: there is no display; running headless\n";
      return kvx::app::RunHeadless(argc, argv, *options);
    }
  }
  return kvx::app::RunWindowsProgram(argv);
}
