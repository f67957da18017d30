#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::keyer {

/// What a logging program that shares a WinKeyer has keyed by it, read from the bytes that it sends and from the
/// keyer's status. Without I/O.
class LoggerKeying {
 public:
  /// What some bytes did to the keyer that others use as well.
  struct Effect {
    bool cleared = false;             ///< it has dropped its text, whoever's that was
    std::optional<bool> opened = {};  ///< its host mode has been opened, or closed
  };
  /// Bytes that have been written, and will all have reached the keyer at `arrive`.
  Effect Take(std::string_view bytes, TimePoint arrive);
  /// The keyer has told that it is not sending.
  void Idle(TimePoint now);
  /// The keyer has been cleared, or is out of reach.
  void Clear() { *this = LoggerKeying(); }

  /// The transmitter may be keyed, or text may be in the keyer.
  bool keyed() const { return key_ || ptt_ || paddle_ || text_; }
  /// The key is down, or the software paddle closed, until the program ends that.
  bool holds_key() const { return key_ || paddle_; }
  /// So is the transmitter.
  bool holds() const { return holds_key() || ptt_; }
  /// Parameters that the latest command still lacks.
  std::size_t missing() const;
  /// When all of its bytes will have reached the keyer.
  TimePoint arrive() const { return arrive_; }
  /// What has to be released, the buffer and the key aside.
  std::string Release() const;

 private:
  void Do(std::string_view command, Effect& effect);

  std::string command_;  ///< begun
  bool key_ = false;
  bool ptt_ = false;
  bool paddle_ = false;  ///< the software paddle
  bool text_ = false;
  TimePoint arrive_{};
};

}  // namespace kvx::keyer
