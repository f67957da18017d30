#pragma once

#include <QButtonGroup>
#include <QSlider>
#include <QSpinBox>

#include "console/setup_form.h"
#include "console/station_setup.h"
#include "console/theme_tile.h"

namespace kvx::console {

/// Theme, text size and the two stored colours. Each counts at once, in every window.
class SetupAppearancePage final : public QWidget {
  Q_OBJECT

 public:
  SetupAppearancePage(StationSetup& setup, const widgets::Appearance& appearance);

  void Refresh();
  void Follow(Field field);

 private:
  void AddThemes(const widgets::Appearance& appearance);
  void AddTextSize();
  void AddColors();
  void SetTextSize(int percent);
  void ChooseColor(ScreenPart part);
  void ShowColors();

  StationSetup& setup_;
  SetupForm form_;
  QButtonGroup* themes_;
  QSlider* size_slider_ = nullptr;
  QSpinBox* size_box_ = nullptr;
  QPushButton* body_ = nullptr;
  QPushButton* screen_ = nullptr;
};

}  // namespace kvx::console
