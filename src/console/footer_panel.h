#pragma once

#include <vector>

#include "console/panel.h"
#include "widgets/announcement_label.h"
#include "widgets/appearance.h"

namespace kvx::console {

/// The foot of the console: what is connected, the announcement, where a scan is, the message area.
class FooterPanel final : public Panel {
 public:
  FooterPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;
  /// Has a screen reader read the last announcement once more.
  void RepeatAnnouncement() { announcement_->Repeat(); }

 private:
  void ShowPort();
  void ShowPolling();
  void ShowKeyer();
  void ShowScan();

  const widgets::Appearance& appearance_;
  QLabel* port_;
  widgets::LampButton* polling_;
  QLabel* keyer_;  ///< only where there is one
  widgets::AnnouncementLabel* announcement_;
  QLabel* scan_;  ///< only while the station scans
  QLabel* message_;
  Listeners::Following following_;
};

}  // namespace kvx::console
