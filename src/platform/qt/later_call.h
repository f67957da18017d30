#pragma once

#include <QMetaObject>
#include <QObject>
#include <functional>
#include <utility>

namespace kvx::platform {

/// Calls an action from the event loop, after whatever is running now; several requests before that make one call. The
/// action may destroy this object.
class LaterCall {
 public:
  explicit LaterCall(std::function<void()> action) : action_(std::move(action)) {}

  void Request() {
    if (requested_) return;
    requested_ = true;
    const auto call = [this, round = round_] {
      if (round != round_) return;
      requested_ = false;
      const std::function<void()> action = action_;
      action();
    };
    QMetaObject::invokeMethod(&context_, call, Qt::QueuedConnection);
  }
  /// Takes a request back.
  void Cancel() {
    ++round_;
    requested_ = false;
  }

 private:
  std::function<void()> action_;
  QObject context_;
  unsigned round_ = 0;
  bool requested_ = false;
};

}  // namespace kvx::platform
