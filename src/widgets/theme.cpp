#include "widgets/theme.h"

#include <array>
#include <cmath>

#include "core/appearance_limits.h"
#include "widgets/qt_text.h"

#include "core/appearance_limits.h"
#include "widgets/qt_text.h"

namespace kvx::widgets {
namespace {

Theme Dark() {
  return {.name = "dark",
          .background = "#16191d",
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
          .blue = "#5aa9ff",
          .amber = "#ffb347",
          .focus = "#5aa9ff"};
}

Theme Light() {
  return {.name = "light",
          .background = "#eceff2",
          .panel = "#ffffff",
          .edge = "#cfd6dd",
          .ink = "#1c2329",
          .quiet_ink = "#5d6a76",
          .accent = "#b35c00",
          .accent_ink = "#ffffff",
          .screen = "#f7f4ec",
          .digits = "#3a2600",
          .leading_zeros = "#d8cdb8",
          .button = "#e4e9ee",
          .red = "#c62828",
          .green = "#1b7f47",
          .blue = "#1463b8",
          .amber = "#b35c00",
          .focus = "#1463b8",
          .dark = false};
}

Theme HighContrast() {
  return {.name = "contrast",
          .background = "#000000",
          .panel = "#000000",
          .edge = "#ffffff",
          .ink = "#ffffff",
          .quiet_ink = "#ffffff",
          .accent = "#ffff00",
          .accent_ink = "#000000",
          .screen = "#000000",
          .digits = "#ffff00",
          .leading_zeros = "#7a7a00",
          .button = "#000000",
          .red = "#ff8080",
          .green = "#80ff80",
          .blue = "#80c8ff",
          .amber = "#ffff00",
          .focus = "#00ffff",
          .edge_width = 2};
}

/// Black or white, whichever reads better on it.
QColor InkOn(const QColor& ground) {
  const QColor black("#000000");
  const QColor white("#ffffff");
  return Contrast(ground, black) >= Contrast(ground, white) ? black : white;
}

constexpr double kReadable = 4.5;  // the least contrast of text

/// The color, brought as near to the ink as text in it needs to be read.
QColor ReadableOn(const QColor& ground, const QColor& ink, const QColor& color) {
  for (double share = 0; share < 1; share += 0.05) {
    const QColor mixed = Mixed(color, ink, share);
    if (Contrast(ground, mixed) >= kReadable) return mixed;
  }
  return ink;
}

/// White buttons on a light body; on a dark one a shade that white text can be read on.
QColor ClassicButton(const QColor& body, const QColor& ink) {
  if (ink != QColor("#ffffff")) return "#ffffff";
  const QColor lighter = Mixed(body, ink, 0.15);
  return Contrast(lighter, ink) >= kReadable ? lighter : Mixed(body, "#000000", 0.25);
}

/// The stored grey body and screen; white buttons, red ones for what is chosen.
Theme Classic(const StoredColors& stored) {
  const QColor body = ColorOfStored(stored.body, "#c0c0c0");
  const QColor screen = ColorOfStored(stored.screen, "#808080");
  const QColor ink = InkOn(body);
  const QColor digits = InkOn(screen);
  const bool dark = ink == QColor("#ffffff");
  const auto readable = [&](const char* on_dark, const char* on_light) {
    return ReadableOn(body, ink, dark ? on_dark : on_light);
  };
  const QColor blue = readable("#90c0ff", "#003a80");
  return {.name = "classic",
          .background = body,
          .panel = body,
          .edge = Mixed(body, ink, 0.4),
          .ink = ink,
          .quiet_ink = QuietInkOn(body, ink),
          .accent = "#d40000",
          .accent_ink = "#ffffff",
          .screen = screen,
          .digits = digits,
          .leading_zeros = Mixed(screen, digits, 0.3),
          .button = ClassicButton(body, ink),
          .red = readable("#ff9090", "#a00000"),
          .green = readable("#70e0a0", "#004d22"),
          .blue = blue,
          .amber = readable("#ffc060", "#6a4000"),
          .focus = blue,
          .dark = dark};
}

double Luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

}  // namespace

const QStringList& ThemeNames() {
  static const QStringList kNames = [] {
    QStringList names;
    for (const std::string_view name : kThemeNames) names << ToQt(name);
    return names;
  }();
  return kNames;
}

Theme MakeTheme(const QString& name, const StoredColors& stored) {
  const QString lower = name.trimmed().toLower();
  if (lower == "light") return Light();
  if (lower == "contrast") return HighContrast();
  if (lower == "classic") return Classic(stored);
  return Dark();
}

QColor ColorOfStored(std::int64_t stored, const QColor& fallback) {
  if (stored < 0 || stored > 0xFFFFFF) return fallback;
  const auto part = [stored](int shift) { return static_cast<int>((stored >> shift) & 0xFF); };
  return {part(0), part(8), part(16)};
}

std::int64_t StoredOfColor(const QColor& color) {
  return color.red() | color.green() << 8 | color.blue() << 16;
}

QColor Mixed(const QColor& from, const QColor& to, double share) {
  const auto mix = [share](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * share)); };
  return {mix(from.red(), to.red()), mix(from.green(), to.green()), mix(from.blue(), to.blue())};
}

