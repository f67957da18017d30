#include "app/doctor.h"

#include <QCoreApplication>
#include <algorithm>
#include <iostream>

#include "app/program.h"
#include "platform/posix/pulse_state.h"
#include "platform/qt/voice_parts.h"
#include "platform/qt/wine_gateway.h"

namespace kvx::app {
namespace {

using namespace std::chrono_literals;

constexpr auto kSoundPatience = 2s;

}  // namespace

console::DoctorParts DoctorAdapters::Parts(const platform::Path& folder, const platform::DdeTransport* dde,
                                           bool demo) const {
  return {.files = files_,
          .devices = devices_,
          .inspector = inspector_,
          .station = station_,
          .network = network_,
          .processes = processes_,
          .sound = [] { return platform::AskSoundServer(kSoundPatience); },
          .missing_voice = platform::MissingVoice,
          .dde = dde,
          .folder = folder,
          .data = DataFolder(),
          .demo = demo};
}

int RunDoctor(int argc, char** argv, const Options& options) {
  const QCoreApplication application(argc, argv);
  const platform::Path folder = StationFolder(options);
  if (folder.empty()) {
    std::cerr << "kvx: " << kNoFolder << '\n';
    return 1;
  }
  const DoctorAdapters adapters;
  const platform::WineGateway dde(DdeGateway().string());
  console::Examination examination(adapters.Parts(folder, &dde, options.demo));
  std::vector<console::Finding> findings;
  while (!examination.done()) {
    for (const console::Finding& finding : examination.Step()) {
      std::cout << console::LineOf(finding) << std::endl;  // a check may take its time
      findings.push_back(finding);
    }
  }
  std::cout << "In all: " << console::SummaryOf(findings) << std::endl;
  const auto is_error = [](const console::Finding& finding) {
    return finding.grade == console::Finding::Grade::kError;
  };
  return std::any_of(findings.begin(), findings.end(), is_error) ? 1 : 0;
}

}  // namespace kvx::app
