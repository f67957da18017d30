#pragma once

#include <cstdint>

#include "platform/dde_transport.h"

namespace kvx::platform {

/// DDE on Windows itself, by the platform's DDE library. It calls back from the message loop of the thread that has
/// started it. One at a time: the library's callback knows no owner.
class DdeLibrary final : public DdeTransport {
 public:
  DdeLibrary() = default;
  DdeLibrary(const DdeLibrary&) = delete;
  DdeLibrary& operator=(const DdeLibrary&) = delete;
  ~DdeLibrary() override;

  void Start(const std::string& service, const std::string& topic, const std::vector<std::string>& items) override;
  void TakeOver() override;
  void Stop() override;
  void PostAdvise(const std::string& item) override;
  int conversations() const override { return conversations_; }
  std::string missing() const override { return {}; }
  bool is_at_hand() const override { return true; }

 private:
  struct Callback;  ///< what the library calls
  void Tell(DdeService service, const std::string& why);
  void Register();

  std::uint32_t instance_ = 0;
  std::uint32_t posting_instance_ = 0;
  void* service_ = nullptr;  ///< a string handle of the library, as the next
  void* topic_ = nullptr;
  void* found_ = nullptr;  ///< the conversation with a program that has the service already
  bool registered_ = false;
  int conversations_ = 0;
};

}  // namespace kvx::platform
