#pragma once

#include <QCheckBox>
#include <functional>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// Spoken announcements: on or off, and a sentence to try them with.
class SetupSpeechPage final : public QWidget {
  Q_OBJECT

 public:
  explicit SetupSpeechPage(StationSetup& setup);

  void Refresh();
  void Follow(Field field);

  std::function<void(const QString& sentence)> on_speak;

 private:
  void SaySomething();

  StationSetup& setup_;
  SetupForm form_;
  QCheckBox* on_ = nullptr;
};

}  // namespace kvx::console
