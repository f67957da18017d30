#include "sim/demo_band.h"

#include <span>

namespace kvx::sim {
namespace {

constexpr double kPause = 1.2;  // seconds between two that work each other

double SecondsOf(const HeardStation& station) {
  const double with_tail = ReceiverAudio({}, {station}).Length();
  return with_tail - ReceiverAudio({}, {}).Length() - station.start;
}

/// Stations that send one after the other, then all again.
void AddRound(std::vector<HeardStation> overs, double start, double rest, std::vector<HeardStation>& band) {
  double period = rest;
  for (HeardStation& over : overs) {
    over.start = start + period - rest;
    period += SecondsOf(over) + kPause;
  }
  for (HeardStation& over : overs) {
    over.repeat_after = period - SecondsOf(over);
    band.push_back(over);
  }
}

}  // namespace

std::vector<HeardStation> DemoBand() {
  std::vector<HeardStation> band;
  // Somebody with a hand key, where the decoder listens at first.
  band.push_back({.text = "CQ CQ CQ DE OH2ABC OH2ABC OH2ABC K",
                  .wpm = 18,
                  .hertz = 510,
                  .jitter = 0.05,
                  .drift = 0.2,
                  .start = 1,
                  .repeat_after = 7});
  const HeardStation north{.wpm = 22, .hertz = 760, .level_db = -2, .fade_hertz = 0.05, .fade_db = 8};
  const HeardStation south{.wpm = 26, .hertz = 763, .level_db = -5, .fade_hertz = 0.11, .fade_db = 10};
  const auto says = [](HeardStation station, const char* text) {
    station.text = text;
    return station;
  };
  AddRound({says(north, "CQ CQ DE SM6XYZ SM6XYZ PSE K"), says(south, "SM6XYZ DE F5QRX F5QRX K"),
            says(north, "F5QRX DE SM6XYZ GM UR RST 579 579 NAME IS LARS LARS QTH GOTEBORG HW? BK"),
            says(south, "BK R TNX LARS UR 599 599 IN BREST NAME YVES RIG 100 W ANT DIPOLE WX RAIN 12 C BK"),
            says(north, "FB YVES TNX QSO 73 ES GL F5QRX DE SM6XYZ SK"), says(south, "73 LARS DE F5QRX SK E E")},
           4, 9, band);
  const HeardStation runner{.wpm = 32, .hertz = 1250, .level_db = 3};
  AddRound({says(runner, "TEST DL9KVX DL9KVX"), says({.wpm = 30, .hertz = 1247, .level_db = -4}, "OK1ZZZ"),
            says(runner, "OK1ZZZ 5NN 14"), says({.wpm = 30, .hertz = 1247, .level_db = -4}, "TU 5NN 15"),
            says(runner, "TU DL9KVX"), says({.wpm = 36, .hertz = 1254, .level_db = -7}, "LZ7AAA"),
            says(runner, "LZ7AAA 5NN 14"), says({.wpm = 36, .hertz = 1254, .level_db = -7}, "5NN 20"),
            says(runner, "TU DL9KVX TEST")},
           2, 2, band);
  band.push_back({.text = "VVV VVV DE VK9AA/B",
                  .wpm = 12,
                  .hertz = 1750,
                  .level_db = -12,
                  .fade_hertz = 0.03,
                  .fade_db = 15,
                  .start = 3,
                  .repeat_after = 4});
  band.push_back({.text = "QRL? CQ DE IK0QQQ IK0QQQ K", .wpm = 24, .hertz = 2350, .level_db = -3, .repeat_after = 12});
  band.push_back({.text = "CQ DX DE JA1XXX JA1XXX K", .wpm = 20, .hertz = 3420, .level_db = -8, .repeat_after = 10});
  band.push_back({.text = "CQ POTA DE W1AAA/P W1AAA/P K", .wpm = 16, .hertz = 4210, .level_db = -6, .repeat_after = 8});
  return band;
}

ReceiverSettings DemoReceiver(int samples_per_second) {
  return {.samples_per_second = samples_per_second,
          .snr_db = 18,
          .impulses_per_second = 0.3,
          .impulse_db = 6,
          .seed = 73,
          .band_hertz = kDemoBandHertz};
}

}  // namespace kvx::sim
