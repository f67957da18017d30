#include "audio/setup_panels.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>

#include "widgets/color_map.h"
#include "widgets/qt_text.h"

namespace kvx::audio {
namespace {

using widgets::ToQt;
using widgets::WithRole;

constexpr int kGap = 6;

/// The rows of a panel: a caption above, then what a slider is set to beside the slider.
class Rows {
 public:
  Rows(QFrame* panel, ControlSet& controls, const QString& caption)
      : controls_(controls), grid_(new QGridLayout(panel)) {
    WithRole(panel, "panel");
    grid_->setColumnStretch(1, 1);
    grid_->setVerticalSpacing(5);
    AddWide(WithRole(new QLabel(caption), "caption"));
  }

  void AddWide(QWidget* widget) { grid_->addWidget(widget, row_++, 0, 1, 2); }
  void AddWide(QLayout* layout) { grid_->addLayout(layout, row_++, 0, 1, 2); }
  void AddTwo(QWidget* left, QWidget* right) {
    grid_->addWidget(left, row_, 0);
    grid_->addWidget(right, row_++, 1);
  }
  void AddSlider(const char* name, const QString& title, const QString& tip, const QString& text = {}) {
    AddTwo(controls_.Value(name, text), controls_.Slider(name, title, tip));
  }
  void AddLabelled(const QString& text, QWidget* widget) {
    auto* label = new QLabel(text);
    label->setBuddy(widget);
    AddTwo(label, widget);
  }
  void AddLabelled(const QString& text, QLayout* layout) {
    grid_->addWidget(new QLabel(text), row_, 0);
    grid_->addLayout(layout, row_++, 1);
  }

 private:
  ControlSet& controls_;
  QGridLayout* grid_;
  int row_ = 0;
};

}  // namespace

DisplayPanel::DisplayPanel(ControlSet& controls, QWidget* parent) : QFrame(parent) {
  Rows rows(this, controls, tr("DISPLAY"));
  rows.AddSlider("scrReflvl", tr("Reference level"), tr("The level at the upper edge of the spectrum"));
  rows.AddSlider("scrdBdiv", tr("Decibels a division"), tr("How much a division of the spectrum is"));
  auto* range = new QHBoxLayout;
  range->setSpacing(kGap);
  range->addWidget(controls.Line("txtFMin", tr("Lowest frequency"), tr("The lowest frequency that is shown, in Hz")));
  range->addWidget(new QLabel(tr("to")));
  range->addWidget(controls.Line("txtFMax", tr("Highest frequency"), tr("The highest frequency that is shown, in Hz")));
  rows.AddLabelled(tr("Hertz"), range);
  QStringList colors;
  for (const std::string_view name : widgets::ColorMapNames()) colors << ToQt(name);
  rows.AddLabelled(tr("Colours"),
                   controls.List("colors", tr("Colours of the waterfall"), tr("What levels are drawn in"), colors));
}

DrawingPanel::DrawingPanel(ControlSet& controls, QWidget* parent) : QFrame(parent) {
  Rows rows(this, controls, tr("DRAWING"));
  rows.AddSlider("scrGridBrightness", tr("Brightness of the grid"), tr("How bright the grid is"), tr("Grid %1"));
  rows.AddSlider("scrBckBrightness", tr("Brightness of the background"), tr("How bright the background is"),
                 tr("Ground %1"));
  rows.AddSlider("scrUpdateTime", tr("Time between pictures"), tr("How often the display is drawn anew"),
                 tr("Every %1 ms"));
  rows.AddWide(controls.Box("chkBW", tr("Black and white"), tr("Draws without colours")));
  rows.AddWide(controls.Box("chkSmall", tr("Small window"), tr("Only spectrum and waterfall")));
  rows.AddWide(controls.Box("chkOverWrite", tr("Overwrite"),
                            tr("The waterfall writes over itself below a moving line instead of scrolling")));
}

TracePanel::TracePanel(ControlSet& controls, QWidget* parent) : QFrame(parent) {
  Rows rows(this, controls, tr("TRACE"));
  auto* modes = new QHBoxLayout;
  modes->setSpacing(kGap);
  modes->addWidget(controls.Option("optNormal", TraceMode::kNormal, tr("Normal"), tr("Shows each spectrum as it is")));
  modes->addWidget(
      controls.Option("optMaxhold", TraceMode::kMaxHold, tr("Max"), tr("Keeps the highest level of each frequency")));
  modes->addWidget(
      controls.Option("optAverage", TraceMode::kAverage, tr("Avg"), tr("Shows the average of the last spectra")));
  rows.AddWide(modes);
  rows.AddSlider("scrAVG", tr("Averaging"), tr("Over how many spectra the average goes"));
  auto* store = controls.Button("cmdStore", tr("Keeps the trace as trace 2"));
  store->setText(tr("Store"));
  store->setAccessibleName(tr("Store"));
  rows.AddWide(store);
  rows.AddWide(controls.Button("cmdDisplaytrace", tr("Shows or hides trace 2"), &SpectrumSettings::trace2));
  rows.AddWide(
      controls.Button("cmdTracemath", tr("Shows trace 1 less trace 2, or trace 1"), &SpectrumSettings::trace_math));
  rows.AddSlider("scrT2Offset", tr("Offset of trace 2"), tr("Moves trace 2 up or down"));
}

DecoderPanel::DecoderPanel(ControlSet& controls, QWidget* parent) : QFrame(parent) {
  Rows rows(this, controls, tr("DECODER"));
  rows.AddSlider("CrossIt", tr("Marker"), tr("The tone that is decoded"), tr("Marker %1 Hz"));
  rows.AddSlider("CenterF", tr("Centre frequency"), tr("The centre of what the decoder hears"), tr("Centre %1 Hz"));
  rows.AddSlider("Thresh", tr("Threshold"), tr("What is a tone and what is none"), tr("Threshold %1"));
  rows.AddWide(controls.Box("AltSetup", tr("Alternative setup"),
                            tr("\"Decode CW\" sets 11025 samples a second and 128 bins, for slow computers")));
  rows.AddWide(controls.Box("SlowCPU", tr("Slow computer"), tr("Draws 15 pictures a second at the most")));
  rows.AddWide(controls.Box("SeperateCB", tr("Separate unknown characters"),
                            tr("Splits marks that are no character into two that are")));
  rows.AddWide(
      controls.Box("CompoundCB", tr("Keep compound characters"), tr("Keeps marks that are no character together")));
}

}  // namespace kvx::audio
