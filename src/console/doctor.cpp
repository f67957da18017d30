#include "console/doctor.h"

#include <algorithm>
#include <array>
#include <utility>

#include "console/doctor_checks.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLongestLine = 700;

constexpr std::array kChecks{CheckFolder,  CheckSettings, CheckPortsFile,   CheckStores,        CheckFiles,
                             CheckRig,     CheckKeyer,    CheckSerialPorts, CheckParallelPorts, CheckPortServices,
                             CheckNetwork, CheckSound,    CheckVoice,       CheckDde,           CheckDisplay};

std::string Counted(std::ptrdiff_t count, const std::string& what) {
  return count == 0 ? "" : std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// A check that the worker has been given.
struct Piece {
  std::vector<Finding> findings;
  bool done = false;
  Signal ended;
};

}  // namespace

std::string LineOf(const Finding& finding) {
  switch (finding.grade) {
    case Finding::Grade::kOk:
      return "ok " + finding.text;
    case Finding::Grade::kWarning:
      return "warning: " + finding.text;
    case Finding::Grade::kError:
      break;
  }
  return "error: " + finding.text;
}

std::string SummaryOf(const std::vector<Finding>& findings) {
  const auto count = [&findings](Finding::Grade grade) {
    return std::count_if(findings.begin(), findings.end(), [grade](const Finding& f) { return f.grade == grade; });
  };
  const std::string errors = Counted(count(Finding::Grade::kError), "error");
  const std::string warnings = Counted(count(Finding::Grade::kWarning), "warning");
  if (errors.empty() && warnings.empty()) return "nothing is wrong";
  return errors + (errors.empty() || warnings.empty() ? "" : ", ") + warnings;
}

void Chart::Add(Finding::Grade grade, const std::string& text) {
  findings.push_back({grade, OneLine(text, kLongestLine)});
}

std::string NameOf(const platform::RunningProgram& program) {
  if (program.process == 0) return "a program of another user";
  return OneLine(program.name, 60) + ", process " + std::to_string(program.process);
}

std::string Quoted(const std::string& path) {
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:,@%";
  if (path.find_first_not_of(kPlain) == std::string::npos) return path;
  return "'" + ReplaceAll(path, "'", "'\\''") + "'";
}

Examination::Examination(DoctorParts parts) : parts_(std::move(parts)) {}
Examination::~Examination() = default;

bool Examination::done() const {
  return next_ >= kChecks.size();
}

std::vector<Finding> Examination::Step() {
  if (done()) return {};
  if (!patient_) patient_ = std::make_unique<Patient>(parts_);
  Chart chart;
  kChecks[next_++](*patient_, chart);
  return std::move(chart.findings);
}

Task Doctor::Examine(Tell tell) {
  const auto examination = std::make_shared<Examination>(parts_);
  while (!examination->done()) {
    const auto piece = std::make_shared<Piece>();
    worker_.Post([examination, piece] { piece->findings = examination->Step(); },
                 [piece] {
                   piece->done = true;
                   piece->ended.Notify();
                 });
    while (!piece->done) {
      co_await piece->ended.Within(loop_, 1h);
    }
    for (const Finding& finding : piece->findings) tell(finding);
  }
}

}  // namespace kvx::console
