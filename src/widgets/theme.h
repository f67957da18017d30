#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <cstdint>

namespace kvx::widgets {

/// The colours of the windows. One accent always means "chosen or on"; red only limits and danger.
struct Theme {
  QString name;
  QColor background, panel, edge;
  QColor ink, quiet_ink;
  QColor accent, accent_ink;             ///< chosen or on, and the text on it
  QColor screen, digits, leading_zeros;  ///< of the frequency screen and of every value box
  QColor button, red, green, blue;
  QColor amber;        ///< the fourth colour of charts; the accent where that is one
  QColor focus;        ///< the ring around what the keyboard acts on
  int edge_width = 1;  ///< pixels
  bool dark = true;

  bool operator==(const Theme&) const = default;
};

/// The colours that the settings file keeps for the console's body and its frequency screen, as 0xBBGGRR numbers. Only
/// the classic theme shows them as they are.
struct StoredColors {
  std::int64_t body = 12632256;
  std::int64_t screen = 8421504;
};

/// "dark", "light", "contrast", "classic".
const QStringList& ThemeNames();
/// The theme of that name, any case; the dark one for another name.
Theme MakeTheme(const QString& name, const StoredColors& stored = {});
/// A stored colour; what is no colour gives `fallback`.
QColor ColorOfStored(std::int64_t stored, const QColor& fallback);
std::int64_t StoredOfColor(const QColor& color);
/// So much of `to` mixed into `from`, a share from 0 to 1.
QColor Mixed(const QColor& from, const QColor& to, double share);
/// As much of the ink mixed into the ground as quiet text needs to be read.
QColor QuietInkOn(const QColor& ground, const QColor& ink);
/// What a slider's knob moves along, as it is seen on a panel.
QColor Groove(const Theme& theme);
/// WCAG contrast of two opaque colours, 1 to 21.
double Contrast(const QColor& first, const QColor& second);

/// The one style sheet of every window. Roles that a widget may have (`setProperty("role", ...)`): frames "panel" and
/// "screen"; labels "title", "quiet", "caption" (small capitals above a group), "message", "error", "chip", "light",
/// "light-on"; buttons "chip" (small, on the screen), "small", "flat", "danger".
QString StyleSheet(const Theme& theme);

}  // namespace kvx::widgets
