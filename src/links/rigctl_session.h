#pragma once

#include <string>
#include <string_view>

#include "links/rigctl_commands.h"
#include "links/rigctl_rig.h"

namespace kvx::links {

/// One NET rigctl client: its bytes in, the answers to them out. Commands are lines; several may stand on one line, by
/// their letter or, behind a backslash, by their long name. Bounded whatever comes: a line is cut off at 1 KB and
/// answered once.
class RigctlSession {
 public:
  RigctlSession(Loop& loop, Console& console, cat::Engine& engine, RigctlRig& rig);
  ~RigctlSession();
  RigctlSession(const RigctlSession&) = delete;
  RigctlSession& operator=(const RigctlSession&) = delete;

  /// What has arrived.
  void Take(std::string_view bytes) { input_ += bytes; }
  /// Carries out whole lines until there is no further one, or the answers have `enough` bytes. A web page's request
  /// ends the session: what stands in it was not meant for a rig.
  std::string Answer(std::size_t enough);
  /// Whether a whole line waits.
  bool has_line() const { return input_.find('\n', taken_) != std::string::npos; }
  /// The client has said that it ends: nothing more is taken from it.
  bool ended() const { return client_.ended; }
  /// Stops whatever the client transmits.
  void StopTransmitting() { rig_.Leave(client_); }
  /// What was meant for the rig before is not sent to another one.
  void Forget() { client_.waiting.Forget(); }

 private:
  void Execute(std::string_view line, std::string& out);
  bool ExecuteFirst(std::string_view& line, std::string& out);
  void Run(const RigctlCommand& command, char separator, std::string_view& line, std::string& out);

  RigctlRig& rig_;
  RigctlClient client_;
  std::string input_;
  std::size_t taken_ = 0;  ///< of input_
  bool skipping_ = false;  ///< the rest of a line that was too long
  bool greeted_ = false;   ///< the first line is behind
};

}  // namespace kvx::links
