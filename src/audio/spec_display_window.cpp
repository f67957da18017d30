#include "audio/spec_display_window.h"

#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollArea>
#include <QShortcut>
#include <QShowEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "audio/decoded_text.h"
#include "audio/display_scenes.h"
#include "audio/setup_panels.h"
#include "audio/signal_list.h"
#include "audio/sound_devices_window.h"
#include "audio/source_choices.h"
#include "widgets/painting.h"
#include "widgets/qt_text.h"
#include "widgets/side_by_side.h"
#include "widgets/spectrum_columns.h"
#include "widgets/tone_pointer.h"

namespace kvx::audio {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

constexpr int kWide = 84;  // sizes of text
constexpr int kHigh = 52;
constexpr int kSmallWide = 50;
constexpr int kSmallHigh = 34;
constexpr double kSideWidth = 22;
constexpr double kLeastSide = 15;
constexpr double kSideShare = 0.28;
constexpr int kGap = 10;
constexpr milliseconds kSlowInterval{66};
constexpr int kCountMilliseconds = 500;
constexpr int kSourcesMilliseconds = 1000;

/// A list with its name in front, in one frame.
QWidget* Chip(const QString& name, QWidget* list) {
  auto* frame = WithRole(new QFrame, "screen");
  auto* row = new QHBoxLayout(frame);
  row->setContentsMargins(8, 0, 0, 0);
  row->setSpacing(2);
  auto* label = WithRole(new QLabel(name), "quiet");
  label->setBuddy(list);  // assistive technology takes a list's name from there
  row->addWidget(label);
  row->addWidget(WithRole(list, "chip"), 1);
  return frame;
}

QHBoxLayout* Row(QWidget* of) {
  auto* row = new QHBoxLayout(of);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(8);
  return row;
}

template <std::size_t kCount>
QStringList Texts(const std::array<int, kCount>& numbers) {
  QStringList texts;
  for (const int number : numbers) texts << QString::number(number);
  return texts;
}

}  // namespace

SpecDisplay::SpecDisplay(AudioAnalysis& audio, const QString& folder, const widgets::Appearance& appearance,
                         QWidget* parent)
    : QMainWindow(parent),
      audio_(audio),
      folder_(folder),
      appearance_(appearance),
      controls_(audio),
      spectrum_(new widgets::SpectrumView(appearance)),
      waterfall_(new widgets::WaterfallView(appearance)),
      scope_(new widgets::ScopeView(appearance)),
      signals_(new SignalList(appearance)),
      text_(new DecodedTextBox(appearance)) {
  setObjectName("SpecDisplay");
  setWindowTitle(tr("Audio"));
  controls_.on_entered = [this](const Status& status) { Tell(status); };
  auto* center = new QWidget;
  center->setObjectName("center");
  auto* column = new QVBoxLayout(center);
  column->setContentsMargins(kGap, kGap, kGap, kGap / 2);
  column->setSpacing(kGap);
  column->addWidget(MakeBar());
  auto* middle = new QHBoxLayout;
  middle->setSpacing(kGap);
  middle->addWidget(MakeDisplays(), 1);
  middle->addWidget(MakeSetup());
  column->addLayout(middle, 1);
  column->addWidget(text_);
  column->addWidget(MakeState());
  setCentralWidget(center);
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &QWidget::close);
  connect(&appearance, &widgets::Appearance::Changed, this, [this] {
    ShowSettings();
    ShowText();
  });
  Follow();
  clock_.start();
  resize(QSize(kWide, kHigh) * widgets::Em(*this));
  ShowSettings();
  ShowText();
  spectrum_->setFocus();
}

QWidget* SpecDisplay::MakeBar() {
  auto* bar = new widgets::SideBySide;
  bar->Add(MakeButtons(), 1);
  bar->Add(MakeLists());
  return bar;
}

QWidget* SpecDisplay::MakeButtons() {
  auto* buttons = new QWidget;
  auto* row = Row(buttons);
  const auto add = [&](QPushButton* button, const char* keys) {
    AddKeys(this, button, QKeySequence(keys));
    row->addWidget(button);
  };
  add(controls_.Button("CmdSwitch", tr("Freezes the display, or lets it run; sound is taken in all the same"),
                       &SpectrumSettings::frozen),
      "Alt+F");
  add(controls_.Button("DCW", tr("Starts or stops the CW decoder"), &SpectrumSettings::decoding), "Alt+D");
  add(controls_.Button("CR", tr("Shows or hides the oscilloscope"), &SpectrumSettings::scope), "Alt+V");
  add(controls_.Button("SS", tr("Shows or hides the setup"), &SpectrumSettings::setup), "Alt+U");
  record_ = Named(new QPushButton(tr("Record")), tr("Record"), tr("Writes what is heard to a WAV file, or stops that"));
  record_->setCheckable(true);
  connect(record_, &QPushButton::clicked, this, &SpecDisplay::Record);
  add(record_, "Alt+R");
  auto* picture = Named(new QPushButton(tr("Picture")), tr("Picture"), tr("Saves a picture of spectrum and waterfall"));
  connect(picture, &QPushButton::clicked, this, &SpecDisplay::SavePicture);
  add(picture, "Alt+P");
  row->addStretch(1);
  return buttons;
}

