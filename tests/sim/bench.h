#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/hex_text.h"
#include "core/text.h"
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
  /// The same for a rig whose commands end in a carriage return; ";" stands for it here.
  std::string AskLine(std::string_view text) {
    return ReplaceAll(Ask(ReplaceAll(std::string(text), ";", "\r")), "\r", ";");
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

  using Way = std::string (Bench::*)(std::string_view);
  /// Asks and compares, exchange by exchange: "ID; > ID019; | TX0; >" and so on, over any number of lines.
  void Play(std::string_view script, Way ask = &Bench::Ask) {
    for (const std::string& exchange : Split(ReplaceAll(std::string(script), "\n", "|"), '|')) {
      const std::size_t arrow = exchange.find('>');
      if (arrow == std::string::npos) continue;
      const auto question = Trim(std::string_view(exchange).substr(0, arrow));
      EXPECT_EQ((this->*ask)(question), Trim(std::string_view(exchange).substr(arrow + 1))) << question;
    }
  }
  /// Each command gets the answer of a refusal and is counted; frequency and transmitter stay as they are.
  void ExpectRefused(const std::vector<std::string>& bad, std::string_view answer, Way ask = &Bench::Ask) {
    for (const std::string& command : bad) EXPECT_EQ((this->*ask)(command), answer) << command;
    EXPECT_EQ(State("refused"), std::to_string(bad.size()));
    EXPECT_EQ(State("a"), "14025000");
    EXPECT_EQ(State("tx"), "off");
  }

  VirtualLoop loop;
  std::unique_ptr<SimulatedDevice> rig;
  std::string sent;
  std::vector<std::string> complaints;
};

}  // namespace kvx::sim
