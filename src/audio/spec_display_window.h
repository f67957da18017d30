#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>
#include <vector>

#include "audio/audio_analysis.h"
#include "audio/control_set.h"
#include "widgets/appearance.h"
#include "widgets/drawing_budget.h"

QT_BEGIN_NAMESPACE
class QComboBox;
class QLabel;
class QPushButton;
QT_END_NAMESPACE

namespace kvx::widgets {
class ScopeView;
class SpectrumView;
class TonePointer;
class WaterfallView;
}  // namespace kvx::widgets

namespace kvx::audio {

class DecodedTextBox;
class SignalList;

/// The audio window: spectrum, waterfall and oscilloscope of the receiver's audio, the signals in it, what the decoder
/// reads, and the setup of all that. Capture begins when it is opened and ends when it is closed, unless it was going
/// on before. Draws as often as there is time for; what is not drawn has been processed all the same.
class SpecDisplay final : public QMainWindow {
  Q_OBJECT

 public:
  /// `folder`: where recordings and pictures go.
  SpecDisplay(AudioAnalysis& audio, const QString& folder, const widgets::Appearance& appearance,
              QWidget* parent = nullptr);

  /// Saves a picture of spectrum and waterfall, or begins or ends a recording; the line below tells its name.
  void SavePicture();
  void Record();

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QWidget* MakeBar();
  QWidget* MakeButtons();
  QWidget* MakeLists();
  QWidget* MakeDisplays();
  QWidget* MakeSetup();
  QWidget* MakeState();
  void Listen(widgets::TonePointer& pointer);
  void Follow();
  void TakeFrame();
  void DrawSoon();
  void Draw();
  void DrawTraces();
  void ShowSettings();
  void ShowSources();
  void ShowSmall();
  void FitSide();
  void ShowText();
  void ShowCounts();
  void PointAt(double hertz, double reach);
  void Zoom(double from, double to);
  void ChooseSource(int index);
  void Tell(const Status& status);
  void ShowMessage(const QString& message, const char* role);
  QString NewFile(const QString& kind, const QString& ending) const;

  AudioAnalysis& audio_;
  const QString folder_;
  const widgets::Appearance& appearance_;
  ControlSet controls_;
  widgets::SpectrumView* spectrum_;
  widgets::WaterfallView* waterfall_;
  widgets::ScopeView* scope_;
  SignalList* signals_;
  DecodedTextBox* text_;
  QWidget* side_ = nullptr;
  QWidget* setup_ = nullptr;
  QWidget* lists_ = nullptr;
  QPushButton* record_ = nullptr;
  QComboBox* source_ = nullptr;
  QLabel* message_ = nullptr;
  QLabel* counts_ = nullptr;
  QTimer draw_timer_;
  QTimer count_timer_;
  QElapsedTimer clock_;
  widgets::DrawingBudget budget_;
  SpectrumFrame frame_;  ///< that is displayed
  bool undrawn_ = false;
  bool started_ = false;  ///< capture, by this window
  QElapsedTimer sources_age_;
  bool sources_stale_ = false;
  std::string sources_of_;  ///< the source when they were listed
  QSize usual_size_;        ///< before it was made small
  Listeners::Following following_changes_;
  Listeners::Following following_frames_;
  Listeners::Following following_text_;
};

}  // namespace kvx::audio
