#include "app/options.h"

#include "core/text.h"
#include "sim/simulated_device.h"

namespace kvx::app {
namespace {

/// Takes the value of an option that needs one; empty when there is none.
std::string TakeValue(const std::vector<std::string>& arguments, std::size_t& at) {
  return at + 1 < arguments.size() ? arguments[++at] : std::string();
}

}  // namespace

Result<Options> ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto value_for = [&](std::string& value) -> Status {
      value = TakeValue(arguments, i);
      if (value.empty()) return Error{ErrorCode::kInvalid, argument + " needs a value"};
      return Ok();
    };
    std::string speed;
    Status status = Ok();
    if (argument == "--help" || argument == "-h") {
      options.mode = Options::Mode::kHelp;
      return options;
    } else if (argument == "--version") {
      options.mode = Options::Mode::kVersion;
      return options;
    } else if (argument == "--headless") {
      options.mode = Options::Mode::kHeadless;
    } else if (argument == "--demo") {
      options.demo = true;
    } else if (argument == "--station") {
      status = value_for(options.station);
    } else if (argument == "--grab") {
      status = value_for(options.grab_folder);
    } else if (argument == "rigsim" && i == 0) {
      options.mode = Options::Mode::kRigSimulator;
      status = value_for(options.rig_kind);
    } else if (argument == "--link" && options.mode == Options::Mode::kRigSimulator) {
      status = value_for(options.link);
    } else if (argument == "--speed" && options.mode == Options::Mode::kRigSimulator) {
      status = value_for(speed);
      const auto baud = ParseNumber(speed, 300, 921'600);
      if (status && !baud) status = Error{ErrorCode::kInvalid, "--speed takes 300 to 921600 baud, not " + OneLine(speed, 40)};
      if (baud) options.speed = static_cast<int>(*baud);
    } else {
      return Error{ErrorCode::kInvalid, "unknown argument " + OneLine(argument, 80)};
    }
    if (!status) return status.error();
  }
  return options;
}

std::string HelpText() {
  std::string kinds;
  for (const std::string& name : sim::DeviceNames()) kinds += (kinds.empty() ? "" : ", ") + name;
  return "KVX, a console for an amateur-radio station\n"
         "\n"
         "  kvx                    the console window\n"
         "  kvx --demo             the same on the simulated station\n"
         "  kvx --headless         no window: commands on standard input (\"help\" lists them), events on standard output\n"
         "  kvx --station DIR      another station folder (default: $XDG_DATA_HOME/kvx)\n"
         "  kvx --grab DIR         write a picture of every window to DIR and end\n"
         "  kvx rigsim KIND [--link PATH] [--speed BAUD]\n"
         "                         one simulated rig on a pseudo-terminal whose path it prints; its front panel is standard input\n"
         "                         (KIND: " + kinds + ")\n"
         "  kvx --version, --help\n";
}

}  // namespace kvx::app
