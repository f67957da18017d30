// How many characters the decoders get wrong, on the station's own receiver audio. Figures: docs/performance.md.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "audio/best_decoder.h"
#include "audio/character_error_rate.h"
#include "sim/receiver_audio.h"

namespace kvx {
namespace {

constexpr int kRate = 8000;
constexpr std::array kSpeeds{5.0, 12.0, 18.0, 25.0, 35.0, 45.0};
constexpr double kClean = std::numeric_limits<double>::infinity();

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

/// Words, callsigns, numbers and groups as they come on the bands.
std::string TextOf(double seconds, double wpm, std::uint32_t seed) {
  static constexpr std::array kTexts{
      "CQ",     "TEST",      "DE",      "THE",     "UR",      "599",    "TU",  "WX",   "IS",    "SUNNY",
      "OP",     "QTH",       "NR",      "ANTENNA", "AT",      "METERS", "AND", "HERE", "FINE",  "BUSINESS",
      "QRZ?",   "OVERNIGHT", "JUMPING", "ZEBRA",   "VOYAGE",  "PSE",    "K",   "TNX",  "FER",   "CALL",
      "QUARTZ", "HARBOUR",   "MEADOW",  "COFFEE",  "STRANGE", "TEMP",   "PWR", "100",  "WATTS", "RIG"};
  std::mt19937 random(seed);
  const auto draw = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
  const auto letter = [&] { return static_cast<char>('A' + draw(26)); };
  const auto digit = [&] { return static_cast<char>('0' + draw(10)); };
  std::string text;
  while (static_cast<double>(text.size()) < seconds * wpm / 12) {
    const std::size_t kind = draw(10);
    if (!text.empty()) text += ' ';
    if (kind < 6) {
      text += kTexts[draw(kTexts.size())];
    } else if (kind < 8) {
      text += {letter(), letter(), digit(), letter(), letter(), letter()};
    } else if (kind < 9) {
      text += {digit(), digit(), digit(), digit()};
    } else {
      text += {letter(), letter(), letter(), letter(), letter()};
    }
  }
  return text;
}

struct Score {
  std::size_t sent = 0;
  std::size_t wrong = 0;
  double seconds = 0;
  double spent = 0;
};

std::string Read(audio::CwDecoder& decoder, std::span<const float> samples) {
  std::string text;
  decoder.on_text = [&](const audio::ReadText& read) { text += read.text; };
  decoder.Feed(samples);
  decoder.Finish();
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

Score Measure(const Column& column, const audio::LetterModel& letters, double wpm, double seconds, std::uint32_t seed,
              bool verbose) {
  std::mt19937 random(seed);
  const double hertz = 500 + static_cast<double>(random() % 400);
  const double hint = hertz - 45 + static_cast<double>(random() % 91);
  const std::string text = TextOf(seconds, wpm, seed + 7);
  std::vector<sim::HeardStation> stations{{.text = text,
                                           .wpm = wpm,
                                           .hertz = hertz,
                                           .jitter = column.jitter,
                                           .fade_hertz = 0.2,
                                           .fade_db = column.fade_db,
                                           .start = 0.5}};
  if (column.neighbour) {
    stations.push_back({.text = TextOf(seconds, 22, seed + 11),
                        .wpm = 22,
                        .hertz = hertz + (seed % 2 == 0 ? 250 : -250),
                        .start = 0.2});
  }
  sim::ReceiverAudio audio(
      {.samples_per_second = kRate, .snr_db = column.snr_db, .impulses_per_second = column.impulses, .seed = seed},
      stations);
  std::vector<float> samples = audio.RenderSeconds(audio.Length());
  const std::clock_t began = std::clock();
  audio::BestDecoder decoder(kRate, hint, letters);
  const std::string read = Read(decoder, samples);
  const double spent = static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC;
  Score score{text.size(), audio::EditDistance(text, read), audio.Length(), spent};
  if (verbose) {
    std::printf("  %s %2.0f wpm: %zu of %zu, f %.1f->%.1f, %.1f wpm, %.0fx\n    %s\n    %s\n", column.name, wpm,
                score.wrong, score.sent, hertz, decoder.reception().hertz, decoder.reception().wpm,
                score.seconds / score.spent, text.c_str(), read.c_str());
  }
  return score;
}

int Run(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 60;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 1;
  const std::string only = argc > 3 ? argv[3] : "";
  const bool verbose = argc > 4;
  std::ifstream file(std::string(KVX_DATA) + "/dict.txt");
  const std::string words(std::istreambuf_iterator<char>(file), {});
  const audio::LetterModel letters(words);
  std::uint32_t seed = 100;
  for (const Column& column : kColumns) {
    seed += 1000;
    if (!only.empty() && std::string_view(column.name).find(only) == std::string_view::npos) continue;
    Score all;
    std::printf("%-10s", column.name);
    for (const double wpm : kSpeeds) {
      Score one;
      for (int round = 0; round < rounds; ++round) {
        const Score score =
            Measure(column, letters, wpm, seconds,
                    seed + static_cast<std::uint32_t>(wpm) + static_cast<std::uint32_t>(round) * 50, verbose);
        one.sent += score.sent, one.wrong += score.wrong, one.seconds += score.seconds, one.spent += score.spent;
      }
      std::printf(" %6.2f", 100.0 * static_cast<double>(one.wrong) / static_cast<double>(one.sent));
      all.sent += one.sent, all.wrong += one.wrong, all.seconds += one.seconds, all.spent += one.spent;
    }
    std::printf("  | %6.2f %% of %zu  %.0fx\n", 100.0 * static_cast<double>(all.wrong) / static_cast<double>(all.sent),
                all.sent, all.seconds / all.spent);
    std::fflush(stdout);
  }
  if (only.empty() || only == "noise") {
    sim::ReceiverAudio audio({.samples_per_second = kRate, .snr_db = 0, .seed = 77}, {});
    std::vector<float> samples = audio.RenderSeconds(300.0 * rounds);
    const std::clock_t began = std::clock();
    audio::BestDecoder decoder(kRate, 700, letters);
    const std::string read = Read(decoder, samples);
    const double spent = static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC;
    std::printf("noise: %zu characters in %d minutes, %.0fx: %s\n", read.size(), 5 * rounds, 300.0 * rounds / spent,
                read.c_str());
  }
  return 0;
}

}  // namespace
}  // namespace kvx

int main(int argc, char** argv) {
  return kvx::Run(argc, argv);
}
