#include "accessories/antenna_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "accessories/accessories.h"
#include "accessories/antenna_port_window.h"
#include "accessories/direct_port_window.h"
#include "fakes/fake_serial_port.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "fakes/window_hands.h"

namespace kvx::accessories {
namespace {

using enum AntennaField;

/// Parallel ports that remember their data and what was called.
struct FakePortAccess final : platform::PortAccess {
  void SendChar(const platform::PortAccessCall& call, Done done) override {
    const auto bit = 1U << (call[platform::kPin] - 2);
    std::uint8_t& byte = data[call[platform::kPortNumber]];
    if (call[platform::kAction] == platform::kSet) byte |= bit;
    if (call[platform::kAction] == platform::kClear) byte &= ~bit;
    calls += QString("%1%2 ").arg("PSC"[call[platform::kAction]]).arg(call[platform::kPin] - 2);
    if (done) done(byte);
  }
  bool InUse(int) const override { return true; }
  Result<std::uint8_t> ReadData(int port) override { return data[port]; }
  void Close() override {}

  std::map<int, std::uint8_t> data;
  QString calls;
};

/// The accessories with a rotator at port 4, on the screen in any of their windows.
struct Shack {
  explicit Shack(bool announced = false) {
    console.Announce.Set(announced);
    accessories.antennas.announce = [this](int, const std::string& sentence) { console.SPKBX.Set(sentence); };
    accessories.antennas.keep = [this](const auto& lines) { kept = lines.size(); };
    for (const auto& [field, text] : {std::pair{kRport, "4"},
                                      {kCommString, "M<BEARING><CR>"},
                                      {kAnt1To, "120"},
                                      {kAnt2From, "100"},
                                      {kAnt2To, "250"},
                                      {kLocator, "JN58TD"}})
      EXPECT_TRUE(antennas.SetField(field, text).ok());
    antennas.InitComm();
  }
  /// Puts the window on the screen.
  template <class Window>
  Window& Open(std::unique_ptr<Window> made) {
    window = std::move(made);
    ShowActive(*window);
    return static_cast<Window&>(*window);
  }
  AntContF& OpenAntennas() {
    auto& opened = Open(std::make_unique<AntContF>(antennas, console, appearance));
    opened.on_message = [this](const QString& text) { boxes << text; };
    return opened;
  }
  template <class Control>
  Control& Find(const QString& name) const {
    return *FindControl<Control>(*window, name);
  }
  void Type(const QString& name, const QString& text) const {
    auto& line = Find<QLineEdit>(name);
    line.setFocus();
    line.selectAll();
    QTest::keyClicks(&line, text);
  }
  void Click(const QString& name) const { QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton, {}, {6, 9}); }
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
  }
  QString Lit() const {
    QString lit;
    for (auto* lamp : window->findChildren<widgets::Lamp*>()) {
      if (lamp->is_lit()) lit += lamp->objectName() + " ";
    }
    return lit;
  }
  std::string Turned() { return std::exchange(rotator.written, {}); }
  QString Calls() { return std::exchange(ports.calls, {}); }

  VirtualLoop loop;
  Console console;
  TemporaryFolder folder;
  SystemFiles files;
  FakeSerialPort rotator;
  FakePortAccess ports;
  Accessories accessories{{.loop = loop,
                           .console = console,
                           .files = files,
                           .folder = folder.path(),
                           .rotator = &rotator,
                           .ports = &ports}};
  AntennaControl& antennas = accessories.antennas;
  widgets::Appearance appearance;
  std::size_t kept = 0;
  QStringList boxes;
  std::unique_ptr<QWidget> window;
};

