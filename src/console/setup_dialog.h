#pragma once

#include <QDialog>
#include <QListWidget>
#include <QStackedWidget>
#include <functional>
#include <vector>

#include "console/station_setup.h"
#include "widgets/appearance.h"

namespace kvx::console {

class LocalTone;

/// The setup of the station: a list of pages, and the chosen one beside it. Not modal: the console goes on, and what is
/// changed here counts without a restart. Everything is borrowed.
class SetupDialog final : public QDialog {
  Q_OBJECT

 public:
  enum Page { kRig, kPort, kStation, kKeyer, kLinks, kAppearance, kAnnouncements };

  /// `tone` null: there is no local side tone.
  SetupDialog(StationSetup& setup, const widgets::Appearance& appearance, LocalTone* tone = nullptr,
              QWidget* parent = nullptr);

  /// Shows the dialog at a page, in front of the other windows.
  void Open(Page page);

  std::function<void()> on_use_simulated_rig;
  std::function<void()> on_edit_definition;
  std::function<void(const QString& sentence)> on_speak;

 protected:
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  /// A page is a widget with Refresh(), called when it is about to be shown, and Follow(Field). It scrolls as a whole.
  template <class PageWidget>
  PageWidget* AddPage(const QString& title, PageWidget* page);
  /// `shown` is the page itself where it scrolls for itself.
  template <class PageWidget>
  void Add(const QString& title, QWidget* shown, PageWidget* page);
  void FitList();
  void Fit();

  QListWidget* list_;
  QStackedWidget* pages_;
  std::vector<std::function<void()>> refresh_;
  std::vector<std::function<void(Field)>> follow_;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
