#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTextEdit>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

#include "audio/decoded_text.h"
#include "audio/signal_list.h"
#include "audio/sound_devices_window.h"
#include "audio/spec_display_window.h"
#include "fakes/fake_audio_input.h"
#include "fakes/manual_worker.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "widgets/color_map.h"
#include "widgets/spectrum_view.h"
#include "widgets/tone_pointer.h"
#include "widgets/waterfall_view.h"

namespace kvx::audio {
namespace {

using namespace std::chrono_literals;

/// The audio window on the screen, with a sound card that hears what the test gives it.
class AudioWindowTest : public testing::Test {
 protected:
  AudioWindowTest() {
    devices_.devices = {{"", "System default"}, {"usb", "USB Audio CODEC"}, {"mon", "Loudspeaker", true}};
    appearance_.Use(widgets::MakeTheme("dark"), 100);
    Set("txtFMin", "500");
    Set("txtFMax", "1000");
    window_.show();
    window_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  }
  void Set(const char* control, const char* value) {
    EXPECT_TRUE(audio_.Set(control, value)) << control;
    worker_.Work();
  }
  /// So many whole buffers of a tone.
  void Hear(int buffers, double hertz = 720) {
    for (int i = 0; i < buffers; ++i) {
      std::vector<std::int16_t> samples(static_cast<std::size_t>(audio_.settings().cboBins));
      for (auto& sample : samples)
        sample = static_cast<std::int16_t>(9000 * std::sin(2 * std::numbers::pi * hertz * at_++ / card_.rate));
      card_.Hear(samples);
      loop_.RunFor(100ms);
      worker_.Work();
    }
    QApplication::processEvents();
  }
  template <class Control>
  Control& Find(const QString& name) {
    for (auto* control : window_.findChildren<Control*>()) {
      if (control->objectName() == name || control->accessibleName() == name) return *control;
    }
    qFatal("there is no control %s", qPrintable(name));
  }
  QString Press(const char* name) {
    auto& button = Find<QPushButton>(name);
    QTest::mouseClick(&button, Qt::LeftButton);
    return button.text();
  }
  QImage Picture(QWidget& view) { return view.grab().toImage(); }

  TemporaryFolder folder_;
  SystemFiles files_;
  VirtualLoop loop_;
  ManualWorker worker_;
  FakeAudioInput card_;
  FakeAudioDevices devices_;
  widgets::Appearance appearance_;
  int at_ = 0;
  AudioAnalysis audio_{{.loop = loop_,
                        .files = files_,
                        .folder = folder_.path(),
                        .data = folder_.path(),
                        .worker = worker_,
                        .devices = &devices_,
                        .make_input = [this](const std::string&) -> Result<std::unique_ptr<platform::AudioInput>> {
                          return std::unique_ptr<platform::AudioInput>(std::make_unique<LentAudioInput>(card_));
                        }}};
  SpecDisplay window_{audio_, QString::fromStdString(folder_.path().string()), appearance_};
};

TEST_F(AudioWindowTest, EveryControlHasItsNameAndCaption) {
  struct Case {
    const char* name;
    const char* before;
    const char* after;
  };
  for (const Case& c :
       {Case{"CmdSwitch", "Freeze", "Start"}, Case{"CR", "View Scope", "Hide Scope"},
        Case{"DCW", "Decode CW", "Stop Decode"}, Case{"cmdDisplaytrace", "Display Trace 2", "Trace 2 OFF"},
        Case{"cmdTracemath", "Trace 1 - Trace 2 ON", "Trace 1 - Trace 2 OFF"}, Case{"SS", "Close Setup", "Setup"}}) {
    EXPECT_EQ(Find<QPushButton>(c.name).text(), c.before);
    EXPECT_EQ(Press(c.name), c.after);
    EXPECT_EQ(Find<QPushButton>(c.name).accessibleName(), c.after);
  }
  Press("SS");
  EXPECT_EQ(Find<QComboBox>("cboBins").currentText(), "256") << "what Decode CW sets is shown";
  EXPECT_EQ(Find<QComboBox>("cboBins").itemText(0), "16384");
  struct Slid {
    const char* name;
    int value;
    const char* text;
  };
  for (const Slid& c :
       {Slid{"scrReflvl", -20, "Ref: -20 dB"}, Slid{"scrdBdiv", 8, "8 dB/div"}, Slid{"scrT2Offset", 7, "7 dB"},
        Slid{"scrAVG", 12, "Av 12"}, Slid{"Thresh", 900, "Threshold 900"}, Slid{"CrossIt", 650, "Marker 650 Hz"},
        Slid{"CenterF", 700, "Centre 700 Hz"}, Slid{"scrGridBrightness", 90, "Grid 90"},
        Slid{"scrBckBrightness", 20, "Ground 20"}, Slid{"scrUpdateTime", 40, "Every 40 ms"}}) {
    Find<QSlider>(c.name).setValue(c.value);
    const auto labels = window_.findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [&](const auto* label) { return label->text() == c.text; }))
        << c.text;
  }
  EXPECT_EQ(audio_.settings().Thresh, 900);
  for (const char* name : {"chkBW", "chkOverWrite", "AltSetup", "SlowCPU", "SeperateCB", "CompoundCB", "chkSmall"}) {
    const bool before = Find<QCheckBox>(name).isChecked();
    Find<QCheckBox>(name).click();
    EXPECT_NE(Find<QCheckBox>(name).isChecked(), before) << name;
  }
  for (const auto& [name, mode] : {std::pair{"optMaxhold", TraceMode::kMaxHold}, {"optAverage", TraceMode::kAverage}}) {
    Find<QPushButton>(name).click();
    EXPECT_EQ(audio_.settings().trace, mode);
    EXPECT_FALSE(Find<QPushButton>("optNormal").isChecked());
  }
  EXPECT_TRUE(std::ranges::equal(kWaterfallColors, widgets::ColorMapNames()));
}

