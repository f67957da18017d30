#pragma once

#include <QMainWindow>
#include <QPointer>
#include <functional>
#include <map>
#include <vector>

#include "console/escape_release.h"
#include "console/panel.h"
#include "console/station.h"
#include "console/window_places.h"
#include "widgets/appearance.h"
#include "widgets/tabular_label.h"

class QMenuBar;
class QMessageBox;
class QSlider;

namespace kvx::console {

class BandPanel;
class FooterPanel;
class ScreenPanel;

/// The main window: puts the panels together, has the menus and the keys that work everywhere, and opens the other
/// windows. Closing it asks the program to end.
class ConsoleWindow final : public QMainWindow {
  Q_OBJECT

 public:
  ConsoleWindow(Station& station, widgets::Appearance& appearance);

  /// Makes a window that the menu "Windows" opens. It is made at its first opening and kept. `places`: the file of the
  /// station folder that has its place.
  using Maker = std::function<QWidget*(QWidget* parent)>;
  void AddWindow(const QString& menu_text, const QKeySequence& keys, const QString& file_name, Maker maker,
                 const std::string& places = kPlacesFile);
  /// Opens the window of that file name ("setup"), or brings it to the front.
  QWidget* OpenWindow(const QString& file_name);
  QStringList window_names() const;
  /// A window with something to lose asks about it before the program ends, and calls `then` unless the operator
  /// cancels.
  using Question = std::function<void(std::function<void()> then)>;
  void AddQuestionBeforeEnd(Question question) { before_end_.push_back(std::move(question)); }

  /// Shows or hides the offer to use the simulated rig on a station where no rig is chosen.
  void OfferSimulatedRig(bool offer);
  /// Shows everything anew: stored colours or the band plan have changed.
  void Redraw() { ShowAll(); }
  /// Brings every open window back to its normal state and notes where this one is.
  void MaxAllForms();
  /// Closes every open window but this one.
  void UnloadStuff();

  std::function<void()> on_close;
  std::function<void()> on_use_simulated_rig;
  std::function<void(bool on)> on_logger;        ///< the link to the logger or the skimmer is wanted on or off
  std::function<void(bool on)> on_logger_keyer;  ///< the same of the one from its keyer
  std::function<void(bool on)> on_net;           ///< the same of the NET rigctl server

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct OtherWindow {
    QString file_name;
    Maker maker;
    std::string places;
    QPointer<QWidget> window;
  };
  static constexpr const char* kPlacesFile = "Windows.pos";

  QWidget* MakeCenter();
  QWidget* MakeOffer();
  QWidget* MakeTuningSlider();
  QWidget* MakeHeader();
  void MakeMenus();
  void MakeViewMenu();
  void MakeKeys();
  void AddKey(const QKeySequence& keys, const std::function<void()>& action);
  void ShowHelp();
  void Turn(int steps);
  void Follow(Field field);
  void ShowAll();
  void ShowClock();
  void ShowRig();
  void ShowTuningSlider();
  void ApplyAppearance();
  void FitText();
  void AskBeforeEnd(std::size_t first);
  void PutInPlace();
  void ReadPlaces(const std::string& file);
  void Restore(QWidget* window, const std::string& name, const std::string& file);
  void NotePlace(QWidget* window, const std::string& name, const std::string& file);
  void WritePlaces(const std::string& file);
  void KeepPlaceOf(const QObject* window);

  Station& station_;
  widgets::Appearance& appearance_;
  EscapeRelease escape_;
  std::vector<Panel*> panels_;
  ScreenPanel* screen_;
  BandPanel* band_;
  FooterPanel* footer_;
  QWidget* center_ = nullptr;
  QWidget* offer_;
  QSlider* tuning_;
  QLabel* rig_;
  widgets::TabularLabel* clock_;
  QMenuBar* menus_;
  QMenu* windows_menu_;
  QMenu* theme_menu_ = nullptr;
  QPointer<QMessageBox> help_;
  std::vector<OtherWindow> others_;
  std::vector<Question> before_end_;
  std::map<std::string, WindowPlaces> places_;  ///< by file
  int wheel_ = 0;                               ///< eighths of a degree that are not yet a notch
  Console::Subscription subscription_;
};

}  // namespace kvx::console
