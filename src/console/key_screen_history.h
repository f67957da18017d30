#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"

namespace kvx::console {

/// What has been sent, as the send window lists it: one text after the other, the newest last. An operator who types
/// more slowly than it is sent makes short pauses; they do not end a text.
class KeyHistory {
 public:
  static constexpr std::size_t kMost = 100;
  static constexpr Duration kPause{2'000'000'000};

  /// The latest sent symbols as text, of which only the end is kept, and how many have been sent since the start.
  void Take(std::string_view sent, std::uint64_t begun, bool sending, TimePoint now);
  void Remove(std::size_t index);
  const std::vector<std::string>& texts() const { return texts_; }

 private:
  std::string seen_;
  std::uint64_t begun_ = 0;
  bool open_ = false;  ///< the last text goes on
  bool sending_ = false;
  TimePoint ended_{};
  std::string text_;  ///< the last one, with its blanks
  std::vector<std::string> texts_;
};

/// What has been appended to a text of which only the end is kept: the shortest that has `least` characters and more.
std::string_view Appended(std::string_view before, std::string_view now, std::size_t least);

}  // namespace kvx::console