TEST_F(AudioWindowTest, AClickPutsTheDecoderOnTheTone) {
  Hear(5);
  auto& spectrum = Find<widgets::SpectrumView>("Spectrum");
  auto& waterfall = Find<widgets::WaterfallView>("Waterfall");
  const auto x_of = [&](double hertz) { return static_cast<int>(spectrum.pointer().scale().XOf(hertz)); };
  for (QWidget* view : std::initializer_list<QWidget*>{&spectrum, &waterfall}) {
    QTest::mouseClick(view, Qt::LeftButton, {}, {x_of(716), 40});
    EXPECT_NEAR(audio_.settings().CrossIt, 720, 2) << "the tone beside the pointer";
    QTest::mouseClick(view, Qt::LeftButton, {}, {x_of(600), 40});
    EXPECT_NEAR(audio_.settings().CrossIt, 600, 2) << "where there is none";
  }
  spectrum.setFocus();
  QTest::keyClick(&spectrum, Qt::Key_Right);
  EXPECT_EQ(audio_.settings().CrossIt % 5, 0);
  EXPECT_GE(audio_.settings().CrossIt, 600);
  QTest::keyClick(&spectrum, Qt::Key_Up);
  EXPECT_EQ(audio_.settings().Thresh, 870);
  QTest::keyClick(&spectrum, Qt::Key_Plus);
  EXPECT_EQ(audio_.settings().txtFMax - audio_.settings().txtFMin, 400);
  QTest::keyClick(&spectrum, Qt::Key_Minus);
  EXPECT_EQ(audio_.settings().txtFMax - audio_.settings().txtFMin, 500);
}

TEST_F(AudioWindowTest, FreezeStopsTheDisplayAndNothingElse) {
  auto& waterfall = Find<widgets::WaterfallView>("Waterfall");
  Hear(3);
  const QImage before = Picture(waterfall);
  QTest::keyClick(&window_, Qt::Key_F, Qt::AltModifier);
  const std::int64_t frames = audio_.counts().frames;
  Hear(6, 850);
  EXPECT_EQ(Picture(waterfall), before);
  EXPECT_EQ(audio_.counts().frames, frames + 6);
  EXPECT_EQ(audio_.counts().lost, 0);
  Press("CmdSwitch");
  Hear(3, 850);
  EXPECT_NE(Picture(waterfall), before);
}

TEST_F(AudioWindowTest, EveryFrameLeavesItsLineHoweverSeldomOneDraws) {
  Set("scrUpdateTime", "1000");
  auto& waterfall = Find<widgets::WaterfallView>("Waterfall");
  const auto lines = [&] {
    const QImage picture = Picture(waterfall);
    int count = 0;
    for (int y = 2; y < picture.height() / 2; ++y) {
      const int x = static_cast<int>(waterfall.pointer().scale().XOf(720) * picture.devicePixelRatio());
      count += qGray(picture.pixel(x, y)) > 100;
    }
    return count;
  };
  Set("scrUpdateTime", "10");
  Hear(1);
  Hear(20);
  EXPECT_EQ(lines(), 21 - 2) << "two are below the edge";
}

TEST_F(AudioWindowTest, TheSetupGoesAndASmallWindowIsSmall) {
  EXPECT_TRUE(Find<QSlider>("scrReflvl").isVisible());
  Press("SS");
  EXPECT_FALSE(Find<QSlider>("scrReflvl").isVisible());
  Press("SS");
  const QSize usual = window_.size();
  Find<QCheckBox>("chkSmall").click();
  EXPECT_LT(window_.width() * window_.height(), usual.width() * usual.height() / 2);
  EXPECT_FALSE(Find<QTextEdit>("RichTextBox1").isVisible());
  EXPECT_TRUE(Find<widgets::WaterfallView>("Waterfall").isVisible());
  Find<QCheckBox>("chkSmall").click();
  EXPECT_EQ(window_.size(), usual);
}

TEST_F(AudioWindowTest, RecordsAndSavesAPicture) {
  Press("Record");
  Hear(4);
  Press("Record");
  worker_.Work();
  Press("Picture");
  int sound = 0;
  int pictures = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    if (entry.path().extension() == ".wav") sound = static_cast<int>(entry.file_size());
    if (entry.path().extension() == ".png")
      pictures += QImage(QString::fromStdString(entry.path().string())).width() > 300 ? 1 : 0;
  }
  EXPECT_GE(sound, 4 * 2 * audio_.settings().cboBins);
  EXPECT_EQ(pictures, 1);
}

