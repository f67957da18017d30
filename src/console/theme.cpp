#include "console/theme.h"

namespace kvx::console {

Theme DarkTheme() {
  return {.background = "#16191d",
          .panel = "#1f242a",
          .edge = "#2d343c",
          .ink = "#e6e9ec",
          .quiet_ink = "#8b96a1",
          .accent = "#ffb347",
          .accent_ink = "#1b1500",
          .screen = "#0d1114",
          .digits = "#ffd08a",
          .leading_zeros = "#4a3a1c",
          .button = "#2a3139",
          .red = "#ff5d5d",
          .green = "#54d18c",
          .blue = "#5aa9ff"};
}

QString StyleSheet(const Theme& theme) {
  return QString(R"(
    QMainWindow, QWidget#center { background: %1; }
    QWidget { color: %4; }
    QFrame[role="panel"] { background: %2; border: 1px solid %3; border-radius: 8px; }
    QFrame[role="screen"] { background: %6; border: 1px solid %3; border-radius: 8px; }
    QFrame QLabel { border: none; }
    QLabel[role="quiet"] { color: %5; }
    QLabel[role="message"] { color: %7; }
    QLabel[role="chip"] { border: 1px solid %3; border-radius: 4px; padding: 3px 10px; }
    QLabel[role="chip-on"] { background: %7; color: %8; border-radius: 4px; padding: 4px 11px; }
    QPushButton { background: %9; border: 1px solid %3; border-radius: 6px; padding: 6px 14px; }
    QPushButton:focus { border: 2px solid %7; }
  )")
      .arg(theme.background.name(), theme.panel.name(), theme.edge.name(), theme.ink.name(), theme.quiet_ink.name(),
           theme.screen.name(), theme.accent.name(), theme.accent_ink.name(), theme.button.name());
}

}  // namespace kvx::console
