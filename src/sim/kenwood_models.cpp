#include <array>

#include "sim/kenwood_kin.h"

namespace kvx::sim {
namespace {

constexpr std::array kModes{
    ModeCode{1, Mode::kLsb}, ModeCode{2, Mode::kUsb},  ModeCode{3, Mode::kCw},  ModeCode{4, Mode::kFm},
    ModeCode{5, Mode::kAm},  ModeCode{6, Mode::kRtty}, ModeCode{7, Mode::kCwr}, ModeCode{9, Mode::kRttyr},
};
constexpr std::span<const ModeCode> kOldModes = std::span(kModes).first(6);
constexpr std::array kWideModes{
    ModeCode{0, Mode::kLsb}, ModeCode{1, Mode::kUsb}, ModeCode{4, Mode::kCw},   ModeCode{3, Mode::kCwr},
    ModeCode{5, Mode::kFm},  ModeCode{6, Mode::kAm},  ModeCode{9, Mode::kRtty}, ModeCode{7, Mode::kData},
};

constexpr std::array kOldSpans{FrequencySpan{100'000, 30'000'000}};
constexpr std::array kSixMetreSpans{FrequencySpan{30'000, 60'000'000}};
constexpr std::array kK3Spans{FrequencySpan{500'000, 30'000'000}, FrequencySpan{48'000'000, 54'000'000}};
constexpr std::array kSdrSpans{FrequencySpan{10'000, 65'000'000}};

constexpr std::array kOldSettings{
    StoredSetting{"AI", 1, 0, 1, 0},
    StoredSetting{"LK", 1, 0, 1, 0},
    StoredSetting{"SC", 1, 0, 1, 0},
};
constexpr std::array kTs480Settings{
    StoredSetting{"AC", 3, 0, 111, 0},   StoredSetting{"AI", 1, 0, 2, 0},     StoredSetting{"BC", 1, 0, 2, 0},
    StoredSetting{"GT", 3, 0, 2, 1},     StoredSetting{"KS", 3, 10, 60, 20},  StoredSetting{"MG", 3, 0, 100, 50},
    StoredSetting{"NB", 1, 0, 1, 0},     StoredSetting{"NL", 3, 1, 10, 5},    StoredSetting{"NR", 1, 0, 2, 0},
    StoredSetting{"PA", 1, 0, 1, 0},     StoredSetting{"PC", 3, 5, 100, 100}, StoredSetting{"RA", 2, 0, 1, 0},
    StoredSetting{"RG", 3, 0, 100, 100}, StoredSetting{"SH", 2, 0, 11, 7},    StoredSetting{"SL", 2, 0, 11, 3},
    StoredSetting{"SQ0", 3, 0, 255, 0},  StoredSetting{"TN", 2, 1, 42, 8},    StoredSetting{"VX", 1, 0, 1, 0},
};
constexpr std::array kTs890Settings{
    StoredSetting{"AG", 3, 0, 255, 100}, StoredSetting{"AI", 1, 0, 4, 0},     StoredSetting{"GC", 1, 0, 3, 2},
    StoredSetting{"KS", 3, 4, 60, 20},   StoredSetting{"MG", 3, 0, 100, 50},  StoredSetting{"NB1", 1, 0, 1, 0},
    StoredSetting{"NB2", 1, 0, 1, 0},    StoredSetting{"NR", 1, 0, 2, 0},     StoredSetting{"NT", 1, 0, 2, 0},
    StoredSetting{"PA", 1, 0, 2, 0},     StoredSetting{"PC", 3, 5, 100, 100}, StoredSetting{"RA", 1, 0, 3, 0},
    StoredSetting{"RG", 3, 0, 255, 255}, StoredSetting{"SQ", 3, 0, 255, 0},
};
constexpr std::array kK3Settings{
    StoredSetting{"AG", 3, 0, 255, 100}, StoredSetting{"AI", 1, 0, 3, 0},     StoredSetting{"AN", 1, 1, 2, 1},
    StoredSetting{"BW", 4, 5, 400, 40},  StoredSetting{"DT", 1, 0, 3, 0},     StoredSetting{"FR", 1, 0, 0, 0},
    StoredSetting{"GT", 3, 2, 4, 2},     StoredSetting{"K2", 1, 0, 3, 0},     StoredSetting{"K3", 1, 0, 1, 0},
    StoredSetting{"KS", 3, 8, 50, 20},   StoredSetting{"LK", 1, 0, 1, 0},     StoredSetting{"MG", 3, 0, 60, 30},
    StoredSetting{"NB", 1, 0, 1, 0},     StoredSetting{"PA", 1, 0, 1, 0},     StoredSetting{"PC", 3, 0, 110, 100},
    StoredSetting{"RA", 2, 0, 1, 0},     StoredSetting{"RG", 3, 0, 250, 250}, StoredSetting{"SQ", 3, 0, 29, 0},
};
constexpr std::array kSdrSettings{
    StoredSetting{"ZZAG", 3, 0, 100, 50}, StoredSetting{"ZZAI", 1, 0, 1, 0},    StoredSetting{"ZZCS", 2, 1, 60, 25},
    StoredSetting{"ZZMA", 1, 0, 1, 0},    StoredSetting{"ZZNA", 1, 0, 1, 0},    StoredSetting{"ZZNR", 1, 0, 1, 0},
    StoredSetting{"ZZNT", 1, 0, 1, 0},    StoredSetting{"ZZPC", 3, 0, 100, 50}, StoredSetting{"ZZRT", 1, 0, 1, 0},
    StoredSetting{"ZZXS", 1, 0, 1, 0},
};

}  // namespace

// TS-440S with IC-10: external control instruction manual
const KenwoodModel kTs440{.manner = {"ID004", "E", 11, 5, 9'990, 10, "AG PS"},
                          .settings = kOldSettings,
                          .modes = kOldModes,
                          .own = "FN SP MD IF TX RX UP DN",
                          .status = KenwoodModel::Status::kShort,
                          .spans = kOldSpans};
// TS-480: PC control command reference
const KenwoodModel kTs480{.manner = {"ID020", "E", 11, 5, 9'990, std::nullopt},
                          .settings = kTs480Settings,
                          .modes = kModes,
                          .own = "FR FT MD IF TX RX KY RM VV UP DN",
                          .meter = "SM0",
                          .meter_full_scale = 20,
                          .spans = kSixMetreSpans};
// TS-890S: PC control command reference guide; the rig still knows IF and MD, which are not in it
const KenwoodModel kTs890{.manner = {"ID024", "E", 11, 5, 9'999, std::nullopt, "AG RU RD"},
                          .settings = kTs890Settings,
                          .modes = kModes,
                          .own = "FR FT TB OM0 MD IF TX RX KY VV EC",
                          .meter = "SM",
                          .meter_full_scale = 70,
                          .spans = kSixMetreSpans};
// K3: K3S/K3/KX3/KX2 programmer's reference. Its receiver stays on VFO A.
const KenwoodModel kK3{.manner = {"ID017", "?", 11, 5, 9'990, 10, "AG"},
                       .settings = kK3Settings,
                       .modes = kModes,
                       .own = "FT MD OM RVM IF TX RX KY SWT11 UP DN",
                       .meter = "SM",
                       .meter_full_scale = 15,
                       .spans = kK3Spans};
// PowerSDR: CAT command reference guide
const KenwoodModel kPowerSdr{.manner = {"ID900", "?", 11, 5, 9'990, 10, "RC RT RU RD XT AG"},
                             .settings = kSdrSettings,
                             .modes = kWideModes,
                             .own = "ZZFA ZZFB ZZMD ZZSP ZZTX IF",
                             .meter = "ZZSM0",
                             .meter_digits = 3,
                             .meter_full_scale = 254,
                             .spans = kSdrSpans};

}  // namespace kvx::sim