QWidget* SpecDisplay::MakeLists() {
  lists_ = new QWidget;
  auto* row = Row(lists_);
  source_ = Named(new QComboBox, tr("Source"), tr("Where the sound comes from"));
  source_->setObjectName("source");
  source_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  source_->setMinimumContentsLength(14);
  connect(source_, &QComboBox::activated, this, &SpecDisplay::ChooseSource);
  row->addWidget(Chip(tr("Source"), source_), 1);
  row->addWidget(
      Chip(tr("Rate"), controls_.List("cboSRate", tr("Sample rate"), tr("Samples a second"), Texts(kSampleRates))));
  row->addWidget(Chip(tr("Bins"), controls_.List("cboBins", tr("Bins"), tr("Samples a transform"), Texts(kBins))));
  row->addWidget(
      Chip(tr("Decoder"), controls_.List("decoder", tr("Decoder"), tr("How CW is read"), {tr("Best"), tr("Classic")})));
  return lists_;
}

QWidget* SpecDisplay::MakeDisplays() {
  auto* displays = WithRole(new QSplitter(Qt::Vertical), "gap");
  displays->setHandleWidth(kGap);
  displays->setChildrenCollapsible(false);
  displays->addWidget(spectrum_);
  displays->addWidget(waterfall_);
  displays->addWidget(scope_);
  displays->setStretchFactor(0, 42);
  displays->setStretchFactor(1, 58);
  displays->setStretchFactor(2, 30);
  for (widgets::TonePointer* pointer : {&spectrum_->pointer(), &waterfall_->pointer()}) Listen(*pointer);
  spectrum_->on_threshold = [this](int threshold) { Tell(audio_.Set("Thresh", std::to_string(threshold))); };
  scope_->on_threshold = spectrum_->on_threshold;
  const auto spend = [this](double spent) { budget_.Spend(nanoseconds(std::llround(spent * 1e6))); };
  spectrum_->on_painted = spend;
  waterfall_->on_painted = spend;
  return displays;
}

void SpecDisplay::Listen(widgets::TonePointer& pointer) {
  pointer.on_point = [this](double hertz, double reach) { PointAt(hertz, reach); };
  pointer.on_move = [this](double hertz) { audio_.TuneTo(hertz); };
  pointer.on_range = [this](double from, double to) { Zoom(from, to); };
}

QWidget* SpecDisplay::MakeSetup() {
  side_ = new QWidget;
  auto* column = new QVBoxLayout(side_);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(kGap);
  signals_->on_chosen = [this](double hertz) { audio_.TuneTo(hertz); };
  column->addWidget(signals_, 2);
  auto* page = new QWidget;
  page->setObjectName("page");
  auto* panels = new QVBoxLayout(page);
  panels->setContentsMargins(0, 0, 0, 0);
  panels->setSpacing(kGap);
  panels->addWidget(new DisplayPanel(controls_));
  panels->addWidget(new TracePanel(controls_));
  panels->addWidget(new DecoderPanel(controls_));
  panels->addWidget(new DrawingPanel(controls_));
  panels->addStretch(1);
  auto* scroll = new QScrollArea;
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->setWidget(page);
  setup_ = scroll;
  column->addWidget(scroll, 5);
  connect(new QShortcut(QKeySequence("Alt+L"), this), &QShortcut::activated, signals_,
          [this] { signals_->findChild<QWidget*>("signals")->setFocus(Qt::ShortcutFocusReason); });
  connect(new QShortcut(QKeySequence("Alt+T"), this), &QShortcut::activated, text_,
          [this] { text_->findChild<QWidget*>("RichTextBox1")->setFocus(Qt::ShortcutFocusReason); });
  return side_;
}

QWidget* SpecDisplay::MakeState() {
  auto* state = new QWidget;
  auto* row = Row(state);
  message_ = WithRole(Named(new QLabel, tr("Message"), tr("Where the sound comes from, or what went wrong")), "quiet");
  message_->setTextFormat(Qt::PlainText);
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  counts_ = WithRole(Named(new QLabel, tr("Counts"), tr("Transforms since capture began, and samples lost")), "quiet");
  row->addWidget(message_, 1);
  row->addWidget(counts_);
  return state;
}

