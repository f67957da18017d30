#pragma once

#include <functional>

#include "console/panel.h"
#include "widgets/announcement_label.h"
#include "widgets/appearance.h"

namespace kvx::console {

/// The foot of the console: what is connected, the links to a logger, the announcement, where a scan is, the message
/// area.
class FooterPanel final : public Panel {
 public:
  FooterPanel(Station& station, const widgets::Appearance& appearance);
  void Follow(Field field) override;
  /// Has a screen reader read the last announcement once more.
  void RepeatAnnouncement() { announcement_->Repeat(); }

  /// The operator wants a link on or off: the one to the logger or the skimmer, and the one from its keyer.
  std::function<void(bool on)> on_logger;
  std::function<void(bool on)> on_logger_keyer;
  std::function<void(bool on)> on_net;  ///< the NET rigctl server

 private:
  widgets::LampButton* MakeLink(const QString& text, const QString& name, const QString& tip, const char* keys);
  void ShowLink(widgets::LampButton* button, const QString& name, bool on, bool open, const std::string& state);
  void ShowLinks();
  void ShowNet();
  void ShowPort();
  void ShowPolling();
  void ShowMessage(const QString& text);
  void ShowKeyer();
  void ShowScan();

  const widgets::Appearance& appearance_;
  QLabel* port_;
  widgets::LampButton* polling_;
  QLabel* keyer_;  ///< only where there is one
  widgets::LampButton* logger_;
  widgets::LampButton* logger_keyer_;
  widgets::LampButton* net_;
  std::string net_shown_;  ///< the state that it shows
  QLabel* dde_;            ///< only while somebody is told
  widgets::AnnouncementLabel* announcement_;
  QLabel* scan_;  ///< only while the station scans
  widgets::ElidedLabel* message_;
  Listeners::Following following_;
};

}  // namespace kvx::console
