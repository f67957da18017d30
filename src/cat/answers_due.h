#pragma once

#include "core/loop.h"

namespace kvx::cat {

/// What the rig still owes of the queries of the poll, and how long it takes for an answer. A rig that is asked faster
/// than it answers would answer later and later, and so would every command behind the queries be late.
class AnswersDue {
 public:
  void Asked(TimePoint now);
  /// A reply has come that may be one of the answers.
  void Arrived(TimePoint now);
  /// It was one of the answers.
  void Answered();
  /// Whether an answer may still be coming. One of a rig that has been silent since it was asked is waited for as long
  /// as answers have taken so far.
  bool Awaited(TimePoint now) const;
  void Forget() { *this = {}; }

 private:
  int due_ = 0;
  bool heard_ = false;  ///< something has come while answers are due
  TimePoint first_{};   ///< when the first of them was asked for
  TimePoint last_{};    ///< when the last one was, or when something was heard since
  Duration slowest_{0};
  Duration usual_{0};  ///< the slowest of the last answers that came
};

}  // namespace kvx::cat