void SpecDisplay::Follow() {
  following_changes_ = audio_.changed.Follow([this] { ShowSettings(); });
  following_frames_ = audio_.framed.Follow([this] { TakeFrame(); });
  following_text_ = audio_.text_changed.Follow([this] { ShowText(); });
  draw_timer_.setSingleShot(true);
  draw_timer_.setTimerType(Qt::PreciseTimer);
  connect(&draw_timer_, &QTimer::timeout, this, &SpecDisplay::Draw);
  count_timer_.setInterval(kCountMilliseconds);
  connect(&count_timer_, &QTimer::timeout, this, &SpecDisplay::ShowCounts);
}

/// Every frame leaves its line in the waterfall; when it is drawn is another matter.
void SpecDisplay::TakeFrame() {
  if (audio_.settings().frozen || !isVisible() || isMinimized()) return;
  frame_ = audio_.frame();
  if (frame_.bins <= 0) return;
  waterfall_->WaterFall(frame_.levels, static_cast<double>(frame_.samples_per_second) / frame_.bins);
  DrawSoon();
}

void SpecDisplay::DrawSoon() {
  undrawn_ = true;
  if (draw_timer_.isActive()) return;
  const auto wait = budget_.Wait(nanoseconds(clock_.nsecsElapsed()));
  draw_timer_.start(std::chrono::ceil<milliseconds>(wait));
}

void SpecDisplay::Draw() {
  if (!std::exchange(undrawn_, false)) return;
  budget_.Begin(nanoseconds(clock_.nsecsElapsed()));
  DrawTraces();
  waterfall_->DrawLines();
}

void SpecDisplay::DrawTraces() {
  const SpectrumSettings& settings = audio_.settings();
  const ShownTraces traces = TracesOf(settings, frame_, audio_.trace2());
  spectrum_->Show(SpectrumSceneOf(settings, traces.difference));
  spectrum_->SetTraces(traces.first, traces.second, traces.bin_hertz);
  if (settings.scope) scope_->SetSamples(frame_.scope);
}

void SpecDisplay::ShowSettings() {
  const SpectrumSettings& settings = audio_.settings();
  controls_.Refresh();
  FitSide();
  spectrum_->Show(SpectrumSceneOf(settings, spectrum_->scene().difference));
  waterfall_->Show(WaterfallSceneOf(settings));
  scope_->Show(ScopeSceneOf(settings));
  scope_->setVisible(settings.scope);
  setup_->setVisible(settings.setup);
  budget_.SetInterval(
      std::max(milliseconds(settings.scrUpdateTime), settings.SlowCPU ? kSlowInterval : milliseconds(0)));
  record_->setChecked(audio_.recording());
  ShowSmall();
  ShowSources();
  if (!audio_.recording()) Tell(Ok());
  DrawSoon();
}

/// The setup beside the displays leaves them most of a small window.
void SpecDisplay::FitSide() {
  const double em = widgets::Em(*this);
  side_->setFixedWidth(static_cast<int>(std::clamp(kSideShare * width(), kLeastSide * em, kSideWidth * em)));
}

/// A small window has spectrum and waterfall and, while the setup is shown, the setup.
void SpecDisplay::ShowSmall() {
  const bool small = audio_.settings().chkSmall;
  const bool was_small = usual_size_.isValid();
  text_->setVisible(!small);
  lists_->setVisible(!small);
  signals_->setVisible(!small);
  side_->setVisible(!small || audio_.settings().setup);
  if (small == was_small) return;
  const QSize usual = std::exchange(usual_size_, small ? size() : QSize());
  if (windowState() == Qt::WindowNoState) resize(small ? QSize(kSmallWide, kSmallHigh) * widgets::Em(*this) : usual);
}

/// Asking the system for its devices takes its time, so that is not done at every change.
void SpecDisplay::ShowSources() {
  const bool same = sources_of_ == audio_.settings().source && sources_age_.isValid();
  sources_stale_ = same && !sources_age_.hasExpired(kSourcesMilliseconds);
  if (sources_stale_) return;
  sources_age_.start();
  sources_of_ = audio_.settings().source;
  const std::vector<SourceChoice> choices = SourceChoices(audio_.Devices(), audio_.settings().source);
  QStringList labels;
  for (const SourceChoice& choice : choices) labels << ToQt(choice.label);
  labels << tr("WAV file…") << tr("Sound devices…");
  QStringList shown;
  for (int i = 0; i < source_->count(); ++i) shown << source_->itemText(i);
  if (labels != shown) {
    source_->clear();
    source_->addItems(labels);
  }
  for (int i = 0; i < static_cast<int>(choices.size()); ++i) {
    const std::string& source = choices[static_cast<std::size_t>(i)].source;
    source_->setItemData(i, ToQt(source));
    if (source == audio_.settings().source) source_->setCurrentIndex(i);
  }
}

