#pragma once

#include <string>
#include <vector>

#include "platform/dde_transport.h"

namespace kvx {

/// A platform's DDE with one advise link on every item: asks for the data of each post, as the library does.
class FakeDde final : public platform::DdeTransport {
 public:
  void Start(const std::string& service, const std::string& topic, const std::vector<std::string>&) override {
    log.push_back("start " + service + " " + topic);
    if (on_service) on_service(outcome, why);
  }
  void TakeOver() override {
    log.push_back("take over");
    if (on_service) on_service(outcome, why);
  }
  void Stop() override { log.push_back("stop"); }
  void PostAdvise(const std::string& item) override {
    const platform::DdeAnswer answer = on_call({.type = platform::DdeType::kAdviseRequest, .item = item});
    posted.push_back(item + " " + (answer.accepted ? answer.data.c_str() : "-"));
  }
  int conversations() const override { return 1; }
  std::string missing() const override { return lacking; }
  bool is_at_hand() const override { return at_hand; }

  platform::DdeService outcome = platform::DdeService::kRegistered;
  std::string why;
  std::string lacking;
  bool at_hand = true;
  std::vector<std::string> log;
  std::vector<std::string> posted;
};

}  // namespace kvx
