#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kvx::platform {

/// The platform's transaction types.
enum class DdeType : unsigned {
  kError = 0x8002,
  kAdviseRequest = 0x2022,
  kAdviseStart = 0x1030,
  kAdviseStop = 0x8040,
  kExecute = 0x4050,
  kConnect = 0x1062,
  kConnectConfirm = 0x8072,
  kTransactionComplete = 0x8080,
  kPoke = 0x4090,
  kRegister = 0x80A2,
  kRequest = 0x20B0,
  kDisconnect = 0x80C2,
  kUnregister = 0x80D2,
  kWildConnect = 0x20E2,
  kMonitor = 0x80F2,
};

inline constexpr unsigned kDdeText = 1;  ///< the format of all data: CF_TEXT

/// One transaction of a client. Its texts are in the one-byte code page of the platform.
struct DdeCall {
  DdeType type = DdeType::kError;
  unsigned format = kDdeText;
  std::string topic = {};
  std::string item = {};
  std::string data = {};  ///< of an execute and a poke: bounded, up to its first NUL
};

/// What a transaction is answered.
struct DdeAnswer {
  bool accepted = false;  ///< for those that ask for data: whether there is some
  std::string data = {};  ///< the block of data as the client gets it, NULs at its end included
};

/// How far the service has come.
enum class DdeService {
  kStopped,
  kStarting,
  kRegistered,     ///< clients find it
  kFound,          ///< another program has it already; it was not registered again
  kNotRegistered,  ///< the platform refuses the name
  kFailed,         ///< the platform's DDE cannot be used: tried again where that may help
  kMissing,        ///< missing() tells what
};

/// Dynamic Data Exchange as the platform has it, for one service with one topic. Engine thread only. Adapters: the
/// platform's DDE library on Windows; elsewhere a gateway program under Wine. Tests have a scripted one.
class DdeTransport {
 public:
  virtual ~DdeTransport() = default;
  /// Looks for the service and registers it when nobody has it, else stays a client of whoever has; on_service tells
  /// how that ended, perhaps during this call. `items`: the names of those that there are.
  virtual void Start(const std::string& service, const std::string& topic, const std::vector<std::string>& items) = 0;
  /// Of a service that was found elsewhere: registers it if that program has ended it meanwhile; on_service tells.
  virtual void TakeOver() = 0;
  /// Ends conversations and the service, and releases what Start took.
  virtual void Stop() = 0;
  /// Every advise link on the item asks for its data anew.
  virtual void PostAdvise(const std::string& item) = 0;
  /// Conversations under way.
  virtual int conversations() const = 0;
  /// What is missing for it here, in words; empty: nothing.
  virtual std::string missing() const = 0;
  /// Whether it needs nothing that is not there already, so that nobody has to ask for it.
  virtual bool is_at_hand() const = 0;

  std::function<DdeAnswer(const DdeCall& call)> on_call;
  std::function<void(DdeService service, const std::string& why)> on_service;
};

}  // namespace kvx::platform