TEST(AntennaWindow, EnterSendsWhatIsTypedAndLightsTheLamps) {
  Shack shack;
  shack.OpenAntennas();
  EXPECT_EQ(QApplication::focusWidget()->objectName(), "IBearing");
  shack.Type("IBearing", "110.5");
  EXPECT_EQ(shack.Find<QLabel>("Goes to").text(), "110°");
  EXPECT_EQ(shack.Find<QLabel>("Command").text(), "M110<CR>");
  EXPECT_EQ(shack.Turned(), "");
  shack.Key(Qt::Key_Return);
  EXPECT_EQ(shack.Turned(), "M110\r");
  EXPECT_EQ(shack.Calls(), "S2 C3 C4 C5 C2 S3 C4 C5 ") << "both ranges hold it";
  EXPECT_EQ(shack.Lit(), "Ant2Dot ");
  EXPECT_EQ(shack.Find<QLabel>("LastBearing").text(), "110.5");
  shack.Key(Qt::Key_4, Qt::AltModifier);
  EXPECT_EQ(shack.Lit(), "Ant4Dot ");
  shack.Click("Command2");
  EXPECT_EQ(shack.Lit(), "Ant1Dot ");
  EXPECT_EQ(shack.Turned(), "");
  shack.Type("IBearing", "FN31pr");
  EXPECT_EQ(shack.Find<QLabel>("Goes to").text(), "298°, 6336 km");
  shack.Key(Qt::Key_H, Qt::AltModifier);
  EXPECT_TRUE(shack.Find<QLabel>("Goes to").text().startsWith("118°, 33")) << "the rest of the way round";
  shack.Click("Command1");
  EXPECT_EQ(shack.Turned(), "M118\r");
}

TEST(AntennaWindow, ARefusedBearingIsTheMessageOrItsAnnouncement) {
  for (const bool announced : {false, true}) {
    Shack shack(announced);
    shack.OpenAntennas();
    for (const char* refused : {"360", "-1", "", "north"}) {
      shack.Type("IBearing", "1");
      shack.Key(Qt::Key_Backspace);
      QTest::keyClicks(QApplication::focusWidget(), refused);
      shack.Key(Qt::Key_Enter, Qt::KeypadModifier);
      EXPECT_EQ(shack.boxes.join("|"), announced ? "" : "Please enter a bearing between 0 and 359") << refused;
      EXPECT_EQ(*shack.console.SPKBX, announced ? "Please enter a bearing between 0 and 359 " : "") << refused;
      shack.boxes.clear();
    }
    EXPECT_EQ(shack.Turned() + shack.Calls().toStdString(), "");
  }
}

TEST(AntennaWindow, TheRoseGoesWhereItPointsWhateverPathIsChosen) {
  Shack shack;
  auto& window = shack.OpenAntennas();
  auto& rose = *window.findChild<widgets::CompassRose*>();
  shack.Click("Long path");
  rose.setFocus();
  shack.Key(Qt::Key_PageUp);
  EXPECT_EQ(shack.Find<QLineEdit>("IBearing").text(), "10");
  EXPECT_FALSE(shack.Find<QCheckBox>("Long path").isChecked());
  EXPECT_EQ(shack.Turned(), "");
  shack.Key(Qt::Key_Return);
  EXPECT_EQ(shack.Turned(), "M010\r");
  shack.Type("IBearing", "200");
  EXPECT_EQ(rose.wanted(), 200);
}

TEST(AntennaWindow, TheSetupIsShownBelowAndItsFieldsCountAtOnce) {
  Shack shack;
  auto& window = shack.OpenAntennas();
  const int height = window.height();
  EXPECT_FALSE(shack.Find<QLineEdit>("CommString").isVisible());
  shack.Click("setup");
  EXPECT_TRUE(shack.Find<QLineEdit>("CommString").isVisible());
  EXPECT_GT(window.height(), height);
  shack.Type("Ant3From", "300");
  shack.Type("Ant3To", "359");
  EXPECT_EQ(shack.antennas.field(kAnt3From) + shack.antennas.field(kAnt3To), "300359");
  auto& presets = shack.Find<QComboBox>("Controller");
  presets.setFocus();
  QTest::keyClicks(&presets, "DCU");
  shack.Key(Qt::Key_Return);
  EXPECT_EQ(shack.Find<QLineEdit>("CommString").text().toStdString(), shack.antennas.field(kCommString));
  EXPECT_NE(shack.antennas.field(kCommString).find("AP1<BEARING>"), std::string::npos);
  EXPECT_GT(std::exchange(shack.kept, 0U), 0U);
  shack.antennas.SetBearing("110");
  shack.Type("Rport", "7");
  EXPECT_EQ(shack.kept, 0U) << "the entry has not ended";
  shack.Key(Qt::Key_Return);
  EXPECT_EQ(shack.rotator.opened.number, 7);
  EXPECT_GT(std::exchange(shack.kept, 0U), 0U) << "a crash loses no entry";
  EXPECT_EQ(shack.Turned() + shack.Calls().toStdString(), "") << "Enter in the setup drives nothing";
  shack.Click("setup");
  EXPECT_EQ(window.height(), height);
  window.close();
  EXPECT_GT(shack.kept, 0U);
}

