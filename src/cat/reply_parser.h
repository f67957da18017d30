#pragma once

#include <functional>

#include "cat/reply.h"
#include "cat/rig_link.h"
#include "core/console.h"

namespace kvx::cat {

/// Takes apart what the rig sends: gathers it in the receive buffer, lets the family's parser read complete replies,
/// and hands on what they say.
class ReplyParser {
 public:
  ReplyParser(Loop& loop, Console& console, RigLink& link, const config::RigDefinition& rig, ArmedQueries& armed)
      : loop_(loop), console_(console), link_(link), rig_(rig), armed_(armed) {}

  /// Reads all waiting input and parses it.
  void Parse();
  /// Forgets queries whose reply is overdue. For a rig whose replies have no mark of their own, what lies in the buffer
  /// then is no reply either.
  void ForgetOverdue();
  /// Whether the buffer holds a piece of a reply whose rest may still be coming.
  bool reply_under_way() const;
  /// Forgets what has been asked and what has arrived: the line has been interrupted.
  void Forget();

  std::uint64_t replies_read() const { return replies_read_; }
  std::uint64_t refusals() const { return refusals_; }

  std::function<void(const Reply& reply)> on_reply;
  /// Input has come; `complete`: at least one whole reply was in it.
  std::function<void(bool complete)> on_input;

 private:
  Loop& loop_;
  Console& console_;
  RigLink& link_;
  const config::RigDefinition& rig_;
  ArmedQueries& armed_;
  std::vector<Reply> replies_;
  std::uint64_t replies_read_ = 0;
  std::uint64_t refusals_ = 0;
};

}  // namespace kvx::cat
