// How many characters a decoder gets wrong, on the station's own receiver audio. Figures: docs/performance.md.
//
//     kvx_decode DECODER [SECONDS [ROUNDS [COLUMN]]]    classic, best, or multimon-ng for the program of that name on
//     the same audio; texts of SECONDS a speed, ROUNDS of them; with COLUMN shows what was read

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "audio/best_decoder.h"
#include "audio/character_error_rate.h"
#include "audio/classic_decoder.h"
#include "platform/samples.h"
#include "sim/receiver_audio.h"

namespace kvx {
namespace {

constexpr int kRate = 8000;
constexpr int kPeerRate = 22050;  // what multimon-ng wants
constexpr std::array kSpeeds{5.0, 12.0, 18.0, 25.0, 35.0, 45.0};
constexpr double kClean = std::numeric_limits<double>::infinity();
constexpr double kFarthestHint = 50;  // Hz
constexpr double kNoiseSeconds = 300;

double SecondsOfPrograms() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What the audio is like; texts of a column stay the same from run to run.
struct Column {
  const char* name;
  double snr_db = kClean;
  double jitter = 0;
  double fade_db = 0;
  bool neighbour = false;
  double impulses = 0;
};

constexpr std::array kColumns{
    Column{"clean"},
    Column{"+3 dB", 3},
    Column{"0 dB", 0},
    Column{"-3 dB", -3},
    Column{"-6 dB", -6},
    Column{"-9 dB", -9},
    Column{"hand 10 %", 20, 0.1},
    Column{"hand 20 %", 20, 0.2},
    Column{"fading", 10, 0, 15},
    Column{"neighbour", kClean, 0, 0, true},
    Column{"impulses", 10, 0, 0, false, 10},
};

/// A text for a speed: words, most of them in the decoders' list, and as much that is in none.
std::string TextOf(double seconds, double wpm, std::uint32_t seed) {
  static constexpr std::array kWords{"CQ",   "TEST",  "DE",   "THE",     "UR",        "599",     "TU",     "WX",
                                     "IS",   "SUNNY", "OP",   "QTH",     "NR",        "AT",      "METERS", "AND",
                                     "HERE", "FINE",  "QRZ?", "PSE",     "OVERNIGHT", "JUMPING", "ZEBRA",  "VOYAGE",
                                     "K",    "TNX",   "FER",  "HARBOUR", "WATTS",     "QUARTZ",  "MEADOW", "COFFEE",
                                     "TEMP", "PWR",   "100",  "RIG"};
  std::mt19937 random(seed);
  const auto draw = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
  const auto some = [&](char first, std::size_t kinds, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += static_cast<char>(first + static_cast<char>(draw(kinds)));
    return text;
  };
  std::string text;
  while (static_cast<double>(text.size()) < seconds * wpm / 12) {
    const std::size_t kind = draw(10);
    if (!text.empty()) text += ' ';
    if (kind < 6) {
      text += kWords[draw(kWords.size())];
    } else if (kind < 8) {
      text += some('A', 26, 2) + some('0', 10, 1) + some('A', 26, 3);
    } else {
      text += kind == 8 ? some('0', 10, 4) : some('A', 26, 5);
    }
  }
  return text;
}

struct Score {
  std::size_t sent = 0;
  std::size_t wrong = 0;
  double seconds = 0;
  double spent = 0;

  double percent() const { return 100.0 * static_cast<double>(wrong) / static_cast<double>(sent); }
  void Add(const Score& other) {
    sent += other.sent;
    wrong += other.wrong;
    seconds += other.seconds;
    spent += other.spent;
  }
};

class Measurement {
 public:
  Measurement(std::string_view decoder, double seconds, int rounds, bool verbose)
      : decoder_(decoder),
        rate_(decoder == "multimon-ng" ? kPeerRate : kRate),
        seconds_(seconds),
        rounds_(rounds),
        verbose_(verbose) {
    std::ifstream file(std::string(KVX_DATA) + "/dict.txt");
    const std::string words(std::istreambuf_iterator<char>(file), {});
    letters_ = std::make_unique<audio::LetterModel>(words);
    words_ = std::make_unique<audio::WordList>(words);
  }

  /// One line of the table.
  Score Measure(const Column& column, std::uint32_t seed) const {
    Score all;
    std::printf("%-10s", column.name);
    for (const double wpm : kSpeeds) {
      Score one;
      for (int round = 0; round < rounds_; ++round) {
        one.Add(MeasureText(column, wpm, seed + static_cast<std::uint32_t>(wpm + 50 * round)));
      }
      std::printf(" %6.2f", one.percent());
      all.Add(one);
    }
    std::printf(" | %6.2f %% of %zu, %.0f times real time\n", all.percent(), all.sent, all.seconds / all.spent);
    std::fflush(stdout);
    return all;
  }

  void MeasureNoise() const {
    sim::ReceiverAudio audio({.samples_per_second = rate_, .snr_db = 0, .seed = 77}, {});
    const double seconds = kNoiseSeconds * rounds_;
    Score score;
    const std::string read = Read(audio.RenderSeconds(seconds), 700, score);
    std::printf("noise alone: %zu characters in %.0f minutes, %.0f times real time\n", read.size(), seconds / 60,
                seconds / score.spent);
  }

