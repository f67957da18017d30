#include <algorithm>
#include <array>

#include "cat/command_keys.h"
#include "config/line_speeds.h"
#include "config/rig_store.h"
#include "config/sqlite.h"
#include "console/command_preview.h"
#include "console/doctor_checks.h"
#include "console/usual_port.h"
#include "core/lines.h"
#include "core/text.h"
#include "keyer/keyer.h"

namespace kvx::console {
namespace {

using platform::Path;

constexpr std::uint64_t kLeastFree = 10U << 20;  // bytes
constexpr std::size_t kLargestStore = 256U << 20;
constexpr std::size_t kMostNamed = 5;
constexpr int kCopies = 3;  // of a store that is being written
constexpr std::array<std::string_view, 6> kTriedKeys{"XGETFREQ", "XSETFREQ", "XREADMODE", "XLSB", "XUSB", "XCWW"};
constexpr const char* kChooseRig = "choose the rig (window Setup, page Rig; or the command rig NAME)";

Result<std::string> ReadRigIni(const DoctorParts& parts) {
  return parts.files.Read(parts.folder / "rig.ini");
}

std::string ContentOf(const Result<std::string>& file) {
  return file && IsText(*file) ? *file : std::string();
}

std::string Size(std::uint64_t bytes) {
  const std::uint64_t megabytes = bytes >> 20;
  return megabytes < 10'000 ? std::to_string(megabytes) + " MB" : std::to_string(megabytes >> 10) + " GB";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size() && i < kMostNamed; ++i) text += (i == 0 ? "" : ", ") + OneLine(words[i], 80);
  return words.size() > kMostNamed ? text + " and others" : text;
}

void CheckConsole(const Patient& patient, Chart& chart) {
  if (patient.console) return chart.Ok("console: " + NameOf(*patient.console) + ", runs on this station");
  chart.Ok("console: none runs on this station");
}

void CheckLock(const Patient& patient, Chart& chart) {
  const Path lock = patient.parts.folder / "Rig.$$$";
  if (!patient.parts.files.Exists(lock)) return;
  const auto holder = patient.parts.station.HolderOf(lock);
  if (!holder) return chart.Ok("Rig.$$$ was left by a program that has ended; the next save takes it over");
  if (patient.IsConsole(*holder)) return;
  chart.Warn("Rig.$$$ is held by " + NameOf(*holder) + ": no settings can be saved until that program has ended");
}

std::string UnknownLines(std::string_view content) {
  const auto& keys = config::SettingKeys();
  int unknown = 0;
  while (!content.empty()) {
    const std::string_view line = TakeLine(content).text;
    const auto holds = [line](const std::string& key) { return ContainsNoCase(line, key); };
    if (!Trim(line).empty() && std::none_of(keys.begin(), keys.end(), holds)) ++unknown;
  }
  if (unknown == 0) return "";
  return "; " + std::to_string(unknown) + (unknown == 1 ? " line is" : " lines are") + " not the console's and kept";
}

void CheckNumbers(const Patient& patient, Chart& chart) {
  struct Row {
    const char* key;
    int low, high;
    std::string what;
  };
  const std::string speed =
      "a speed, " + std::to_string(config::kSlowestLine) + " to " + std::to_string(config::kFastestLine) + " baud";
  const std::array kRows{Row{"RIGPORT=", 0, platform::kHighestPort, "a port number, 0 to 99"},
                         Row{"RIGSPEED=", config::kSlowestLine, config::kFastestLine, speed},
                         Row{"PADDLECOM=", 0, platform::kHighestPort, "a port number, 0 to 99"},
                         Row{"ANTPORT=", 0, platform::kHighestPort, "a port number, 0 to 99"},
                         Row{"NETPORT=", 1, 65'535, "a port number, 1 to 65535"}};
  for (const Row& row : kRows) {
    const std::string_view value = Trim(patient.stored.text(row.key));
    if (value.empty() || ParseNumber(value, row.low, row.high)) continue;
    chart.Warn("rig.ini: " + std::string(row.key) + OneLine(value, 40) + " is not " + row.what +
               ": correct the line, or choose anew in the window Setup");
  }
}

/// A copy in memory, so that nothing is written beside the file. kDamaged: it is not whole.
Result<config::Sqlite> CopyOf(const platform::Files& files, const Path& file) {
  auto content = files.Read(file, kLargestStore);
  if (!content) return content.error();
  constexpr std::size_t kFormat = 18;  // two bytes: 2 says that a log stands beside the file, which a copy has none of
  if (content->size() > kFormat + 1) (*content)[kFormat] = (*content)[kFormat + 1] = 1;
  auto store = config::Sqlite::OpenInMemory(file.filename().string(), *content);
  if (!store) return store;
  auto check = store->Prepare("PRAGMA quick_check(1)");
  if (!check) return check.error();
  const auto row = check->Step();
  if (!row) return row.error();
  const std::string told = check->Text(0);
  if (told == "ok") return store;
  return Error{ErrorCode::kDamaged, file.filename().string() + ": " + OneLine(told)};
}

/// One that is written at this moment may look damaged.
Result<config::Sqlite> SteadyCopyOf(const platform::Files& files, const Path& file) {
  auto copy = CopyOf(files, file);
  for (int i = 1; i < kCopies && !copy && copy.error().code == ErrorCode::kDamaged; ++i) copy = CopyOf(files, file);
  return copy;
}

std::string CountOf(config::Sqlite& store, const std::string& table, const std::string& what) {
  auto count = store.Prepare("SELECT count(*) FROM " + table);
  if (!count) return "";
  const auto row = count->Step();
  return row && *row ? ", " + std::to_string(count->Number(0)) + " " + what : "";
}

struct Store {
  const char* file;
  const char* table;
  const char* what;   ///< its rows
  const char* holds;  ///< what is lost with it
};
constexpr std::array kStores{
    Store{"rigsetup.sqlite", "RigSetup", "rig definitions", "rig definitions of your own and stored function keys"},
    Store{"TunerSUB.sqlite", "Tuner", "segments", "what you have written into the tuner notebook"}};

void CheckStore(const Patient& patient, const Store& row, Chart& chart) {
  const Path file = patient.parts.folder / row.file;
  const std::string name = row.file;
  auto store = SteadyCopyOf(patient.parts.files, file);
  if (store) {
    const std::string count = CountOf(*store, row.table, row.what);
    if (!count.empty()) return chart.Ok(name + ": whole" + count);
    return chart.Warn(name + ": has no table " + row.table + ": start the console, which completes it");
  }
  switch (store.error().code) {
    case ErrorCode::kNotFound:
      return chart.Ok(name + ": not there yet; the console makes it at its start");
    case ErrorCode::kDenied:
      return chart.Error(name + ": this user may not read it: sudo chown $USER " + Quoted(file.string()));
    case ErrorCode::kDamaged:
    case ErrorCode::kInvalid:
      break;
    default:
      return chart.Error(name + ": cannot be read (" + store.error().message + "): put a good copy in its place");
  }
  Path journal = file;
  journal += "-journal";
  if (patient.parts.files.Exists(journal))
    return chart.Warn(name + ": a change of it was interrupted; the next start of the console takes that back");
  chart.Error(name + ": damaged (" + store.error().message + "): put a good copy in its place while no console runs; " +
              "without one the console sets it aside as " + name +
              ".damaged at its start and makes a new one, without " + row.holds);
}

Result<std::optional<config::RigRow>> FindRow(const Patient& patient) {
  auto store = SteadyCopyOf(patient.parts.files, patient.parts.folder / "rigsetup.sqlite");
  if (!store) return store.error();
  auto statement = store->Prepare("SELECT * FROM RigSetup WHERE RigName = ? COLLATE NOCASE ORDER BY rowid LIMIT 1");
  if (!statement) return statement.error();
  statement->Bind(1, patient.settings.rig);
  const auto row = statement->Step();
  if (!row) return row.error();
  return *row ? std::optional<config::RigRow>(config::ReadRig(*statement)) : std::nullopt;
}

/// The commands that every rig is tuned by.
void CheckCommands(const config::RigRow& row, const config::RigSetup* usual, Chart& chart) {
  const config::RigDefinition rig = config::LoadDefinition(row);
  Console values;
  Frequency frequency{140'250'000};
  if (usual != nullptr && !usual->ranges.empty() && !usual->Receives(frequency)) frequency = usual->ranges.front().low;
  values.FreqDisp.Set(frequency);
  std::vector<std::string> faults;
  for (const std::string_view name : kTriedKeys) {
    const cat::CommandKey* key = cat::FindKey(name);
    if (key == nullptr || row[key->field].empty()) continue;
    const CommandPreview preview = PreviewCommand(values, {}, rig, name);
    if (!preview.fault.empty()) faults.push_back(std::string(key->field) + " (" + preview.fault + ")");
  }
  const std::string name = "rig " + OneLine(row.name(), 40);
  if (faults.empty()) return chart.Ok(name + ": is defined and its commands can be built");
  chart.Warn(name + ": commands that cannot be built: " + Joined(faults) +
             ": correct them (window Rig definitions; or the command rigdef set)");
}

std::string LineText(int speed, int stop_bits) {
  return std::to_string(speed) + " baud, " + std::to_string(stop_bits) + " stop bit" + (stop_bits == 1 ? "" : "s");
}

void CheckSpeed(const Patient& patient, const config::RigSetup* usual, Chart& chart) {
  const config::StationSettings& settings = patient.settings;
  if (settings.rig_port == 0) return;
  const std::string line = "rig line: " + LineText(settings.rig_speed, settings.stop_bits());
  const std::string rig = OneLine(settings.rig, 40);
  if (!config::IsUsualSpeed(settings.rig_speed))
    return chart.Warn(line + " is no usual speed: choose the one in the rig's menu (window Setup, page Port)");
  if (usual == nullptr) return chart.Ok(line + "; the rig's own menu has to say the same");
  if (usual->speed == 0) return chart.Warn("rig " + rig + ": has no CAT port: it cannot be controlled");
  if (usual->speed == settings.rig_speed && usual->stop_bits != settings.stop_bits())
    return chart.Warn(line + ", but the " + rig + " leaves the factory with " +
                      LineText(usual->speed, usual->stop_bits) +
                      ": choose these (window Setup, page Port; or usual apply)");
  const bool same = usual->speed == settings.rig_speed;
  chart.Ok(line + (same ? ", as the " + rig + " leaves the factory"
                        : "; the " + rig + " leaves the factory with " + LineText(usual->speed, usual->stop_bits) +
                              ", and its own menu has to say what is set here"));
}

/// A rig that waits for the computer's line to rise says nothing without it.
void CheckLines(const Patient& patient, const config::RigSetup* usual, Chart& chart) {
  const int port = patient.settings.rig_port;
  const bool device = port > 0 && patient.ports.AddressOf(port).starts_with('/');
  if (usual == nullptr || !device || port >= config::kSwitchedPorts) return;
  const auto index = static_cast<std::size_t>(port);
  std::string missing;
  if (usual->dtr && !patient.settings.dtr_on[index]) missing = "DTR";
  if (usual->rts && !patient.settings.rts_on[index]) missing += missing.empty() ? "RTS" : " and RTS";
  if (missing.empty()) return;
  chart.Warn("rig line: the " + OneLine(patient.settings.rig, 40) + " may want " + missing +
             " on, now off: if it does " +
             "not answer, switch that on (window Setup, page Port; or the commands line dtr on, line rts on)");
}

}  // namespace

Patient::Patient(const DoctorParts& asked)
    : parts(asked),
      rig_ini(ReadRigIni(asked)),
      stored(config::Settings::Parse(ContentOf(rig_ini))),
      settings(config::StationSettings::From(stored)),
      keyer(keyer::KeyerSettings::From(stored, 0)),
      ports(platform::ReadPortTable(asked.files, asked.folder)),
      console(asked.station.HolderOf(asked.folder / "kvx.lock")) {}

void CheckFolder(const Patient& patient, Chart& chart) {
  const std::string path = patient.parts.folder.string();
  const std::string name = "station folder " + path + ": ";
  const platform::FolderFacts facts = patient.parts.station.Look(patient.parts.folder);
  if (!facts.exists) {
    std::error_code nowhere;  // the working directory may have been deleted
    Path above = std::filesystem::absolute(patient.parts.folder, nowhere).parent_path();
    while (!patient.parts.files.Exists(above) && above != above.parent_path()) above = above.parent_path();
    if (patient.parts.station.Look(above).writable) return chart.Ok(name + "not there yet; the first start makes it");
    return chart.Error(name + "cannot be made, because " + above.string() +
                       " cannot be written by this user: choose another folder with --station DIR");
  }
  if (!facts.is_folder) return chart.Error(name + "is a file: choose a folder with --station DIR");
  const std::string take = "sudo chown -R $USER " + Quoted(path);
  if (!facts.readable || !facts.writable) {
    chart.Error(name + "this user may not " + (facts.readable ? "write" : "read") + " it: " + take);
  } else if (!facts.refused.empty()) {
    chart.Error(name + "this user may not read and write " + Joined(facts.refused) +
                " in it, which another user has made, perhaps by sudo: " + take);
  } else if (facts.free_bytes < kLeastFree) {
    chart.Error(name + "its disk is full, " + Size(facts.free_bytes) + " are free: make room, df -h tells where");
  } else {
    chart.Ok(name + "can be written, " + Size(facts.free_bytes) + " free");
  }
  CheckConsole(patient, chart);
}

void CheckSettings(const Patient& patient, Chart& chart) {
  const Result<std::string>& file = patient.rig_ini;
  if (!file && file.error().code == ErrorCode::kNotFound) {
    chart.Ok("rig.ini: not there yet; every setting is at its start value");
  } else if (!file) {
    chart.Error("rig.ini: " + file.error().message + ": put a good copy in its place");
  } else if (!IsText(*file)) {
    chart.Error("rig.ini: is no text file, and every setting is at its start value: put a good copy in its place; " +
                std::string("else the console sets it aside as rig.ini.damaged"));
  } else {
    chart.Ok("rig.ini: can be read" + UnknownLines(*file));
  }
  CheckNumbers(patient, chart);
  CheckLock(patient, chart);
}

void CheckPortsFile(const Patient& patient, Chart& chart) {
  const auto& complaints = patient.ports.complaints;
  for (std::size_t i = 0; i < complaints.size() && i < kMostNamed; ++i)
    chart.Warn(complaints[i] + ": correct the line or delete it");
  if (complaints.size() > kMostNamed)
    chart.Warn("ports.ini: " + std::to_string(complaints.size() - kMostNamed) + " more lines cannot be used");
}

void CheckStores(const Patient& patient, Chart& chart) {
  for (const Store& store : kStores) CheckStore(patient, store, chart);
}

void CheckRig(const Patient& patient, Chart& chart) {
  const std::string name = "rig " + OneLine(patient.settings.rig, 40) + ": ";
  if (EqualNoCase(patient.settings.rig, "NONE"))
    return chart.Warn("rig: none is chosen: " + std::string(kChooseRig) + ", or try kvx --demo");
  UsualPorts usual(patient.parts.files, patient.parts.folder, patient.parts.data);
  const config::RigSetup* setup = usual.Of(patient.settings.rig);
  for (const std::string& complaint : usual.TakeComplaints()) chart.Warn(complaint + ": correct the file");
  const auto row = FindRow(patient);
  if (row && *row) CheckCommands(**row, setup, chart);
  const bool unmade = !row && row.error().code == ErrorCode::kNotFound;
  if ((row && !*row) || (unmade && !WillBeDefined(patient, patient.settings.rig)))
    chart.Error(name + "there is no such definition in rigsetup.sqlite" +
                (unmade ? ", which is not made yet: " : ": ") + kChooseRig + "; the command rigs lists them");
  if (patient.settings.rig_port == 0)
    chart.Warn(name + "no port is chosen: choose it (window Setup, page Port; or the commands port and device)");
  CheckSpeed(patient, setup, chart);
  CheckLines(patient, setup, chart);
}

void CheckKeyer(const Patient& patient, Chart& chart) {
  const keyer::KeyerSettings& keyer = patient.keyer;
  constexpr const char* kChoose = " (window Setup, page Keyer; or the command setting)";
  if (!keyer.unknown.empty())
    return chart.Warn("keyer: KEYERPORT=" + OneLine(keyer.unknown, 40) + " is no keyer: choose one" + kChoose);
  if (keyer.kind == keyer::KeyerKind::kNone) return chart.Ok("keyer: none is chosen");
  const std::string word = keyer::KeyerWord(keyer.kind, keyer.port);
  if (const Status possible = keyer::CheckChoice(keyer, patient.settings.rig_port); !possible)
    return chart.Error("keyer " + word + ": " + possible.error().message + kChoose);
  if (keyer.kind == keyer::KeyerKind::kWinkey && keyer.port == 0)
    return chart.Error("keyer WINKEY: no port is chosen: choose it" + std::string(kChoose));
  const bool by_line = keyer.kind != keyer::KeyerKind::kWinkey && keyer.kind != keyer::KeyerKind::kRigKeyer;
  if (!by_line || patient.parts.station.may_have_real_time()) return chart.Ok("keyer: " + word);
  chart.Warn(
      "keyer " + word + ": the system does not grant real-time priority, so dots and dashes may be uneven on a " +
      "busy computer: echo '@dialout - rtprio 20' | sudo tee /etc/security/limits.d/kvx.conf, then log in again");
}

}  // namespace kvx::console
