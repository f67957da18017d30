#pragma once

#include <QObject>

#include "console/station.h"

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
  Station& station_;
};

}  // namespace kvx::console