TEST(AntennaPortWindow, ChoicesCountAtOnceAndSaveOpensThePort) {
  Shack shack(true);
  auto& window = shack.Open(std::make_unique<AntSpeedF>(shack.antennas));
  EXPECT_TRUE(shack.Find<QAbstractButton>("Set comm port to 4").isChecked());
  struct Row {
    const char* button;
    AntennaField field;
    const char* value;
    const char* announced;
  };
  for (const Row& row : {Row{"Set speed to 14400", kRspeed, "14400", "Speed set to 14400"},
                         Row{"Set comm port to none", kRport, "0", "Comm port set to none"},
                         Row{"Set comm port to 8", kRport, "8", "Comm port set to 8"},
                         Row{"Set parallel interface to L P T 2", kPPort, "2", "Parallel interface set to L P T 2"},
                         Row{"UseRig", kUseRig, "True", "Use rig comm port set to on"}}) {
    auto& button = shack.Find<QAbstractButton>(row.button);
    if (row.field != kUseRig) {
      button.setFocus();
      EXPECT_EQ(*shack.console.SPKBX, row.button);
    }
    shack.Click(row.button);
    EXPECT_EQ(shack.antennas.field(row.field), row.value);
    EXPECT_EQ(*shack.console.SPKBX, row.announced);
    EXPECT_TRUE(button.isChecked());
  }
  EXPECT_EQ(shack.rotator.opened.number, 4);
  shack.Key(Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(shack.rotator.opened.number, 8);
  EXPECT_EQ(shack.rotator.opened.speed, 14400);
  shack.Type("Rstop", "2");
  window.close();
  EXPECT_EQ(shack.rotator.opened.stop_bits, 2);
}

TEST(DirectPortWindow, ButtonsLatchOrPulseTheLinesOfTheirOwnPort) {
  Shack shack(true);
  shack.ports.data[1] = 0x80;
  shack.Open(std::make_unique<DirectPF>(shack.antennas, shack.accessories.direct));
  EXPECT_EQ(shack.Lit(), "Lamp7 ");
  shack.Click("Command2");
  EXPECT_EQ(*shack.console.SPKBX, "zero");
  shack.Key(Qt::Key_7, Qt::AltModifier);
  EXPECT_EQ(shack.Calls(), "S0 C7 ");
  EXPECT_EQ(shack.Lit(), "Lamp0 ");
  EXPECT_TRUE(shack.antennas.SetField(kMSec, "500").ok());
  QStringList said;
  shack.antennas.announce = [&said](int, const auto& sentence) { said << sentence.c_str(); };
  shack.Click("Option2");
  EXPECT_EQ(said.join("/"), "Port 1 off/Port 2 on");
  shack.Click("Command8");
  EXPECT_EQ(shack.Calls().left(3), "P4 ");
  EXPECT_EQ(shack.ports.data[1], 0x01) << "the other port keeps its lines";
  shack.Type("DirectText", "Beam,,R&D");
  const auto caption = [&](const char* name) { return shack.Find<QPushButton>(name).accessibleName(); };
  EXPECT_EQ(caption("Command2") + "/" + caption("Command3") + "/" + caption("Command6"), "Beam/Bit 1/R&D");
  EXPECT_EQ(shack.Find<QPushButton>("Command6").text(), "R&&D");
}

}  // namespace
}  // namespace kvx::accessories
