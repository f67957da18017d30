#include "console/setup_station_page.h"

namespace kvx::console {
namespace {

constexpr int kShownClockCharacters = 12;

void KeepNarrow(QComboBox* box) {
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box->setMinimumContentsLength(kShownClockCharacters);
}

}  // namespace

SetupStationPage::SetupStationPage(StationSetup& setup)
    : setup_(setup), form_(this, tr("Station"), tr("Settings that do not depend on the rig. Each counts at once.")) {
  AddBandPlan();
  AddClock();
  AddOffset();
  form_.End();
  Refresh();
}

void SetupStationPage::AddBandPlan() {
  form_.BeginPanel(tr("Band plan"));
  region_ = new QComboBox;
  KeepNarrow(region_);
  region_->addItems({tr("1: Europe, Africa, Middle East, northern Asia"),
                     tr("2: the Americas, with US licence classes"), tr("3: southern Asia and the Pacific")});
  connect(region_, &QComboBox::activated, this, [this](int index) {
    form_.Show(setup_.SetRegion(index + 1), tr("The band plan of region %1 is shown").arg(index + 1));
  });
  form_.AddRow(tr("IARU &region"), region_, tr("Whose band plan the chart and the message area show"));
}

void SetupStationPage::AddClock() {
  form_.BeginPanel(tr("Time"));
  clock_ = new QComboBox;
  KeepNarrow(clock_);
  clock_->addItem(tr("UTC as the system knows it"), 0);
  for (int hours = -kMostGmtHours; hours <= kMostGmtHours; ++hours) {
    if (hours != 0)
      clock_->addItem(tr("local time %1 %2 h").arg(hours < 0 ? "\u2212" : "+").arg(std::abs(hours)), hours);
  }
  connect(clock_, &QComboBox::activated, this, [this](int index) {
    form_.Show(setup_.SetGmtHours(clock_->itemData(index).toInt()), tr("The clock is set"));
  });
  form_.AddRow(tr("UTC &clock"), clock_, tr("Where the console's clock has its time from"));
  interval_ = new QSpinBox;
  interval_->setRange(config::kShortestPollMilliseconds, config::kLongestPollMilliseconds);
  interval_->setSingleStep(10);
  interval_->setSuffix(tr(" ms"));
  interval_->setKeyboardTracking(false);
  connect(interval_, &QSpinBox::valueChanged, this, [this](int value) {
    form_.Show(setup_.SetPollInterval(value), tr("The poll interval is %1 ms").arg(value));
  });
  form_.AddRow(tr("&Poll interval"), interval_,
               tr("Time between two beats of the clock; the rig is asked at every second one"));
  form_.AddNote(tr("A slow line makes the interval longer by itself."));
}

void SetupStationPage::AddOffset() {
  form_.BeginPanel(tr("Transverter"));
  offset_ = new QLineEdit;
  offset_->setPlaceholderText("0");
  connect(offset_, &QLineEdit::editingFinished, this, [this] {
    const QString typed = offset_->text().trimmed().isEmpty() ? QString("0") : offset_->text();
    if (typed.toStdString() == setup_.station().settings().offset) return;
    const Status kept = setup_.SetOffset(typed.toStdString());
    form_.Show(kept, tr("The rig is %1 kHz above the display").arg(typed.trimmed()));
    if (kept) offset_->setText(QString::fromStdString(setup_.station().settings().offset));
  });
  form_.AddRow(tr("&Frequency offset"), offset_,
               tr("kHz that the rig is above the display, as in -116000; Enter takes it"));
}

void SetupStationPage::Refresh() {
  const config::StationSettings& settings = setup_.station().settings();
  region_->setCurrentIndex(settings.band_plan - 1);
  clock_->setCurrentIndex(std::max(0, clock_->findData(setup_.gmt_hours())));
  const QSignalBlocker quiet(interval_);
  interval_->setValue(settings.poll_milliseconds);
  if (!offset_->hasFocus()) offset_->setText(QString::fromStdString(settings.offset));
}

}  // namespace kvx::console
