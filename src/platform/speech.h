#pragma once

#include <functional>
#include <string>

namespace kvx::platform {

/// A voice that reads sentences aloud, one after the other.
class Speech {
 public:
  virtual ~Speech() = default;
  /// Speaks a sentence when those before it are through. One of the same topic that is still waiting or being spoken is
  /// out of date and is dropped.
  virtual void Say(int topic, const std::string& sentence) = 0;
  /// Silence at once.
  virtual void Stop() = 0;
  /// False once it is known that there is no voice: Say does nothing then.
  virtual bool available() const = 0;

  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator, once, when there is no voice
};

}  // namespace kvx::platform
