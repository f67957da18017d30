#include "console/decode_command.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "audio/audio_analysis.h"
#include "audio/file_decoder.h"
#include "console/answers.h"
#include "core/text.h"
#include "platform/worker.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr double kStepSeconds = 2;  // of the recording, in one go on the worker: its other users wait so long
constexpr double kLongest = 1800;   // seconds: all of its text is one answer
constexpr double kTellsFrom = 60;   // seconds: a longer recording is told of as it is read

/// A piece of work that the worker has been given.
struct Piece {
  bool done = false;
  Signal ended;
};

/// A recording on its way through the worker. The worker and the procedure have it by turns.
struct Recording {
  audio::FileDecoding what;
  std::string words;
  std::unique_ptr<audio::FileDecoder> decoder;
  audio::WordGatherer gatherer;
  std::string read;   ///< in the last step
  std::string fault;  ///< why it cannot be read
  bool more = true;

  void Open() {
    auto opened = audio::FileDecoder::Open(what, words);
    if (!opened) {
      fault = opened.error().message;
    } else if ((*opened)->seconds() > kLongest) {
      fault = OneLine(what.file) + " is longer than 30 minutes: kvx --headless decode reads it";
    } else {
      decoder = std::move(*opened);
      decoder->on_text = [this](const audio::ReadText& text) { read += gatherer.Add(text); };
    }
  }
  void Step() {
    if (decoder) more = decoder->Step(kStepSeconds);
    if (!more) read += gatherer.TakeRest();
  }
};

using Shared = std::shared_ptr<Recording>;
using Tell = std::function<void(const std::string& line)>;

Task ReadRecording(std::reference_wrapper<Loop> loop, std::reference_wrapper<platform::Worker> worker, Shared recording,
                   Tell tell, std::shared_ptr<std::string> answer) {
  std::string text;
  bool opened = false;
  while (recording->more && recording->fault.empty()) {
    const auto piece = std::make_shared<Piece>();
    worker.get().Post([recording, opened] { opened ? recording->Step() : recording->Open(); },
                      [piece] {
                        piece->done = true;
                        piece->ended.Notify();
                      });
    while (!piece->done) {
      co_await piece->ended.Within(loop, 1h);
    }
    opened = true;
    const std::string read = std::exchange(recording->read, {});
    text += read;
    if (recording->decoder && recording->decoder->seconds() > kTellsFrom && !read.empty()) {
      tell("decode read " + std::string(Trim(read)));
    }
  }
  *answer = recording->fault.empty() ? "ok " + std::string(Trim(text)) : Fail(OneLine(recording->fault));
}

/// "FILE [--tone HZ] [--mode classic|best]"; blanks in the file's name are its own.
Result<audio::FileDecoding> Parse(const std::string& argument) {
  const std::size_t options = std::min(argument.find(" --"), argument.size());
  std::vector<std::string> arguments{argument.substr(0, options)};
  if (arguments[0].starts_with("--") || arguments[0].empty()) arguments.clear();
  for (const std::string& word : Split(argument.substr(arguments.empty() ? 0 : options), ' ')) {
    if (!word.empty()) arguments.push_back(word);
  }
  return audio::ParseFileDecoding(arguments);
}

}  // namespace

void AddDecodeCommand(CommandLine& commands, Loop& loop, Station& station) {
  if (!station.audio) return;
  commands.AddLongProcedure(
      "decode", "WAV [--tone HZ] [--mode classic|best]: reads the CW of a recording",
      [&commands, &loop, &audio = *station.audio](std::string argument, std::shared_ptr<std::string> answer) {
        const auto recording = std::make_shared<Recording>();
        if (auto what = Parse(argument)) {
          recording->what = *what;
          recording->words = audio.ReadWords();
        } else {
          recording->fault = what.error().message;
        }
        return ReadRecording(
            loop, audio.worker(), recording, [&commands](const std::string& line) { commands.Tell(line); },
            std::move(answer));
      });
}

}  // namespace kvx::console
