#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::audio {

/// Whether a word is built like a callsign, with what may stand before and after a slash: "OH2ABC", "DL/SM6XYZ/P".
bool LooksLikeCallsign(std::string_view word);

/// Picks callsigns out of text as it is read. One that was read for certain counts at once; else it has to be told as
/// one ("DE", "CQ") or to come again.
class CallsignPicker final {
 public:
  /// The next piece of text (a character, a prosign, a blank) and how sure it is, 0..1.
  void Add(std::string_view text, double confidence);
  /// The word that is being read has ended.
  void EndWord();
  /// The latest last, as many as kMost.
  const std::vector<std::string>& callsigns() const { return callsigns_; }

  static constexpr std::size_t kMost = 20;

 private:
  struct Candidate {
    std::string word;
    double weight = 0;
  };
  void Consider(const std::string& word, double weight);

  std::string word_;
  double least_confidence_ = 1;
  int since_call_ = 100;  ///< words since one that calls attention to a callsign
  std::vector<Candidate> candidates_;
  std::vector<std::string> callsigns_;
};

}  // namespace kvx::audio
