#pragma once

#include <QColor>
#include <QString>

namespace kvx::console {

/// The colours of the windows. One accent always means "chosen or on"; red only limits and danger.
struct Theme {
  QColor background, panel, edge;
  QColor ink, quiet_ink;
  QColor accent, accent_ink;
  QColor screen, digits, leading_zeros;
  QColor button, red, green, blue;
};

Theme DarkTheme();
/// The one style sheet of every window.
QString StyleSheet(const Theme& theme);

}  // namespace kvx::console