void SpecDisplay::ChooseSource(int index) {
  const int own = source_->count() - 2;
  if (index < own) return Tell(audio_.Set("source", source_->itemData(index).toString().toStdString()));
  if (index == own) {
    AskForWavFile(audio_, this);
  } else {
    auto* devices = new SoundDevices(audio_, this);
    devices->setAttribute(Qt::WA_DeleteOnClose);
    devices->open();
  }
  sources_age_.invalidate();
  ShowSources();
}

void SpecDisplay::ShowText() {
  text_->Show(audio_.text());
  text_->ShowSpeed(audio_.CWSp());
  signals_->Show(audio_.signals());
  std::vector<widgets::ToneFlag> flags;
  for (const HeardSignal& signal : audio_.signals())
    flags.push_back({signal.hertz, CallsignOf(signal), SignalColor(appearance_.theme(), signal.number)});
  spectrum_->SetFlags(std::move(flags));
}

void SpecDisplay::ShowCounts() {
  if (sources_stale_) ShowSources();
  const CaptureCounts& counts = audio_.counts();
  const QString text = tr("%1 frames").arg(counts.frames);
  widgets::ShowText(counts_, counts.lost > 0 ? tr("%1, %2 samples lost").arg(text).arg(counts.lost) : text);
}

/// The tone that is meant, or the place itself.
void SpecDisplay::PointAt(double hertz, double reach) {
  const double bin = frame_.bins > 0 ? static_cast<double>(frame_.samples_per_second) / frame_.bins : 0;
  audio_.TuneTo(widgets::ToneNear(frame_.trace, bin, hertz, reach));
}

void SpecDisplay::Zoom(double from, double to) {
  const auto set = [this](const char* edge, double hertz) {
    return audio_.Set(edge, std::to_string(std::lround(hertz)));
  };
  // The edge that moves away goes first: one pushes the other.
  const bool up = from >= audio_.settings().txtFMin;
  const Status first = up ? set("txtFMax", to) : set("txtFMin", from);
  Tell(first ? up ? set("txtFMin", from) : set("txtFMax", to) : first);
}

void SpecDisplay::Tell(const Status& status) {
  if (!status) return ShowMessage(ToQt(status.error().message), "error");
  const std::string& state = audio_.source_state();
  const bool good = state == "open" || state == "stopped" || state == "ended";
  const QString text = state == "open"
                           ? tr("%1, %2 samples a second").arg(source_->currentText()).arg(audio_.settings().cboSRate)
                           : ToQt(state);
  ShowMessage(text, good ? "quiet" : "error");
}

void SpecDisplay::ShowMessage(const QString& message, const char* role) {
  if (message_->property("role").toString() != role) widgets::SetRole(message_, role);
  widgets::ShowText(message_, message);
}

QString SpecDisplay::NewFile(const QString& kind, const QString& ending) const {
  const QString time = QDateTime::currentDateTimeUtc().toString("yyyyMMdd-HHmmss");
  return QDir(folder_).filePath(kind + "-" + time + ending);
}

void SpecDisplay::Record() {
  if (audio_.recording()) return Tell(audio_.StopRecording());
  const QString file = NewFile("audio", ".wav");
  const Status recorded = audio_.Record(platform::Path(file.toStdString()));
  record_->setChecked(audio_.recording());
  if (!recorded) return Tell(recorded);
  ShowMessage(tr("Recording to %1").arg(file), "quiet");
}

void SpecDisplay::SavePicture() {
  const QRect both = spectrum_->geometry() | waterfall_->geometry();
  const QPixmap picture = spectrum_->parentWidget()->grab(both);
  const QString file = NewFile("audio", ".png");
  QSaveFile target(file);
  const bool written = target.open(QIODevice::WriteOnly) && picture.save(&target, "PNG") && target.commit();
  if (!written) return Tell(Error{ErrorCode::kIo, "cannot write " + file.toStdString()});
  ShowMessage(tr("Picture saved as %1").arg(file), "quiet");
}

void SpecDisplay::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (event->spontaneous()) return;
  count_timer_.start();
  sources_age_.invalidate();
  ShowSources();
  if (audio_.running()) return;
  started_ = true;
  audio_.Start();
}

void SpecDisplay::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  FitSide();
}

void SpecDisplay::closeEvent(QCloseEvent* event) {
  count_timer_.stop();
  if (std::exchange(started_, false)) audio_.Stop();
  audio_.Save();
  QMainWindow::closeEvent(event);
}

}  // namespace kvx::audio
