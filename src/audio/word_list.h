#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace kvx::audio {

/// The text of dict.txt: the station's own, else the shipped one. An error names the file.
Result<std::string> ReadWordFile(const platform::Files& files, const platform::Path& station,
                                 const platform::Path& shipped);

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
