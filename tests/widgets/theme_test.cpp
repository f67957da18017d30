#include "widgets/theme.h"

#include <gtest/gtest.h>

#include "widgets/band_chart.h"

namespace kvx::widgets {
namespace {

TEST(Theme, EveryTextCanBeReadOnEveryGroundItStandsOn) {
  struct Pair {
    const char* name;
    QColor Theme::*text;
    QColor Theme::*ground;
  };
  const Pair pairs[] = {
      {"ink on panel", &Theme::ink, &Theme::panel},
      {"ink on background", &Theme::ink, &Theme::background},
      {"ink on button", &Theme::ink, &Theme::button},
      {"quiet on panel", &Theme::quiet_ink, &Theme::panel},
      {"quiet on background", &Theme::quiet_ink, &Theme::background},
      {"digits on screen", &Theme::digits, &Theme::screen},
      {"accent ink on accent", &Theme::accent_ink, &Theme::accent},
      {"red on panel", &Theme::red, &Theme::panel},
      {"green on panel", &Theme::green, &Theme::panel},
      {"blue on panel", &Theme::blue, &Theme::panel},
      {"amber on panel", &Theme::amber, &Theme::panel},
  };
  for (const QString& name : ThemeNames()) {
    // Whatever the settings file holds: black, white, grey, pure red, and grounds halfway between.
    for (const std::int64_t stored : {0, 0xFFFFFF, 8421504, 255, 0x757575, 0x00FF00, 0xFF0000, 0x777777, -1}) {
      const Theme theme = MakeTheme(name, {.body = stored, .screen = stored});
      SCOPED_TRACE(name.toStdString() + " with " + std::to_string(stored));
      for (const Pair& pair : pairs) {
        EXPECT_GE(Contrast(theme.*pair.text, theme.*pair.ground), 4.5) << pair.name;
      }
      using Color = ChartSegment::Color;
      for (const Color use : {Color::kCw, Color::kData, Color::kPhone, Color::kMixed, Color::kSpecial}) {
        EXPECT_GE(Contrast(theme.ink, ChartGround(theme, use)), 4.5) << "ink on the chart";
      }
      EXPECT_GE(Contrast(theme.focus, theme.panel), 3) << "the focus ring";
    }
  }
}

TEST(Theme, StoredColoursAreShownByTheClassicThemeAlone) {
  const StoredColors stored{.body = 255, .screen = 0xFFFFFF};  // red and white, as BBGGRR
  const Theme classic = MakeTheme(" Classic", stored);
  EXPECT_EQ(classic.panel, QColor("#ff0000"));
  EXPECT_EQ(classic.background, QColor("#ff0000"));
  EXPECT_EQ(classic.screen, QColor("#ffffff"));
  EXPECT_EQ(MakeTheme("classic", {.body = -1, .screen = 0x1000000}), MakeTheme("classic"));
  for (const char* name : {"dark", "light", "contrast"}) EXPECT_EQ(MakeTheme(name, stored), MakeTheme(name));
  EXPECT_EQ(MakeTheme("no such theme"), MakeTheme("dark"));
  EXPECT_EQ(MakeTheme("LIGHT").name, "light");
}

TEST(Theme, ColoursSurviveTheWayIntoTheSettingsAndBack) {
  EXPECT_EQ(ColorOfStored(0x0000FF, Qt::black), QColor("#ff0000"));
  EXPECT_EQ(ColorOfStored(0xFF8000, Qt::black), QColor("#0080ff"));
  for (const std::int64_t stored : {0, 255, 8421504, 12632256, 0x123456, 0xFFFFFF}) {
    EXPECT_EQ(StoredOfColor(ColorOfStored(stored, Qt::black)), stored);
  }
  EXPECT_EQ(ColorOfStored(-1, Qt::cyan), QColor(Qt::cyan));
}

TEST(Theme, ContrastIsThatOfTheAccessibilityGuidelines) {
  EXPECT_NEAR(Contrast("#000000", "#ffffff"), 21, 1e-6);
  EXPECT_NEAR(Contrast("#ffffff", "#777777"), 4.478, 0.001);
  EXPECT_NEAR(Contrast("#777777", "#ffffff"), 4.478, 0.001);
  EXPECT_NEAR(Contrast("#123456", "#123456"), 1, 1e-6);
}

TEST(Theme, NoTokenIsLeftInTheStyleSheet) {
  for (const QString& name : ThemeNames())
    EXPECT_FALSE(StyleSheet(MakeTheme(name)).contains('@')) << name.toStdString();
}

}  // namespace
}  // namespace kvx::widgets
