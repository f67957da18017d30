#include "app/file_decoding.h"

#include <QCoreApplication>
#include <iostream>

#include "app/program.h"
#include "audio/word_list.h"
#include "platform/posix/files.h"

namespace kvx::app {
namespace {

constexpr double kStepSeconds = 1;

int Fail(const Error& error) {
  std::cerr << "kvx: " << error.message << '\n';
  return 1;
}

}  // namespace

int RunFileDecoding(int argc, char** argv, const Options& options) {
  const QCoreApplication application(argc, argv);  // knows where the program's data are
  const platform::PosixFiles files;
  const platform::Path station = StationFolder(options);
  const auto words = audio::ReadWordFile(files, station.empty() ? DataFolder() : station, DataFolder());
  if (!words) return Fail(words.error());
  auto decoder = audio::FileDecoder::Open(options.decoding, *words);
  if (!decoder) return Fail(decoder.error());
  audio::WordGatherer gatherer;
  (*decoder)->on_text = [&](const audio::ReadText& text) {
    if (const std::string word = gatherer.Add(text); !word.empty()) std::cout << word << std::flush;
  };
  while ((*decoder)->Step(kStepSeconds) && std::cout) {
  }
  std::cout << gatherer.TakeRest() << std::endl;
  return std::cout ? 0 : 1;
}

}  // namespace kvx::app
