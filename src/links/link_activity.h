#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvx::links {

/// What a link has lately been asked and what it answered, for display: bytes as they went, the beginnings of long
/// ones.
class LinkActivity {
 public:
  void Asked(std::string_view bytes, std::uint64_t commands = 1) {
    asked_ += commands;
    Keep(last_, bytes);
  }
  void Answered(std::string_view bytes) { Keep(answer_, bytes); }
  /// Something that was not understood or cannot be done.
  void Refused(std::string_view bytes) {
    ++refused_;
    Keep(last_refused_, bytes);
  }

  std::uint64_t asked() const { return asked_; }
  std::uint64_t refused() const { return refused_; }
  const std::string& last() const { return last_; }
  const std::string& answer() const { return answer_; }
  const std::string& last_refused() const { return last_refused_; }

 private:
  static constexpr std::size_t kKept = 80;
  static void Keep(std::string& kept, std::string_view bytes) { kept.assign(bytes.substr(0, kKept)); }

  std::uint64_t asked_ = 0;
  std::uint64_t refused_ = 0;
  std::string last_;
  std::string answer_;
  std::string last_refused_;
};

}  // namespace kvx::links