 private:
  Score MeasureText(const Column& column, double wpm, std::uint32_t seed) const {
    std::mt19937 random(seed);
    const auto between = [&](double low, double high) { return low + (high - low) * random() / 4'294'967'296.0; };
    const double hertz = between(500, 900);
    const std::string text = TextOf(seconds_, wpm, seed);
    std::vector<sim::HeardStation> stations{{.text = text,
                                             .wpm = wpm,
                                             .hertz = hertz,
                                             .jitter = column.jitter,
                                             .fade_hertz = 0.2,
                                             .fade_db = column.fade_db,
                                             .start = 0.5}};
    if (column.neighbour) {
      stations.push_back(
          {.text = TextOf(seconds_, 22, seed + 1), .wpm = 22, .hertz = hertz + (seed % 2 == 0 ? 250 : -250)});
    }
    sim::ReceiverAudio audio(
        {.samples_per_second = rate_, .snr_db = column.snr_db, .impulses_per_second = column.impulses, .seed = seed},
        stations);
    Score score{.sent = text.size(), .seconds = audio.Length()};
    const double hint = hertz + between(-kFarthestHint, kFarthestHint);
    const std::string read = Read(audio.RenderSeconds(audio.Length()), hint, score);
    score.wrong = audio::EditDistance(text, read);
    if (verbose_) std::printf("\n  %.0f wpm\n    %s\n    %s\n", wpm, text.c_str(), read.c_str());
    return score;
  }

  std::string Read(std::span<const float> samples, double hint, Score& score) const {
    if (rate_ == kPeerRate) return ReadByPeer(samples, score);
    const std::clock_t began = std::clock();
    std::unique_ptr<audio::CwDecoder> decoder;
    if (decoder_ == "classic") {
      decoder = std::make_unique<audio::ClassicDecoder>(kRate, hint, *words_);
    } else {
      decoder = std::make_unique<audio::BestDecoder>(kRate, hint, *letters_);
    }
    std::string text;
    decoder->on_text = [&](const audio::ReadText& read) {
      text.erase(text.size() - std::min(text.size(), static_cast<std::size_t>(read.erase)));
      text += read.text;
    };
    decoder->Feed(samples);
    decoder->Finish();
    score.spent = static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC;
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
  }

  /// multimon-ng finds tone and speed by itself.
  static std::string ReadByPeer(std::span<const float> samples, Score& score) {
    const std::string name = std::filesystem::temp_directory_path() / ("kvx_decode." + std::to_string(getpid()));
    const std::vector<std::int16_t> whole = platform::To16Bits(samples);
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(whole.data()), static_cast<std::streamsize>(whole.size() * 2));
    const double before = SecondsOfPrograms();
    std::string text;
    if (FILE* answer = popen(("multimon-ng -q -n -t raw -a MORSE_CW " + name + " 2>/dev/null").c_str(), "r")) {
      for (int c = std::fgetc(answer); c != EOF; c = std::fgetc(answer)) text += static_cast<char>(std::toupper(c));
      pclose(answer);
    }
    score.spent = SecondsOfPrograms() - before;
    std::filesystem::remove(name);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    return text;
  }

  std::string_view decoder_;
  int rate_;
  double seconds_;
  int rounds_;
  bool verbose_;
  std::unique_ptr<audio::LetterModel> letters_;
  std::unique_ptr<audio::WordList> words_;
};

int Run(std::span<char*> arguments) {
  const std::string_view decoder = arguments.size() > 1 ? arguments[1] : "";
  if (decoder != "classic" && decoder != "best" && decoder != "multimon-ng") {
    std::fprintf(stderr, "kvx_decode: which decoder: classic, best or multimon-ng\n");
    return 1;
  }
  const double seconds = arguments.size() > 2 ? std::atof(arguments[2]) : 60;
  const int rounds = arguments.size() > 3 ? std::max(1, std::atoi(arguments[3])) : 1;
  const std::string_view only = arguments.size() > 4 ? arguments[4] : "";
  const Measurement measurement(decoder, seconds, rounds, !only.empty());
  std::printf("wrong, %%  ");
  for (const double wpm : kSpeeds) std::printf(" %3.0f wpm", wpm);
  std::printf(" | all\n");
  std::uint32_t seed = 0;
  std::string row = "| `" + std::string(decoder) + "` |";
  for (const Column& column : kColumns) {
    seed += 1000;
    if (std::string_view(column.name).find(only) == std::string_view::npos) continue;
    std::array<char, 32> cell{};
    std::snprintf(cell.data(), cell.size(), " %.2f |", measurement.Measure(column, seed).percent());
    row += cell.data();
  }
  if (only.empty()) measurement.MeasureNoise();
  std::printf("%s\n", row.c_str());
  return 0;
}

}  // namespace
}  // namespace kvx

int main(int argc, char** argv) {
  return kvx::Run({argv, static_cast<std::size_t>(argc)});
}
