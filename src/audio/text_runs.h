#pragma once

#include <string>
#include <vector>

namespace kvx::audio {

/// A run of decoded text of one look.
struct DecodedText {
  std::string text;
  bool corrected = false;  ///< put in place of what had been read: shown in light grey
  int erase = 0;           ///< so many characters before it are taken back first
};

/// What has been read, the latest of it: runs of one look each.
class TextRuns final {
 public:
  static constexpr std::size_t kMost = 20'000;  ///< characters

  void Append(DecodedText piece);
  void Clear() { runs_.clear(); }
  const std::vector<DecodedText>& runs() const { return runs_; }

 private:
  void Erase(int characters);
  void Bound();

  std::vector<DecodedText> runs_;
};

}  // namespace kvx::audio
