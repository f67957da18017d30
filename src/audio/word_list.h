#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::audio {

/// The words of dict.txt, one to a line.
class WordList final {
 public:
  explicit WordList(std::string_view lines);

  /// Whether a word of the list begins so.
  bool HasBeginning(std::string_view letters) const;

 private:
  std::vector<std::string> words_;  ///< sorted
};

}  // namespace kvx::audio
