#include "platform/wav_file.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>

#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "platform/samples.h"
#include "platform/wav_input.h"

namespace kvx::platform {
namespace {

using namespace std::string_literals;
using namespace std::chrono_literals;

std::string Number(std::uint64_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> 8 * i & 0xFF);
  return text;
}

std::string Chunk(const std::string& name, const std::string& content) {
  return name + Number(content.size(), 4) + content + std::string(content.size() % 2, '\0');
}

std::string Riff(const std::string& chunks) {
  return "RIFF" + Number(4 + chunks.size(), 4) + "WAVE" + chunks;
}

std::string Format(int kind, int channels, int rate, int bits, const std::string& more = "") {
  const int frame = channels * ((bits + 7) / 8);
  return Chunk("fmt ",
               Number(static_cast<std::uint64_t>(kind), 2) + Number(static_cast<std::uint64_t>(channels), 2) +
                   Number(static_cast<std::uint64_t>(rate), 4) + Number(static_cast<std::uint64_t>(rate * frame), 4) +
                   Number(static_cast<std::uint64_t>(frame), 2) + Number(static_cast<std::uint64_t>(bits), 2) + more);
}

std::string Float(float number) {
  return Number(std::bit_cast<std::uint32_t>(number), 4);
}

/// What a file's sound reads as, in 16 bits; or "what is wrong", behind the file's name.
struct Reading {
  std::vector<int> samples;
  std::string error;
  int rate = 0;
};

Reading Read(const std::string& content) {
  const TemporaryFolder folder;
  folder.Put("a.wav", content);
  auto reader = WavReader::Open(folder / "a.wav");
  const std::string prefix = (folder / "a.wav").string() + ": ";
  if (!reader) {
    EXPECT_TRUE(reader.error().message.starts_with(prefix)) << reader.error().message;
    return {{}, reader.error().message.substr(prefix.size()), 0};
  }
  Reading reading{.rate = reader->format().samples_per_second};
  std::vector<float> piece(7);  // odd to everything
  const std::int64_t length = reader->length();
  for (std::size_t read = piece.size(); read == piece.size();) {
    read = reader->Read(piece);
    for (std::size_t i = 0; i < read; ++i) reading.samples.push_back(To16Bits(piece[i]));
  }
  EXPECT_EQ(length, static_cast<std::int64_t>(reading.samples.size()));
  return reading;
}

TEST(WavFile, ReadsTheFormatsThatRecordersWrite) {
  const std::string extensible = Number(22, 2) + Number(24, 2) + Number(4, 4) + Number(1, 2) +
                                 "\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71"s;
  const std::string two = "\x34\x12\xFF\x7F"s;
  const std::string plain = Format(1, 1, 8000, 16);
  const struct {
    const char* name;
    std::string content;
    std::vector<int> samples;
  } cases[] = {
      {"16 bits", Riff(plain + Chunk("data", two)), {0x1234, 32767}},
      {"8 bits, an odd size", Riff(Format(1, 1, 8000, 8) + Chunk("data", "\x00\x80\xFF"s)), {-32768, 0, 127 * 256}},
      {"24 bits, stereo: the mean",
       Riff(Format(1, 2, 8000, 24) + Chunk("data", "\x00\x00\x40\x00\x00\x20\x00\x00\x80\x00\x00\x80"s)),
       {0x3000, -32768}},
      {"32 bits", Riff(Format(1, 1, 8000, 32) + Chunk("data", "\x00\x00\x34\x12\x00\x00\x00\x80"s)), {0x1234, -32768}},
      {"floating point, too loud and no number",
       Riff(Format(3, 1, 8000, 32) + Chunk("fact", Number(4, 4)) +
            Chunk("data", Float(0.5F) + Float(-7) + Float(NAN) + Float(INFINITY))),
       {16384, -32768, 0, 0}},
      {"64 bits",
       Riff(Format(3, 1, 8000, 64) + Chunk("data", Number(std::bit_cast<std::uint64_t>(-0.25), 8))),
       {-8192}},
      {"extensible", Riff(Format(0xFFFE, 1, 8000, 24, extensible) + Chunk("data", "\x00\x34\x12"s)), {0x1234}},
      {"12 bits in 16", Riff(Format(1, 1, 8000, 12) + Chunk("data", two)), {0x1234, 32767}},
      {"other chunks, one of odd size",
       Riff(Chunk("LIST", "odd") + plain + Chunk("bext", "x") + Chunk("data", two)),
       {0x1234, 32767}},
      {"a chunk behind", Riff(plain + Chunk("data", two) + Chunk("LIST", "1234")), {0x1234, 32767}},
      {"no sound, but a chunk behind", Riff(plain + Chunk("data", "") + Chunk("LIST", "1234")), {}},
      {"cut off", Riff(plain + Chunk("data", two)).substr(0, 47), {0x1234}},
      {"a stream", "RIFF\xFF\xFF\xFF\xFFWAVE" + plain + "data\xFF\xFF\xFF\xFF" + two, {0x1234, 32767}},
      {"never finished", "RIFF" + Number(36, 4) + "WAVE" + plain + "data" + Number(0, 4) + two, {0x1234, 32767}},
      {"never begun to finish", "RIFF" + Number(0, 4) + "WAVE" + plain + "data" + Number(0, 4) + two, {0x1234, 32767}},
      {"more than 4 GB",
       "RF64\xFF\xFF\xFF\xFFWAVE" + Chunk("ds64", Number(80, 8) + Number(2, 8) + Number(1, 8) + Number(0, 4)) + plain +
           "data\xFF\xFF\xFF\xFF" + two,
       {0x1234}},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    const Reading reading = Read(one.content);
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.samples, one.samples);
    EXPECT_EQ(reading.rate, 8000);
  }
}

