#include "console/band_panel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

#include "core/text.h"

namespace kvx::console {
namespace {

/// The band buttons from left to right.
constexpr std::array kBandButtons{160, 80, 60, 40, 30, 20, 17, 15, 12, 10, 6, 2, 220, 440, 35};

QString BandCaption(int number) {
  return QString::number(number == 35 ? 902 : number);
}

widgets::ChartSegment::Color ColorOf(cat::BandUse use) {
  using Color = widgets::ChartSegment::Color;
  switch (use) {
    case cat::BandUse::kCw:
      return Color::kCw;
    case cat::BandUse::kData:
      return Color::kData;
    case cat::BandUse::kPhone:
      return Color::kPhone;
    case cat::BandUse::kMixed:
      return Color::kMixed;
    default:
      return Color::kSpecial;
  }
}

}  // namespace

BandPanel::BandPanel(Station& station, const widgets::Appearance& appearance) : Panel(station, "plain") {
  static_assert(kBandButtons.size() == kButtons);
  chart_ = new widgets::BandChart(appearance);
  chart_->on_tune = [this](Frequency frequency) { Report(station_.engine.operations.TuneTo(frequency)); };
  const int gap = fontMetrics().height() / 3;
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(2 * gap);
  auto* row = new QHBoxLayout;
  row->setSpacing(gap);
  for (std::size_t i = 0; i < kButtons; ++i) {
    const int number = kBandButtons[i];
    const QString unit = number > 160 || number == 35 ? tr("MHz") : tr("metres");
    bands_[i] = new widgets::LampButton(BandCaption(number), tr("Band %1 %2").arg(BandCaption(number), unit));
    connect(bands_[i], &QPushButton::clicked, this, [this, number] { Report(*station_.bands.PressBand(number)); });
    row->addWidget(bands_[i]);
  }
  column->addWidget(chart_, 1);
  column->addLayout(row);
}

void BandPanel::PressNeighbour(int places) {
  const auto lit = std::find(kBandButtons.begin(), kBandButtons.end(), *station_.console.BandNumber);
  const auto count = static_cast<std::ptrdiff_t>(kButtons);
  const std::ptrdiff_t at = lit == kBandButtons.end() ? 0 : lit - kBandButtons.begin();
  bands_[static_cast<std::size_t>((at + places + count) % count)]->click();
}

void BandPanel::Follow(Field field) {
  switch (field) {
    case Field::kFreqDisp:
      return chart_->SetCursor(*station_.console.FreqDisp);
    case Field::kFromF:
    case Field::kToF:
    case Field::kBandPlan:
      return ChartLines();
    case Field::kBandNumber:
      return ShowBand();
    default:
      return;
  }
}

void BandPanel::ChartLines() {
  const Frequency from = *station_.console.FromF;
  const Frequency to = *station_.console.ToF;
  std::vector<widgets::ChartSegment> segments;
  const auto add = [&](const std::vector<cat::BandPlan::Segment>& found) {
    for (const cat::BandPlan::Segment& segment : found) {
      segments.push_back({segment.from, segment.to, ColorOf(segment.use), ToQt(segment.text), segment.note});
    }
  };
  add(station_.bands.plan().Between(from, to));
  add(station_.bands.plan().NotesBetween(from, to));
  chart_->ChartLines(from, to, std::move(segments));
}

void BandPanel::ShowBand() {
  for (std::size_t i = 0; i < kButtons; ++i) bands_[i]->SetLit(kBandButtons[i] == *station_.console.BandNumber);
}

}  // namespace kvx::console
