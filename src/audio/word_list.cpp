#include "audio/word_list.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr const char* kWordFile = "dict.txt";

}  // namespace

Result<std::string> ReadWordFile(const platform::Files& files, const platform::Path& station,
                                 const platform::Path& shipped) {
  auto words = files.Read(station / kWordFile);
  if (words || words.error().code != ErrorCode::kNotFound) return words;
  return files.Read(shipped / kWordFile);
}

WordList::WordList(std::string_view lines) {
  for (const std::string& line : Split(lines, '\n')) {
    const std::string plain = ReplaceAll(line, "\r", "");
    if (const std::string_view word = Trim(plain); !word.empty()) words_.push_back(Upper(word));
  }
  std::sort(words_.begin(), words_.end());
}

bool WordList::HasBeginning(std::string_view letters) const {
  const auto found = std::lower_bound(words_.begin(), words_.end(), letters);
  return found != words_.end() && found->starts_with(letters);
}

}  // namespace kvx::audio