TEST(WavFile, SaysWhatIsWrong) {
  const std::string sound = Chunk("data", "1234");
  const struct {
    std::string content;
    std::string error;
  } cases[] = {
      {"", "it is not a WAV file"},
      {"RIFF\x04\x00\x00\x00" + "AVI "s + std::string(100, 'x'), "it is not a WAV file"},
      {"RIFX"s + Riff(Format(1, 1, 8000, 16) + sound).substr(4), "it is a big-endian WAV file, which cannot be read"},
      {Riff(Format(1, 1, 8000, 16)), "there is no sound in it"},
      {Riff(sound + Format(1, 1, 8000, 16)), "it does not say what its sound is like"},
      {Riff(Format(1, 1, 8000, 16)).substr(0, 30), "what it says of its sound is cut off"},
      {Riff(Format(7, 1, 8000, 8) + sound),
       "its sound is in format 7 (mu-law), and only PCM and floating point can be read"},
      {Riff(Format(1, 0, 8000, 16) + sound), "it has 0 channels"},
      {Riff(Format(1, 1, 0, 16) + sound), "it has 0 samples a second"},
      {Riff(Format(1, 1, 8000, 40) + sound), "it has samples of 40 bits"},
      {Riff(Format(3, 1, 8000, 16) + sound), "it has samples of 16 bits"},
  };
  for (const auto& one : cases) EXPECT_EQ(Read(one.content).error, one.error);
  const TemporaryFolder folder;
  EXPECT_EQ(WavReader::Open(folder / "b.wav").error().code, ErrorCode::kNotFound);
  EXPECT_EQ(WavReader::Open(folder.path()).error().code, ErrorCode::kInvalid);
  EXPECT_EQ(WavWriter::Create(folder.path(), 8000).error().code, ErrorCode::kInvalid);
  EXPECT_EQ(WavWriter::Create(folder / "no" / "c.wav", 8000).error().code, ErrorCode::kIo);
}