QColor QuietInkOn(const QColor& ground, const QColor& ink) {
  for (double share = 0.6; share < 1; share += 0.05) {
    const QColor mixed = Mixed(ground, ink, share);
    if (Contrast(ground, mixed) >= kReadable) return mixed;
  }
  return ink;
}

QColor Groove(const Theme& theme) {
  return Mixed(theme.panel, theme.quiet_ink, theme.name == "contrast" ? 0.5 : 0.25);
}

double Contrast(const QColor& first, const QColor& second) {
  const double a = Luminance(first);
  const double b = Luminance(second);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

namespace {

/// A triangle that fills its box, for the style sheet, which knows none: the wedge of a conical gradient. Its tip is at
/// the box's lower edge (1) or its upper one (0).
QString Arrow(const QColor& color, int tip) {
  constexpr double kEdge = 0.176;  // of a turn, from the middle of one side to a corner of the opposite one
  constexpr double kSharp = 0.001;
  return QString(
             "qconicalgradient(cx:0.5, cy:%1, angle:%2, stop:0 transparent, stop:%3 transparent, stop:%4 %7, "
             "stop:%5 %7, stop:%6 transparent, stop:1 transparent)")
      .arg(tip)
      .arg(tip == 1 ? 0 : 180)
      .arg(kEdge - kSharp)
      .arg(kEdge + kSharp)
      .arg(0.5 - kEdge - kSharp)
      .arg(0.5 - kEdge + kSharp)
      .arg(color.name());
}

}  // namespace

QString StyleSheet(const Theme& theme) {
  struct Token {
    const char* name;
    QString value;
  };
  const QColor raised = Mixed(theme.button, theme.ink, theme.name == "contrast" ? 0.25 : 0.08);
  const std::array tokens{
      Token{"@downwards", Arrow(theme.digits, 1)},
      Token{"@upwards", Arrow(theme.digits, 0)},
      Token{"@background", theme.background.name()},
      Token{"@panel", theme.panel.name()},
      Token{"@edge", theme.edge.name()},
      Token{"@quiet", theme.quiet_ink.name()},
      Token{"@ink", theme.ink.name()},
      Token{"@faint", Mixed(theme.panel, theme.quiet_ink, 0.55).name()},
      Token{"@accentink", theme.accent_ink.name()},
      Token{"@accent", theme.accent.name()},
      Token{"@screenquiet", (theme.name == "contrast" ? theme.digits : QuietInkOn(theme.screen, theme.digits)).name()},
      Token{"@screen", theme.screen.name()},
      Token{"@digits", theme.digits.name()},
      Token{"@button", theme.button.name()},
      Token{"@raised", raised.name()},
      Token{"@groove", Groove(theme).name()},
      Token{"@red", theme.red.name()},
      Token{"@border", QString::number(theme.edge_width) + "px solid " + theme.edge.name()},
      Token{"@focus", "2px solid " + theme.focus.name()},
  };
  QString sheet = R"(
    QMainWindow, QDialog, QWidget#center, QMenuBar, QScrollArea, QScrollArea > QWidget > QWidget#page { background: @background; }
    QWidget { color: @ink; }
    QFrame[role="panel"] { background: @panel; border: @border; border-radius: 8px; }
    QFrame[role="screen"] QWidget[role="quiet"] { color: @screenquiet; }
    QFrame[role="screen"] { background: @screen; border: @border; border-radius: 8px; }
    QLabel { border: none; background: transparent; }
    QLabel:focus { border: @focus; border-radius: 4px; }
    QWidget[role="quiet"] { color: @quiet; }
    QLabel[role="caption"] { color: @quiet; font-weight: 600; }
    QLabel[role="title"] { font-weight: 600; }
    QLabel[role="error"] { color: @red; }
    QLabel[role="light"] { color: @quiet; }
    QLabel[role="light-on"] { color: @accent; }
    QLabel[role="chip"] { color: @digits; border: @border; border-radius: 4px; padding: 2px 8px; }
    QLabel[role="chip-on"] { background: @accent; color: @accentink; border: 1px solid @accent; border-radius: 4px; padding: 2px 8px; }
    QLabel[role="chip-danger"] { background: @red; color: @background; border: 1px solid @red; border-radius: 4px; padding: 2px 8px; font-weight: 600; }
    QPushButton, QToolButton { background: @button; border: @border; border-radius: 6px; padding: 3px 10px; min-height: 1.4em; }
    QPushButton:hover, QToolButton:hover { background: @raised; }
    QPushButton:pressed, QToolButton:pressed { background: @edge; }
    QPushButton:checked, QToolButton:checked, QPushButton:default { background: @accent; color: @accentink; border-color: @accent; font-weight: 600; }
    QPushButton:disabled, QToolButton:disabled { color: @faint; }
    QPushButton:focus, QToolButton:focus { border: @focus; }
    QPushButton[role="small"], QToolButton[role="small"] { padding: 2px 2px; min-height: 1.3em; border-radius: 5px; }
    QPushButton[role="chip"] { background: transparent; color: @digits; border: @border; border-radius: 4px; padding: 1px 8px; min-height: 1.3em; }
    QPushButton[role="chip"]:checked { background: @accent; color: @accentink; border-color: @accent; }
    QPushButton[role="chip"]:focus { border: @focus; }
    QPushButton[role="lamp"], QPushButton[role="lamp"]:checked { background: transparent; border: 2px solid transparent; color: @quiet; font-weight: 400; padding: 0 4px; min-height: 1.2em; }
    QPushButton[role="lamp"]:checked { color: @ink; }
    QPushButton[role="lamp"]:focus { border: @focus; }
    QPushButton[role="flat"] { background: transparent; border-color: transparent; }
    QPushButton[role="danger"] { color: @red; }
    QPushButton[role="transmit"]:checked { background: @red; color: @background; border-color: @red; font-weight: 600; }
    QPushButton[role="transmit"]:checked:focus { border: @focus; }
    QLineEdit, QPlainTextEdit, QTextEdit, QSpinBox, QDoubleSpinBox, QComboBox { background: @screen; color: @digits; border: @border; border-radius: 5px;
      padding: 2px 6px; min-height: 1.4em; selection-background-color: @accent; selection-color: @accentink; }
    QLineEdit:focus, QPlainTextEdit:focus, QTextEdit:focus, QSpinBox:focus, QDoubleSpinBox:focus, QComboBox:focus { border: @focus; }
    QComboBox[role="chip"], QTextEdit[role="chip"] { background: transparent; border: 2px solid transparent; border-radius: 6px; }
    QComboBox[role="chip"]:focus, QTextEdit[role="chip"]:focus { border: @focus; }
    QLineEdit:disabled, QComboBox:disabled, QSpinBox:disabled { color: @faint; }
    QComboBox QAbstractItemView, QListView, QListWidget, QTreeView, QTableView { background: @screen; color: @digits; border: @border;
      alternate-background-color: @panel; gridline-color: @edge; selection-background-color: @accent; selection-color: @accentink; }
    QListView:focus, QTreeView:focus, QTableView:focus { border: @focus; }
    QHeaderView::section { background: @button; color: @ink; border: none; border-right: @border; border-bottom: @border; padding: 3px 6px; }
    QTableCornerButton::section { background: @button; border: none; }
    QCheckBox, QRadioButton { spacing: 0.5em; padding: 2px; border: 2px solid transparent; border-radius: 4px; }
    QCheckBox:focus, QRadioButton:focus { border: @focus; }
    QCheckBox::indicator, QRadioButton::indicator { width: 0.8em; height: 0.8em; border: 1px solid @quiet; background: @screen; }
    QCheckBox::indicator { border-radius: 3px; }
    QRadioButton::indicator { border-radius: 0.4em; }
    QCheckBox::indicator:checked, QRadioButton::indicator:checked { border-color: @accent; background: @accent; }
    QCheckBox::indicator:disabled, QRadioButton::indicator:disabled { border-color: @faint; }
    QCheckBox::indicator:checked:disabled, QRadioButton::indicator:checked:disabled { background: @faint; }
    QComboBox::drop-down { border: none; width: 1.5em; }
    QSpinBox::up-button, QSpinBox::down-button, QDoubleSpinBox::up-button, QDoubleSpinBox::down-button { border: none; background: transparent; width: 1.5em; }
    QComboBox::down-arrow, QSpinBox::down-arrow, QDoubleSpinBox::down-arrow, QSpinBox::up-arrow, QDoubleSpinBox::up-arrow { image: none; width: 0.6em; height: 0.35em; }
    QComboBox::down-arrow, QSpinBox::down-arrow, QDoubleSpinBox::down-arrow { background: @downwards; }
    QSpinBox::up-arrow, QDoubleSpinBox::up-arrow { background: @upwards; }
    QCheckBox:disabled, QRadioButton:disabled, QLabel:disabled { color: @faint; }
    QGroupBox { border: @border; border-radius: 8px; margin-top: 0.7em; padding: 0.7em 6px 6px 6px; background: @panel; }
    QGroupBox::title { subcontrol-origin: margin; left: 10px; color: @quiet; }
    QTabWidget::pane { border: @border; border-radius: 8px; background: @panel; }
    QTabBar::tab { background: transparent; color: @quiet; padding: 6px 12px; border-bottom: 2px solid transparent; }
    QTabBar::tab:selected { color: @ink; border-bottom: 2px solid @accent; }
    QTabBar::tab:focus { color: @ink; border: @focus; }
    QFrame[role="header"] { background: @background; border-bottom: @border; }
    QMenuBar { padding: 2px 8px; }
    QMenuBar::item { background: transparent; padding: 4px 9px; border-radius: 4px; }
    QMenuBar::item:selected { background: @raised; }
    QMenu { background: @panel; border: @border; padding: 4px; }
    QMenu::item { padding: 5px 24px 5px 22px; border-radius: 4px; }
    QMenu::item:selected { background: @accent; color: @accentink; }
    QMenu::item:disabled { color: @faint; }
    QMenu::separator { height: 1px; background: @edge; margin: 4px 8px; }
    QMenu::indicator:checked { image: none; background: @accent; border-radius: 4px; width: 8px; height: 8px; margin-left: 6px; }
    QToolTip { background: @panel; color: @ink; border: @border; padding: 3px; }
    QSlider::groove:horizontal { height: 4px; background: @groove; border-radius: 2px; }
    QSlider::sub-page:horizontal { background: @accent; border-radius: 2px; }
    QSlider::handle:horizontal { background: @ink; width: 12px; margin: -6px 0; border-radius: 4px; border: 2px solid transparent; }
    QSlider::handle:horizontal:focus { border: @focus; }
    QScrollBar { background: transparent; width: 12px; height: 12px; margin: 0; }
    QScrollBar::handle { background: @edge; border-radius: 5px; min-height: 24px; min-width: 24px; margin: 1px; }
    QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
    QSplitter::handle { background: @edge; }
    QSplitter[role="gap"]::handle { background: transparent; }
  )";
  for (const Token& token : tokens) sheet.replace(token.name, token.value);
  return sheet;
}

}  // namespace kvx::widgets
