#include "cat/pegasus.h"

#include <algorithm>
#include <array>

#include "cat/convert.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::int64_t kCwPitch = 700;      // Hz
constexpr std::int64_t kTransmitIf = 1500;  // Hz

enum class Kind { kUpper, kLower, kCw, kCarrier };

/// Filter widths in Hz as the row's mode commands set them.
struct ModeRow {
  std::string_view caption;
  Kind kind;
  std::int64_t receive_width;
  std::int64_t narrow_width;
  std::int64_t transmit_width;
};
constexpr std::array kModes{
    ModeRow{"USB", Kind::kUpper, 2400, 2400, 2400}, ModeRow{"LSB", Kind::kLower, 2400, 2400, 2400},
    ModeRow{"CW", Kind::kCw, 1050, 525, 0},         ModeRow{"AM", Kind::kCarrier, 6000, 6000, 0},
    ModeRow{"FM", Kind::kCarrier, 8000, 8000, 0},
};

/// The centre of the filter and the intermediate BFO, both in Hz.
struct Tuning {
  std::int64_t centre;
  std::int64_t bfo;
};

Tuning Receive(std::int64_t hz, Kind kind, std::int64_t width) {
  const std::int64_t side = width / 2 + 200;
  switch (kind) {
    case Kind::kUpper:
      return {hz + side, side};
    case Kind::kLower:
      return {hz - side, side};
    case Kind::kCw: {
      // CW is received as lower sideband; a wide filter is moved so that its lower edge stays 300 Hz above zero beat.
      const std::int64_t middle = width / 2 + 300;
      return middle > kCwPitch ? Tuning{hz + kCwPitch - middle, middle} : Tuning{hz, kCwPitch};
    }
    case Kind::kCarrier:
      break;
  }
  return {hz, 0};
}

Tuning Transmit(std::int64_t hz, Kind kind, std::int64_t width) {
  const std::int64_t side = std::max(kTransmitIf, width / 2 + 200);
  switch (kind) {
    case Kind::kUpper:
      return {hz + side, side};
    case Kind::kLower:
      return {hz - side, side};
    case Kind::kCw:
      return {hz + kCwPitch - kTransmitIf, kCwPitch};
    case Kind::kCarrier:
      break;
  }
  return {hz, 0};
}

// N cc ff bb CR (receiver), T cc ff bb CR (transmitter): coarse, fine and BFO factor, two bytes each, high byte first
std::string Command(char letter, const Tuning& tuning, std::int64_t bfo_offset) {
  const std::int64_t adjusted = tuning.centre - 1250;
  const auto word = [](std::int64_t value) {
    return GetByteArrayFromDec(static_cast<std::uint64_t>(value) & 0xFFFF, 2);
  };
  return letter + word(adjusted / 2500 + 18000) + word(adjusted % 2500 * 546 / 100) +
         word((tuning.bfo + bfo_offset) * 273 / 100) + '\r';
}

}  // namespace

bool IsPegasus(const config::RigDefinition& rig) {
  return EqualNoCase(rig.name, "PEGASUS");
}

Result<std::string> PegasusTuning(Frequency frequency, std::string_view mode, bool narrow) {
  const auto* row = std::find_if(kModes.begin(), kModes.end(),
                                 [&](const ModeRow& r) { return mode.find(r.caption) != std::string_view::npos; });
  if (row == kModes.end()) return Error{ErrorCode::kInvalid, "The Pegasus has no mode " + std::string(Trim(mode))};
  const std::int64_t hz = frequency.hz();
  if (hz < 100'000 || hz > 30'000'000) {
    return Error{ErrorCode::kInvalid, "The frequency " + KhzText(frequency) + " is outside the range of the Pegasus"};
  }
  const Tuning receive = Receive(hz, row->kind, narrow ? row->narrow_width : row->receive_width);
  return Command('N', receive, 8000) + Command('T', Transmit(hz, row->kind, row->transmit_width), 0);
}

}  // namespace kvx::cat