// Whatever is in a file: a reading of no more samples than it has bytes, or one sentence.
TEST(WavFile, StandsEveryMutationOfAFile) {
  const std::string whole =
      Riff(Chunk("LIST", "odd") + Format(1, 2, 8000, 24, Number(0, 2)) + Chunk("data", std::string(60, 'x')));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_LE(Read(whole.substr(0, size)).samples.size(), 10U);
  }
  std::mt19937 random(7);
  for (int round = 0; round < 1000; ++round) {
    std::string content = whole;
    for (int i = static_cast<int>(random() % 4); i >= 0; --i) {
      constexpr unsigned char kEdges[] = {0, 1, 2, 3, 0x7F, 0x80, 0xFE, 0xFF};
      content[random() % content.size()] = static_cast<char>(kEdges[random() % 8]);
    }
    EXPECT_LE(Read(content).samples.size(), content.size());
  }
}

TEST(WavFile, IsGoodAtEveryMomentOfARecording) {
  const TemporaryFolder folder;
  std::vector<std::int16_t> ramp(20'500);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<std::int16_t>(i * 3 - 30'000);
  auto writer = WavWriter::Create(folder / "a.wav", 8000);
  ASSERT_TRUE(writer);
  EXPECT_EQ(folder.Get("a.wav").size(), 44U);
  for (std::size_t at = 0; at < ramp.size(); at += 500) ASSERT_TRUE(writer->Write(std::span(ramp).subspan(at, 500)));
  // What a crash would leave now.
  const std::string crashed = folder.Get("a.wav");
  EXPECT_EQ(crashed.substr(40, 4), Number(2 * 16'000, 4));
  EXPECT_GE(crashed.size(), 44 + 2 * 16'000U);

  ASSERT_TRUE(writer->Close());
  EXPECT_EQ(writer->Write(ramp).error().code, ErrorCode::kClosed);
  const std::string content = folder.Get("a.wav");
  EXPECT_EQ(content.substr(0, 44),
            "RIFF" + Number(36 + 41'000, 4) + "WAVE" + Format(1, 1, 8000, 16) + "data" + Number(41'000, 4));
  const Reading reading = Read(content);
  EXPECT_EQ(reading.samples, std::vector<int>(ramp.begin(), ramp.end()));
}

TEST(WavInput, GivesARecordingInItsTimeAndEachSampleOnce) {
  const TemporaryFolder folder;
  std::vector<std::int16_t> ramp(12'345);
  for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<std::int16_t>(i);
  ASSERT_TRUE(WavWriter::Create(folder / "a.wav", 11'025)->Write(ramp));
  VirtualLoop loop;
  WavInput input(loop, folder / "a.wav");
  std::vector<std::int16_t> heard;
  int ends = 0;
  input.on_samples = [&](std::span<const std::int16_t> samples) {
    heard.insert(heard.end(), samples.begin(), samples.end());
  };
  input.on_end = [&] {
    EXPECT_FALSE(input.is_open());
    ++ends;
  };
  ASSERT_TRUE(input.Open(11'025));
  EXPECT_TRUE(heard.empty());
  loop.RunFor(500ms);
  EXPECT_NEAR(static_cast<double>(heard.size()), 11'025 / 2, 221);
  loop.RunFor(700ms);
  EXPECT_EQ(heard, ramp);
  EXPECT_EQ(ends, 1);

  heard.clear();
  ASSERT_TRUE(input.Open(48'000));
  loop.RunFor(2s);
  EXPECT_EQ(heard.size(), (12'345 * 48'000 + 11'024) / 11'025);

  // From inside what it tells, it may be closed and destroyed.
  auto brief = std::make_unique<WavInput>(loop, folder / "a.wav");
  brief->on_samples = [&](std::span<const std::int16_t>) { brief.reset(); };
  ASSERT_TRUE(brief->Open(11'025));
  loop.RunFor(1s);
  EXPECT_EQ(brief, nullptr);
  EXPECT_EQ(WavInput(loop, folder / "b.wav").Open(8000).error().code, ErrorCode::kNotFound);
}

}  // namespace
}  // namespace kvx::platform
