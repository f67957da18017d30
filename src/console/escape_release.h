#pragma once

#include <QObject>
#include <cstdint>

#include "console/station.h"

class QKeyEvent;

namespace kvx::console {

/// Stops all transmitting by Escape in every window, box and menu of the program, whatever else Escape does there.
class EscapeRelease final : public QObject {
  Q_OBJECT

 public:
  explicit EscapeRelease(Station& station);
  /// Stops CW text and tuning and releases the rig if the console has keyed it, and tells the operator when that cannot
  /// be done.
  void Release();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool IsNew(const QKeyEvent& event);

  Station& station_;
  std::uint64_t pressed_at_ = 0;  ///< the system's time of the latest press
};

}  // namespace kvx::console
