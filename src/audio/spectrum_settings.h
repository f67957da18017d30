#pragma once

#include <array>
#include <string>
#include <string_view>

namespace kvx::audio {

enum class TraceMode { kNormal, kMaxHold, kAverage };  ///< optNormal, optMaxhold, optAverage
enum class DecoderMode { kBest, kClassic };

inline constexpr std::array kBins{16384, 8192, 4096, 2048, 1024, 512, 256, 128, 64};  ///< in the order of cboBins
inline constexpr std::array kSampleRates{11025, 22050, 44100, 48000};

/// What the waterfall can be drawn in.
inline constexpr std::array<std::string_view, 5> kWaterfallColors{"Ember", "Viridis", "Ice", "Paper", "Grey"};

/// What the controls of the audio window are set to, under their names.
struct SpectrumSettings {
  int cboSRate = 48000;  ///< samples a second
  int cboBins = 4096;    ///< samples a transform
  double txtFMin = 300;  ///< Hz: what is shown
  double txtFMax = 3000;
  int scrReflvl = 0;    ///< dB: the upper edge of the display
  int scrdBdiv = 10;    ///< dB a division
  int scrT2Offset = 0;  ///< dB
  TraceMode trace = TraceMode::kNormal;
  int scrAVG = 4;
  int scrGridBrightness = 60;  ///< 0..255
  int scrBckBrightness = 0;    ///< 0..255
  int scrUpdateTime = 16;      ///< milliseconds between pictures
  int CenterF = 1000;          ///< 0..3000
  int CrossIt = 500;           ///< Hz: the marker, where the decoder listens
  int Thresh = 880;            ///< 0..1000
  bool trace2 = false;         ///< cmdDisplaytrace
  bool trace_math = false;     ///< cmdTracemath: trace 1 less trace 2
  bool frozen = false;         ///< CmdSwitch
  bool scope = false;          ///< CR
  bool setup = true;           ///< SS
  bool decoding = false;       ///< DCW
  bool AltSetup = false;
  bool SlowCPU = false;
  bool SeperateCB = false;
  bool CompoundCB = false;
  bool chkBW = false;            ///< black and white
  bool chkSmall = false;         ///< a small window
  bool chkOverWrite = false;     ///< the waterfall writes over itself instead of scrolling
  std::string colors = "Ember";  ///< of the waterfall, one of kWaterfallColors
  DecoderMode decoder = DecoderMode::kBest;
  std::string source;  ///< "": the default device, a device's id, "wav:FILE" or "sim:receiver"
};

}  // namespace kvx::audio
