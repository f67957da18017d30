#pragma once

#include <QString>

#include "console/station.h"
#include "widgets/theme.h"

namespace kvx::console {

/// "WinKeyer ready", "COM 3 failed", "No keyer".
QString KeyerState(const Station& station);
/// The same behind a lamp, as rich text: it is told by its colour and by its words.
QString KeyerLamp(const Station& station, const widgets::Theme& theme);

}  // namespace kvx::console
