#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/settings.h"

namespace kvx::accessories {

/// The fields of the antenna window, the port setup window and the direct port window, as texts.
enum class AntennaField {
  kRport,       ///< port number of the rotator, "0": none
  kRspeed,      ///< baud
  kRstart,      ///< kept
  kRstop,       ///< stop bits
  kUseRig,      ///< "True": the rotator hangs on the rig's line
  kCommString,  ///< the rotator's command, with <BEARING>
  kAnt1From,    ///< the four From fields follow each other
  kAnt2From,
  kAnt3From,
  kAnt4From,
  kAnt1To,  ///< and the four To fields
  kAnt2To,
  kAnt3To,
  kAnt4To,
  kMSec,         ///< length of a pulse in microseconds, 0: the lines are latched
  kPPort,        ///< parallel port, "1" or "2"
  kDirectText,   ///< captions of the direct port window
  kDirectText1,  //
  kDirectInvert,
  kDirectPort,  ///< parallel port of the direct port window, "1" or "2"
  kLocator,     ///< the operator's own Maidenhead locator
  kAntLock,     ///< "True": no antenna is switched while the console transmits
};
inline constexpr std::size_t kAntennaFields = 22;
inline constexpr int kAntennas = 4;

/// The field of an antenna, 1 to 4.
constexpr AntennaField FromField(int antenna) {
  return static_cast<AntennaField>(static_cast<int>(AntennaField::kAnt1From) + antenna - 1);
}
constexpr AntennaField ToField(int antenna) {
  return static_cast<AntennaField>(static_cast<int>(AntennaField::kAnt1To) + antenna - 1);
}

enum class FieldKind { kText, kFlag, kParallelPort };

struct AntennaFieldRow {
  const char* name;   ///< what the operator calls it
  const char* key;    ///< in rig.ini, with its "="; of a parallel port the two keys are this one with 1 and 2
  const char* label;  ///< of the announcement, before the new text
  const char* start;  ///< when rig.ini has none
  FieldKind kind = FieldKind::kText;
};

const AntennaFieldRow& RowOf(AntennaField field);
/// By its name, any case.
std::optional<AntennaField> FindAntennaField(std::string_view name);

/// The values of all fields.
using AntennaFields = std::array<std::string, kAntennaFields>;
AntennaFields ReadAntennaFields(const config::Settings& settings);
/// The lines of rig.ini that hold them.
std::vector<config::SettingChange> AntennaChanges(const AntennaFields& fields);

/// The text as the field takes it ("on" becomes "True"), or nothing when it cannot hold it.
std::optional<std::string> FieldText(AntennaField field, std::string_view text);

}  // namespace kvx::accessories
