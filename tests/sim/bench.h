#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/hex_text.h"
#include "fakes/virtual_loop.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// One simulated rig on a test bench.
struct Bench {
  explicit Bench(std::string_view name) : rig(MakeDevice(name, loop)) {
    rig->send = [this](std::string_view bytes) { sent += bytes; };
    rig->complain = [this](const std::string& line) { complaints.push_back(line); };
  }
  /// What the rig has sent since the last time.
  std::string Sent() { return std::exchange(sent, {}); }
  /// What the rig sends on a text.
  std::string Ask(std::string_view text) {
    rig->Receive(text);
    return Sent();
  }
  /// The same in spaced pairs of hexadecimal digits.
  std::string AskHex(std::string_view pairs) {
    std::string digits(pairs);
    std::erase(digits, ' ');
    return SpacedHex(Ask(BytesFromHex(digits).value()));
  }
  /// The value of one word of the state line.
  std::string State(std::string_view word) {
    const std::string line = rig->Operate("state") + " ";
    const std::size_t at = line.find(" " + std::string(word) + "=");
    if (at == std::string::npos) return "no " + std::string(word);
    const std::size_t begin = line.find('=', at) + 1;
    return line.substr(begin, line.find(' ', begin) - begin);
  }

  VirtualLoop loop;
  std::unique_ptr<SimulatedDevice> rig;
  std::string sent;
  std::vector<std::string> complaints;
};

}  // namespace kvx::sim