TEST_F(AudioWindowTest, TheSourceIsChosenByName) {
  auto& source = Find<QComboBox>("source");
  QStringList shown;
  for (int i = 0; i < source.count(); ++i) shown << source.itemText(i);
  EXPECT_EQ(shown, QStringList({"System default", "USB Audio CODEC", "Loudspeaker (monitor)", "Simulated receiver",
                                "WAV file…", "Sound devices…"}));
  source.setCurrentIndex(1);
  Q_EMIT source.activated(1);
  EXPECT_EQ(audio_.settings().source, "usb");
  SoundDevices devices(audio_);
  devices.show();
  auto* list = devices.findChild<QListWidget*>("devices");
  EXPECT_EQ(list->currentItem()->text(), "USB Audio CODEC");
  list->setCurrentRow(3);
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_EQ(audio_.settings().source, "sim:receiver");
  Set("source", "wav:/tmp/of a/contest.wav");
  EXPECT_EQ(list->currentItem()->text(), "contest.wav");
}

TEST_F(AudioWindowTest, ClosingItEndsTheCaptureThatItBegan) {
  EXPECT_TRUE(audio_.running());
  window_.close();
  EXPECT_FALSE(audio_.running());
  audio_.Start();
  window_.show();
  window_.close();
  EXPECT_TRUE(audio_.running()) << "it was going on before";
  EXPECT_TRUE(files_.Read(folder_.path() / "SpecDisplay.pos"));
}

TEST(DecodedText, OnlyWhatIsDifferentIsWritten) {
  widgets::Appearance appearance;
  appearance.Use(widgets::MakeTheme("dark"), 100);
  DecodedTextBox box(appearance);
  int written = 0;
  QObject::connect(box.text()->document(), &QTextDocument::contentsChange, &box,
                   [&](int, int removed, int added) { written += removed + added; });
  std::vector<DecodedText> text{{"CQ DE K1ABC 6", false}};
  box.Show(text);
  EXPECT_EQ(box.text()->toPlainText(), "CQ DE K1ABC 6");
  written = 0;
  box.Show(text);
  EXPECT_EQ(written, 0);
  text = {{"CQ DE K1ABC ", false}, {"THE", true}, {" K", false}};
  box.Show(text);
  EXPECT_EQ(box.text()->toPlainText(), "CQ DE K1ABC THE K");
  EXPECT_LT(written, 20);
  QTextCursor cursor(box.text()->document());
  cursor.setPosition(13);
  EXPECT_EQ(cursor.charFormat().foreground().color(), QColor(0xC0, 0xC0, 0xC0));
  cursor.setPosition(17);
  EXPECT_NE(cursor.charFormat().foreground().color(), QColor(0xC0, 0xC0, 0xC0));
  std::string roll;
  for (int i = 0; i < 3000; ++i) roll += "CQ TEST " + std::to_string(i) + " ";
  box.Show({{roll, false}});
  written = 0;
  box.Show({{roll.substr(20) + "K1ABC", false}});
  EXPECT_EQ(box.text()->toPlainText().size(), static_cast<int>(roll.size() - 20 + 5));
  EXPECT_TRUE(box.text()->toPlainText().endsWith("K1ABC"));
  EXPECT_LT(written, 100) << "the front goes and the end comes, the rest stays";
  box.Show({});
  EXPECT_EQ(box.text()->toPlainText(), "");
  box.ShowSpeed(26);
  EXPECT_EQ(box.findChild<QLabel*>("CWSp")->text(), "26 wpm");
}

TEST(SignalList, ListsByToneAndTellsWhichIsChosen) {
  widgets::Appearance appearance;
  SignalList signals(appearance);
  double chosen = 0;
  signals.on_chosen = [&](double hertz) { chosen = hertz; };
  signals.resize(300, 300);
  signals.show();
  HeardSignal first{.number = 1, .hertz = 702.4, .wpm = 26, .text = "CQ TEST K1ABC ", .callsigns = {"K1ABC"}};
  HeardSignal second{.number = 2, .hertz = 561};
  signals.Show({first, second});
  const auto texts = [&] {
    QStringList all;
    for (int row = 0; row < signals.list()->count(); ++row) all << signals.list()->item(row)->text();
    return all;
  };
  EXPECT_EQ(texts(), QStringList({"561 Hz", "702 Hz, 26 words a minute, K1ABC: CQ TEST K1ABC"}));
  QTest::mouseClick(signals.list()->viewport(), Qt::LeftButton, {},
                    signals.list()->visualItemRect(signals.list()->item(1)).center());
  EXPECT_DOUBLE_EQ(chosen, 702.4);
  HeardSignal third{.number = 3, .hertz = 600};
  signals.Show({third, first, second});
  EXPECT_EQ(signals.list()->currentRow(), 2) << "the chosen one stays chosen";
  signals.Show({});
  EXPECT_EQ(signals.list()->count(), 0);
}

}  // namespace
}  // namespace kvx::audio
