#pragma once

#include <optional>
#include <utility>

#include "core/console.h"

namespace kvx::cat {

/// One who can key the transmitter: the operator, or a program on a link.
using Party = int;
/// The operator, and whatever keys the transmitter from the console itself.
inline constexpr Party kOperator = 0;

/// Who has keyed the transmitter, kept in this one place. It is his until the release has been written, however long
/// that takes and whether he is still there; the operator may take it over at any time.
class Transmission final {
 public:
  explicit Transmission(const Console& console) : console_(console) {}
  Transmission(const Transmission&) = delete;
  Transmission& operator=(const Transmission&) = delete;

  Party NewParty() { return ++last_; }
  /// Nothing while the rig receives.
  std::optional<Party> owner() const { return *console_.Transmitting ? std::optional(owner_) : std::nullopt; }
  bool is_of(Party party) const { return owner() == party; }
  bool is_of_another(Party party) const { return owner().value_or(party) != party; }
  /// Bytes that key the transmitter have been written.
  void Keyed() { owner_ = keying_; }

  /// While it lives, what is sent is sent for that party.
  class For final {
   public:
    For(Transmission& transmission, Party party)
        : transmission_(transmission), before_(std::exchange(transmission.keying_, party)) {}
    ~For() { transmission_.keying_ = before_; }
    For(const For&) = delete;
    For& operator=(const For&) = delete;

   private:
    Transmission& transmission_;
    Party before_;
  };

 private:
  const Console& console_;
  Party owner_ = kOperator;
  Party keying_ = kOperator;
  Party last_ = kOperator;
};

}  // namespace kvx::cat
