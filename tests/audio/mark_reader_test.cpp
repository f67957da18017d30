#include "audio/mark_reader.h"

#include <gtest/gtest.h>

#include <vector>

#include "audio/morse_table.h"

namespace kvx::audio {
namespace {

constexpr double kD = 300;

/// What is on the screen after keying, with what stands there as corrected in braces. A dot, dash, blank and slash: a
/// tone of 100 ms, one of 300, and silence as between characters and as between words.
std::string Keyed(std::string_view keying, const CompoundOptions& options = {}) {
  const WordList words("CQ\r\nTHE\r\nTNX\nANT\n");
  MarkReader reader(words);
  std::string text;
  reader.options = options;
  reader.on_text = [&](const ReadText& read) {
    text.erase(text.size() - static_cast<std::size_t>(read.erase));
    text += read.corrected ? "{" + read.text + "}" : read.text;
  };
  reader.Expect(kD, 500);
  for (const char key : keying) {
    if (key == '.' || key == '-') {
      reader.Silence(100);
      reader.Tone(key == '.' ? 100 : 300, 0);
    } else {
      reader.Silence(key == ' ' ? 300 : 700);
    }
  }
  reader.Silence(10'000);
  return text;
}

TEST(MarkReader, DecidesBySharesOfTheLengthEstimate) {
  const WordList words("");
  std::string text;
  const auto read = [&](double tone, double gap) {
    MarkReader reader(words);
    text.clear();
    reader.on_text = [&](const ReadText& one) { text += one.text; };
    reader.Expect(kD, 500);
    reader.Tone(tone, 0);
    reader.Silence(gap);
    reader.Tone(100, 0);
    reader.Silence(400);
    return text;
  };
  EXPECT_EQ(read(0.7 * kD, 0.6 * kD), "N");        // a dash from there on; the character goes on
  EXPECT_EQ(read(0.7 * kD - 0.1, 0.6 * kD), "I");  // a dot below
  EXPECT_EQ(read(100, 0.6 * kD + 0.1), "EE");      // it has ended
  EXPECT_EQ(read(100, 500.1), "E E");              // and the word
}

TEST(MarkReader, ReadsEverySignOfTheTable) {
  for (const MorseSign& sign : MakeChar()) {
    const std::string wanted = sign.character == '(' ? "<KN>" : ShownText(sign.character);
    EXPECT_EQ(Keyed(sign.code), wanted + " ");
  }
}

TEST(MarkReader, CorrectsWordsAndSplitsWhatHasRunTogether) {
  const CompoundOptions split{.SeperateCB = true};
  const CompoundOptions keep{.CompoundCB = true};
  const CompoundOptions both{true, true};
  struct Case {
    std::string_view keying;
    CompoundOptions options;
    std::string_view text;
  };
  const std::vector<Case> cases{
      {"-.... ./- . .... .", {}, "{THE} TEHE "},        // 6E
      {"-.... .. ...", {}, "{THI}S "},                  // 6I
      {"-..../.", {}, "6 E "},                          // in two words
      {"- -.-..- .", {}, "TE "},                        // no sign: nothing
      {"- -.-..-", split, "TNX "},                      // NX goes on from T as a word does
      {"-.-.--.-", split, "CQ "},                       //
      {"-.-.--.-.", split, ""},                         // no word begins so
      {"-.-.--.-.", keep, "-.-.--.-. "},                //
      {"-.-.--.-/..........", both, "CQ .......... "},  //
      {"............................................", keep, "........................ "},
  };
  for (const Case& one : cases) EXPECT_EQ(Keyed(one.keying, one.options), one.text) << one.keying;
}

}  // namespace
}  // namespace kvx::audio
