#include "app/options.h"

#include "config/station_settings.h"
#include "core/text.h"

namespace kvx::app {
namespace {

/// Reads the arguments one after the other.
class ArgumentReader {
 public:
  explicit ArgumentReader(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  Result<Options> Read() {
    for (; at_ < arguments_.size() && !only_tells(); ++at_) {
      const Status status = TakeOption(arguments_[at_]);
      if (!status) return status.error();
    }
    if (options_.mode == Options::Mode::kFileDecoding) {
      auto decoding = audio::ParseFileDecoding(decoding_);
      if (!decoding) return decoding.error();
      options_.decoding = *decoding;
    }
    return options_;
  }

 private:
  /// Whether the program only prints something: the rest of the arguments does not matter then.
  bool only_tells() const {
    using Mode = Options::Mode;
    return options_.mode == Mode::kHelp || options_.mode == Mode::kVersion || options_.mode == Mode::kManualPage;
  }

  Status TakeOption(const std::string& argument) {
    if (argument == "--help" || argument == "-h") return SetMode(Options::Mode::kHelp);
    if (argument == "--version") return SetMode(Options::Mode::kVersion);
    if (argument == "--man") return SetMode(Options::Mode::kManualPage);
    if (argument == "--headless") return SetMode(Options::Mode::kHeadless);
    if (argument == "--station") return TakeValue(options_.station);
    if (argument == "--grab") return TakeValue(options_.grab_folder);
    if (argument == "--demo") {
      options_.demo = true;
      return Ok();
    }
    if (options_.mode == Options::Mode::kWindow && argument == "doctor") return SetMode(Options::Mode::kDoctor);
    if (options_.mode == Options::Mode::kHeadless && argument == "decode") return SetMode(Options::Mode::kFileDecoding);
    if (options_.mode == Options::Mode::kFileDecoding) {
      decoding_.push_back(argument);
      return Ok();
    }
    if (argument == "rigsim" && at_ == 0) {
      options_.mode = Options::Mode::kRigSimulator;
      return TakeValue(options_.rig_kind);
    }
    const bool simulator = options_.mode == Options::Mode::kRigSimulator;
    if (simulator && argument == "--link") return TakeValue(options_.link);
    if (simulator && argument == "--speed") return TakeSpeed();
    return Error{ErrorCode::kInvalid, "unknown argument " + OneLine(argument, 80)};
  }

  Status SetMode(Options::Mode mode) {
    options_.mode = mode;
    return Ok();
  }

  Status TakeValue(std::string& value) {
    const std::string& option = arguments_[at_];
    value = at_ + 1 < arguments_.size() ? arguments_[++at_] : std::string();
    if (value.empty()) return Error{ErrorCode::kInvalid, option + " needs a value"};
    return Ok();
  }

  Status TakeSpeed() {
    std::string speed;
    Status status = TakeValue(speed);
    if (!status) return status;
    using config::kFastestLine, config::kSlowestLine;
    const auto baud = ParseNumber(speed, kSlowestLine, kFastestLine);
    if (!baud)
      return Error{ErrorCode::kInvalid, "--speed takes " + std::to_string(kSlowestLine) + " to " +
                                            std::to_string(kFastestLine) + " baud, not " + OneLine(speed, 40)};
    options_.speed = static_cast<int>(*baud);
    return Ok();
  }

  const std::vector<std::string>& arguments_;
  std::size_t at_ = 0;
  Options options_;
  std::vector<std::string> decoding_;  ///< what stands behind "decode"
};

}  // namespace

Result<Options> ParseOptions(const std::vector<std::string>& arguments) {
  return ArgumentReader(arguments).Read();
}

}  // namespace kvx::app
