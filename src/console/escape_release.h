#pragma once

#include <QObject>

#include "console/station.h"

namespace kvx::console {

/// Releases the transmitter by Escape in every window, box and menu of the program, whatever else Escape does there.
class EscapeRelease final : public QObject {
  Q_OBJECT

 public:
  explicit EscapeRelease(Station& station);
  /// Releases it if the console has keyed it, and tells the operator when that cannot be done.
  void Release();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  Station& station_;
};

}  // namespace kvx::console
