#pragma once

#include <string>
#include <string_view>

namespace kvx::links {

/// The result codes of the protocol, as "RPRT" has them.
enum class Rprt {
  kOk = 0,
  kInvalid = -1,
  kNotImplemented = -4,
  kIo = -6,        ///< the rig cannot be reached
  kRejected = -9,  ///< not now, or not for this client
  kNotAvailable = -11,
};

/// The answer to one command, appended to what its client is sent. Ordinary answers are values alone, one a line, or
/// "RPRT n" where there is none or something went wrong. Extended ones repeat the command, name each value and end in
/// "RPRT n" always:
///
///     f       14025000                                   +f      get_freq:
///     F 0     RPRT -1                                            Frequency: 14025000
///                                                                RPRT 0
class RigctlReply {
 public:
  /// `separator`: what stands between the parts of an extended answer; '\0' for an ordinary one.
  RigctlReply(std::string& out, char separator) : out_(out), begin_(out.size()), separator_(separator) {}

  /// Before everything else. `arguments` as the client sent them.
  void Begin(std::string_view command, std::string_view arguments);
  /// A value; one without a name stands alone in both forms.
  void Value(std::string_view name, std::string_view value);
  void Value(std::string_view name, long long value) { Value(name, std::to_string(value)); }
  /// Whole lines of an answer that has its own form.
  void Lines(std::string_view lines) { out_ += lines; }
  /// `tells`: an ordinary answer that went well is its values alone.
  void End(Rprt code, bool tells);
  bool extended() const { return separator_ != '\0'; }

 private:
  std::string& out_;
  std::size_t begin_;  ///< where this answer's values begin
  char separator_;
};

}  // namespace kvx::links
