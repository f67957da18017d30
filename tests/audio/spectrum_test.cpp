#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "audio/spectrum_controls.h"
#include "audio/spectrum_trace.h"
#include "audio/transform.h"

namespace kvx::audio {
namespace {

/// Two-point butterflies as they are written down, in double precision.
std::vector<std::complex<double>> PlainTransform(const std::vector<float>& samples) {
  const std::size_t size = samples.size();
  std::vector<std::complex<double>> bins(size);
  for (std::size_t i = 0; i < size; ++i) {
    std::size_t reversed = 0;
    for (std::size_t bit = 1; bit < size; bit *= 2) reversed = reversed * 2 + (i & bit ? 1 : 0);
    bins[i] = samples[reversed];
  }
  for (std::size_t half = 1; half < size; half *= 2) {
    for (std::size_t i = 0; i < size; ++i) {
      if (i & half) continue;
      const auto turned =
          std::polar(1.0, -3.14159 * static_cast<double>(i % half) / static_cast<double>(half)) * bins[i + half];
      bins[i + half] = bins[i] - turned;
      bins[i] += turned;
    }
  }
  return bins;
}

TEST(Transform, IsThePlainOneAtEverySize) {
  for (const int size : kBins) {
    std::vector<float> samples;
    for (int i = 0; i < size; ++i)
      samples.push_back(0.7F * std::sin(0.31F * static_cast<float>(i)) + (i % 5 == 0 ? 0.1F : 0));
    Transform transform(size);
    transform.Run(samples);
    const auto plain = PlainTransform(samples);
    double strongest = 0;
    double worst = 0;
    ASSERT_EQ(transform.real().size(), static_cast<std::size_t>(size / 2 + 1));
    for (std::size_t k = 0; k < transform.real().size(); ++k) {
      strongest = std::max(strongest, std::abs(plain[k]));
      worst = std::max(worst, std::abs(plain[k] - std::complex<double>(transform.real()[k], transform.imaginary()[k])));
    }
    EXPECT_LT(worst, 3e-7 * strongest) << size;  // -130 dB: what 3.14159 makes of it is louder
  }
}

TEST(Transform, LevelsAreThoseOfTheFormula) {
  const std::vector<float> real{0, 1, 3e-8F, 0.7F, 1e-3F, 2000};
  const std::vector<float> imaginary{0, 0, 4e-8F, -0.1F, 0, -5};
  std::vector<float> levels(real.size());
  LevelsOf(real, imaginary, levels);
  for (std::size_t k = 0; k < real.size(); ++k)
    EXPECT_NEAR(levels[k], 20 * std::log10(std::hypot(real[k], imaginary[k]) + 1e-7), 1e-3) << k;
  EXPECT_NEAR(levels[0], -140, 1e-3);
}

TEST(SpectrumTrace, FollowsItsMode) {
  struct Row {
    TraceMode mode;
    int average;
    std::vector<float> levels;
    std::vector<float> trace;  ///< after the rows before
  };
  SpectrumTrace trace;
  for (const Row& row : {
           Row{TraceMode::kMaxHold, 1, {-90, -80}, {-90, -80}},  // the first is taken as it is
           Row{TraceMode::kMaxHold, 1, {-95, -70}, {-90, -70}}, Row{TraceMode::kAverage, 4, {-50, -74}, {-80, -71}},
           Row{TraceMode::kAverage, 1, {-60.5F, -61.5F}, {-60.5F, -61.5F}},
           Row{TraceMode::kMaxHold, 1, {-60, -90}, {-60, -61.5F}}, Row{TraceMode::kNormal, 9, {-99, -99}, {-99, -99}},
           Row{TraceMode::kMaxHold, 1, {-120, -99, -140}, {-120, -99, -140}},  // other bins
       }) {
    trace.Update(row.levels, row.mode, row.average);
    EXPECT_EQ(trace.values(), row.trace);
  }
  EXPECT_EQ(TraceDifference(std::vector<float>{-50, -60, -1}, ShiftedTrace(std::vector<float>{-70, -65}, 10)),
            (std::vector<float>{10, -5}));
}

TEST(SpectrumControls, HoldWhatTheyCanAndSaySo) {
  struct Row {
    const char* control;
    const char* value;
    const char* held;     ///< "" where it is refused
    const char* caption;  ///< or what the refusal says
  };
  SpectrumSettings settings;
  for (const Row& row : {
           Row{"scrReflvl", "-20", "-20", "Ref: -20 dB"},
           Row{"scrdBdiv", "5", "5", "5 dB/div"},
           Row{"scrT2Offset", "-12", "-12", "-12 dB"},
           Row{"scrAVG", "8", "8", "Av 8"},
           Row{"scrAVG", "0", "", "scrAVG takes 1 to 100"},
           Row{"cboBins", "16384", "16384", ""},
           Row{"cboBins", "32768", "", "cboBins takes 16384, 8192, 4096, 2048, 1024, 512, 256, 128, 64"},
           Row{"cbosrate", "11025", "11025", ""},
           Row{"cboSRate", "8", "", "cboSRate takes 11025, 22050, 44100, 48000"},
           Row{"txtFMin", "4000", "4000", ""},
           Row{"txtFMax", "4500", "4500", ""},
           Row{"txtFMax", "1e9", "", "txtFMax takes 20 to 24000 Hz"},
           Row{"txtFMin", "nan", "", "txtFMin takes 0 to 23980 Hz"},
           Row{"optAverage", "TRUE", "TRUE", ""},
           Row{"optAverage", "FALSE", "", "optAverage takes TRUE, which chooses it"},
           Row{"Thresh", "1001", "", "Thresh takes 0 to 1000"},
           Row{"CenterF", "3000", "3000", ""},
           Row{"CR", "true", "TRUE", "Hide Scope"},
           Row{"SS", "off", "FALSE", "Setup"},
           Row{"chkBW", "maybe", "", "chkBW takes TRUE or FALSE"},
           Row{"decoder", "classic", "classic", ""},
           Row{"source", "wav:/tmp/a b.wav", "wav:/tmp/a b.wav", ""},
           Row{"source", "a\nscrAVG=9", "", "source takes a text of one line"},
           Row{"cboWhat", "1", "", "there is no control cboWhat"},
       }) {
    const Status set = SetControl(settings, row.control, row.value);
    ASSERT_EQ(set.ok(), *row.held != '\0') << row.control << " " << row.value;
    if (set) {
      EXPECT_EQ(*ControlValue(settings, row.control), row.held);
      EXPECT_EQ(ControlCaption(settings, row.control), row.caption);
    } else {
      EXPECT_EQ(set.error().message, row.caption);
    }
  }
  // What is kept comes back, between the lines of others and without what cannot be read.
  const std::string file = WithControls("SpecDisplay=1 2 300 400 normal\nscrAVG=3\n", settings);
  EXPECT_TRUE(file.starts_with("SpecDisplay=1 2 300 400 normal\ncboSRate=11025\n")) << file;
  EXPECT_NE(file.find("\noptMaxhold=FALSE\noptAverage=TRUE\nCR=TRUE\nSS=FALSE\n"), std::string::npos) << file;
  SpectrumSettings read;
  ParseControls(file + "scrAVG=zero\ncboBins=\n=\nThresh", read);
  EXPECT_EQ(FormatControls(read), FormatControls(settings));
  EXPECT_EQ(WithControls(file, read), file);
}

TEST(SpectrumControls, DecodeCwPresets) {
  for (const bool alt : {false, true}) {
    SpectrumSettings settings;
    settings.AltSetup = alt;
    ApplyDecoderPreset(settings);
    const std::string lines = FormatControls(settings);
    EXPECT_TRUE(
        lines.starts_with(alt ? "cboSRate=11025\ncboBins=128\ntxtFMin=460\ntxtFMax=920\nscrReflvl=0\nscrdBdiv=5\n"
                              : "cboSRate=48000\ncboBins=256\ntxtFMin=500\ntxtFMax=1000\nscrReflvl=0\n"
                                "scrdBdiv=5\n"))
        << lines;
    EXPECT_NE(lines.find(alt ? "CenterF=920\nCrossIt=500\nThresh=880\n" : "CenterF=1000\nCrossIt=500\nThresh=880\n"),
              std::string::npos)
        << lines;
    EXPECT_NE(lines.find(alt ? "SlowCPU=TRUE" : "SlowCPU=FALSE"), std::string::npos) << lines;
  }
}

}  // namespace
}  // namespace kvx::audio
