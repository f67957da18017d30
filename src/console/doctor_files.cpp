#include <array>
#include <filesystem>

#include "config/rig_csv.h"
#include "console/doctor_checks.h"
#include "console/position_file.h"
#include "core/text.h"
#include "functions/memory_file.h"

namespace kvx::console {
namespace {

constexpr std::size_t kLargestFile = 256U << 20;

Status CheckMemories(const std::string& content) {
  const auto read = functions::ParseMemories(content);
  return read ? Ok() : Status(read.error());
}

Status CheckText(const std::string& content) {
  return IsText(content) ? Ok() : Status(Error{ErrorCode::kDamaged, "it is no text file"});
}

Status CheckPosition(const std::string& content) {
  ConsolePosition position;
  return ParsePosition(content, position);
}

/// By its beginning, "Standard Jet DB" behind four bytes, and by its pages, of 2048 or 4096 bytes.
Status CheckOldStore(const std::string& content) {
  constexpr std::size_t kPage = 2048;
  const bool whole = content.size() % kPage == 0 && content.substr(0, 19).ends_with("Standard Jet DB");
  return whole ? Ok() : Status(Error{ErrorCode::kDamaged, "it is no whole Jet database"});
}

struct StationFile {
  const char* name;
  Status (*check)(const std::string& content);
  const char* loss;  ///< what comes of it
};
constexpr std::array kFiles{
    StationFile{"RIGMEM.MEM", CheckMemories, "without one the console sets it aside and has no memory channels"},
    StationFile{"KeyScreen.txt", CheckText,
                "without one the console sets it aside, and the CW texts are the usual ones"},
    StationFile{"RIGform.Pos", CheckPosition,
                "without one the console sets it aside, and windows and sliders are as usual"},
    StationFile{"rigsetup.mdb", CheckOldStore, "its rigs are not taken over"}};

void CheckFile(const Patient& patient, const StationFile& row, Chart& chart) {
  const auto content = patient.parts.files.Read(patient.parts.folder / row.name, kLargestFile);
  if (!content && (content.error().code == ErrorCode::kNotFound || content.error().code == ErrorCode::kDenied)) return;
  const Status sound = content ? row.check(*content) : Status(content.error());
  const std::string name = row.name;
  if (sound) return chart.Ok(name + ": can be read");
  chart.Error(name + ": " + OneLine(sound.error().message) + ": put a good copy in its place; " + row.loss);
}

/// Those that come with the program.
bool IsShipped(const DoctorParts& parts, const std::string& rig) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(parts.data / "rigs", error)) {
    const auto csv = entry.path().extension() == ".csv" ? parts.files.Read(entry.path()) : Result<std::string>("");
    const auto rows = config::ParseRigCsv(csv ? *csv : "");
    if (!rows) continue;
    for (const config::RigRow& row : *rows) {
      if (EqualNoCase(row.name(), rig)) return true;
    }
  }
  return false;
}

}  // namespace

/// What the folder holds beside the settings and the stores. What this user may not read is told of the folder.
void CheckFiles(const Patient& patient, Chart& chart) {
  for (const StationFile& file : kFiles) CheckFile(patient, file, chart);
  const platform::Path lock = patient.parts.folder / "kvx.lock";
  const auto taken = patient.parts.files.Read(lock);
  const bool may_be_read =
      taken || taken.error().code == ErrorCode::kNotFound || taken.error().code == ErrorCode::kDenied;
  if (!may_be_read)
    chart.Error("kvx.lock: " + OneLine(taken.error().message) + ", and without it no console starts: mv " +
                Quoted(lock.string()) + " " + Quoted(lock.string() + ".old"));
}

bool WillBeDefined(const Patient& patient, const std::string& rig) {
  return patient.parts.files.Exists(patient.parts.folder / "rigsetup.mdb") || IsShipped(patient.parts, rig);
}

}  // namespace kvx::console
