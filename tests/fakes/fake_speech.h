#pragma once

#include <string>
#include <vector>

#include "platform/speech.h"

namespace kvx {

/// A voice that writes down what it is given.
class FakeSpeech final : public platform::Speech {
 public:
  void Say(int, const std::string& sentence) override { said.push_back(sentence); }
  void Stop() override { ++stops; }
  bool available() const override { return true; }

  std::vector<std::string> said;
  int stops = 0;
};

}  // namespace kvx
