#pragma once

#include <functional>
#include <string>

#include "audio/cw_decoder.h"
#include "audio/word_list.h"

namespace kvx::audio {

/// What becomes of marks that make no sign of the table, under the names of their check boxes. Neither: nothing.
struct CompoundOptions {
  bool SeperateCB = false;  ///< split into signs with which the word begins as one of the list
  bool CompoundCB = false;  ///< what is not split is kept: its dots and dashes are written
};

/// Reads text from the lengths of tones and silences, against one length: a dash's, or about three dots'.
class MarkReader final {
 public:
  /// `words` outlives the reader.
  explicit MarkReader(const WordList& words) : words_(words) {}

  CompoundOptions options;
  std::function<void(const ReadText&)> on_text;

  /// Sets the length estimate D and the word-gap limit, both in milliseconds.
  void Expect(double d, double word_gap);
  /// The same, taken over when the present character ends.
  void ExpectNext(double d, double word_gap);
  double D() const { return d_; }

  /// A tone has ended, `seconds` after the first sample.
  void Tone(double milliseconds, double seconds);
  /// There has been silence so long since the last tone, and still is or has just ended.
  void Silence(double milliseconds);

 private:
  void DECode();
  void Write(char character);
  bool Split(const std::string& marks);
  void Correct();
  void Emit(ReadText text);

  const WordList& words_;
  double d_ = 0;
  double word_gap_ = 0;
  double next_d_ = 0;
  double next_word_gap_ = 0;
  double seconds_ = 0;  ///< the end of the last tone
  std::string marks_;   ///< of the character that is being received
  std::string word_;    ///< characters of the table since the last blank
  bool blank_ = true;   ///< whether the last character was one
};

}  // namespace kvx::audio
