#pragma once

#include <string>

#include "platform/release_guard.h"

namespace kvx {

/// What would be written if the program ended now, and for how long nothing is done about it.
class FakeReleaseGuard final : public platform::ReleaseGuard {
 public:
  void Arm(std::string_view bytes) override {
    armed = bytes;
    limit = {};
  }
  void ReleaseAfter(Duration after) override { limit = after; }
  void Disarm() override { Arm({}); }

  std::string armed;
  Duration limit{0};
};

}  // namespace kvx
