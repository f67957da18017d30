#include "console/station.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "accessories/accessories.h"
#include "audio/audio_analysis.h"
#include "audio/spectrum_trace.h"
#include "cat/reply.h"
#include "config/line_speeds.h"
#include "config/setting_faults.h"
#include "core/appearance_limits.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLongestNotice = 400;
constexpr std::size_t kLongestPreset = 255;  // of a function key; a longer one is no text for a rig
constexpr Duration kSameNotice = 1s;         // one that comes again sooner is of the same moment
constexpr int kLargestSlider = 99'999;

bool IsTheme(std::string_view name) {
  return std::find(kThemeNames.begin(), kThemeNames.end(), name) != kThemeNames.end();
}

}  // namespace

Station::Station(const StationParts& parts)
    : loop_(parts.loop),
      files_(parts.files),
      folder_(parts.folder),
      data_(parts.data),
      database_(parts.folder / "rigsetup.sqlite"),
      settings_file_(parts.loop, parts.files, parts.folder, [this](const std::string& line) { Notice(line); }),
      engine(parts.loop, console, parts.rig_port),
      bands(console, engine.dispatcher, engine.operations, settings_.band_memory),
      debug_log(parts.loop, parts.files, engine),
      announcer(parts.loop, console, engine.rig(), bands.plan(), parts.speech),
      functions(parts.loop, console, engine.operations, parts.files, parts.folder),
      memories(console, engine.operations, engine.dispatcher, parts.files, parts.folder),
      keyer({.loop = parts.loop,
             .console = console,
             .engine = engine,
             .files = parts.files,
             .folder = parts.folder,
             .port = parts.keyer_port,
             .make_line = parts.key_line,
             .guard = parts.keyer_guard,
             .text_guard = parts.text_guard,
             .make_backend = {}}),
      tuner_notebook(parts.loop, console, parts.files, parts.folder, parts.data),
      accessories(std::make_unique<accessories::Accessories>(accessories::AccessoryParts{.loop = loop_,
                                                                                         .console = console,
                                                                                         .files = parts.files,
                                                                                         .folder = parts.folder,
                                                                                         .rotator = parts.rotator,
                                                                                         .ports = parts.parallel})),
      clock_(parts.loop, console),
      after_crash_(parts.after_crash) {
  ConnectAccessories();
  if (parts.net != nullptr) StartNetServer(*parts.net);
  if (parts.loggers.cat != nullptr && parts.keyer_port != nullptr) StartLoggerLinks(parts);
  if (parts.worker != nullptr) ConnectAudio(parts);
  if (parts.dde != nullptr) {
    dde = std::make_unique<links::DdeServer>(loop_, console, engine.operations, *parts.dde);
    dde->on_notice = [this](const std::string& line) { Notice(line); };
  }
  engine.link.on_notice = [this](const std::string& line) { Notice(line); };
  engine.link.on_opened = [this] { PortOpened(); };
  engine.operations.SetOnNotSent([this](cat::SendOutcome outcome) {
    if (outcome != cat::SendOutcome::kNoTemplate) Notice("Not sent: " + WhyNotSent(outcome));
  });
  engine.poller.on_cycle_end = [this] { bands.SetPriv(); };
  functions.keys.press = [this](int number) { PressFunction(number); };
  ConnectScanner();
  keyer.on_notice = [this](const std::string& line) { Notice(line); };
  keyer.keep = [this](std::vector<config::SettingChange> lines) { KeepInFile(std::move(lines)); };
  tuner_notebook.on_notice = [this](const std::string& line) { Notice(line); };
  functions.dialogs.show = [this](const std::string& text) { Notice(text); };
  guard_ = parts.guard;
  if (parts.guard != nullptr) {
    engine.dispatcher.on_keyed = [this, guard = parts.guard](std::string_view release) {
      disarm_ = Task();
      guard->Arm(release);
      if (const Duration limit = transmit_limit(); limit > Duration{0})
        guard->ReleaseAfter(limit + platform::kGuardGrace);
    };
  }
  transmission_ = console.Subscribe([this](Field field) {
    const bool port_gone = field == Field::kPort && *console.Port != "open";
    const bool released = field == Field::kTransmitting && !*console.Transmitting;
    // The last close with a release in it that the device has not taken: the release process goes on with that.
    const bool undelivered = stopping_ && *console.Transmitting;
    if (undelivered) disarm_ = Task();
    if (guard_ != nullptr && (port_gone || released) && !undelivered) disarm_ = DisarmWhenDelivered();
    if (field != Field::kTransmitting) return;
    const Duration limit = *console.Transmitting && !stopping_ ? transmit_limit() : Duration{0};
    limit_ = limit > Duration{0} ? LimitTransmission(limit) : Task();
  });
}

Station::~Station() = default;

void Station::Notice(const std::string& line) {
  // Texts from outside have been made visible where they came in; whatever else has a control character in it is made
  // so here.
  const bool fits =
      line.size() <= kLongestNotice && std::none_of(line.begin(), line.end(), [](unsigned char c) { return c < 0x20; });
  const std::string text = fits ? line : OneLine(line, kLongestNotice);
  const bool again = text == *console.MsgArea && loop_.Now() - noticed_at_ >= kSameNotice;
  if (again) console.MsgArea.Set("");  // so that whoever follows it hears of it
  noticed_at_ = loop_.Now();
  console.MsgArea.Set(text);
}

std::string Station::WhyNotSent(cat::SendOutcome outcome) const {
  switch (outcome) {
    case cat::SendOutcome::kSent:
      return {};
    case cat::SendOutcome::kClosed:
      if (stopping_) return "the console is closing";
      if (*console.Port == "open") return "the rig port is being opened anew";
      return *console.Port == "closed" ? "the rig port is closed" : "the rig port is closed (" + *console.Port + ")";
    case cat::SendOutcome::kNoTemplate:
      return engine.rig().name.empty() ? "no rig is selected" : engine.rig().name + " has no such command";
    case cat::SendOutcome::kRefused:
      break;
  }
  return console.ErrorText->empty() ? "not sent" : *console.ErrorText;
}

void Station::Start() {
  ReadPosition();
  if (const Status loaded = memories.Load(); !loaded) Notice(loaded.error().message);
  PrepareStore();
  InitRig(" ").ok();
  if (after_crash_) {
    engine.dispatcher.OweRelease();
    keyer.OweRelease();
  }
  for (const std::string& fault : config::SettingFaults(settings_file_.Read())) Notice(fault);
  if (const Status loaded = keyer.functions.Load(); !loaded) Notice(loaded.error().message);
  if (audio) audio->Load();
  FollowKeyer();
  FollowLinks();
  accessories->antennas.Load(settings_file_.Read());
  ReadBandPlan();
  engine.poller.Start();
  OpenRigPort();
  clock_.Start();
  const bool could_transmit = settings_.rig_port != 0 || keyer.settings().kind != keyer::KeyerKind::kNone;
  if (after_crash_ && could_transmit)
    Notice("The console did not end in order: what it may have left transmitting is released first");
}

void Station::ReadPosition() {
  const platform::Path file = folder_ / "RIGform.Pos";
  const auto content = files_.Read(file);
  if (!content) {
    if (content.error().code != ErrorCode::kNotFound) Notice(content.error().message + SetAside(files_, file));
    return;
  }
  if (auto read = ParsePosition(*content, position); !read)
    return Notice(file.string() + ": " + read.error().message + SetAside(files_, file));
  for (std::size_t i = 0; i < position.sliders.size(); ++i)
    console.Slider.Set(i, std::clamp(position.sliders[i], 0, kLargestSlider));
  console.Colors.Set({position.display_colors[0], position.display_colors[1]});
}

void Station::WritePosition() {
  for (std::size_t i = 0; i < position.sliders.size(); ++i) position.sliders[i] = console.Slider[i];
  position.display_colors = {console.Colors->first, console.Colors->second};
  if (auto written = files_.Write(folder_ / "RIGform.Pos", FormatPosition(position)); !written)
    Notice(written.error().message);
}

void Station::PrepareStore() {
  const auto notice = [this](const std::string& line) { Notice(line); };
  if (auto prepared = database_.Prepare(files_, data_, notice); !prepared) Notice(prepared.error().message);
}

void Station::ReadBandPlan() {
  const platform::Path file = data_ / ("bandplan_region" + std::to_string(settings_.band_plan) + ".csv");
  const auto csv = files_.Read(file);
  if (!csv) return Notice(csv.error().message);
  auto plan = cat::BandPlan::Parse(*csv);
  if (!plan) return Notice(file.string() + ": " + plan.error().message);
  bands.UsePlan(std::move(*plan));
  console.BandPlan.Set(*console.BandPlan + 1);
}

Status Station::InitRig(const std::string& slot) {
  const config::StationSettings file = config::StationSettings::From(settings_file_.Read());
  const bool start_up = slot == " ";
  const auto number = start_up ? 0 : ParseNumber(slot, 0, config::kSavedRigs).value_or(-1);
  if (number < 0) return Error{ErrorCode::kInvalid, "there is no saved rig " + OneLine(slot)};
  config::StationSettings wanted = file;
  if (!start_up) wanted.band_memory = settings_.band_memory;  // newer than the file's
  if (number > 0) {
    const config::SavedRig& saved = file.saved_rigs[static_cast<std::size_t>(number)];
    if (saved.name.empty()) return Error{ErrorCode::kNotFound, "saved rig " + slot + " is empty"};
    wanted.rig_port = settings_.rig_port;
    wanted.rig_number = settings_.rig_number;
    wanted.rig = saved.name;
    if (saved.speed > 0) wanted.rig_speed = saved.speed;
    wanted.rig_start = saved.start_bit;
    wanted.rig_stop = saved.stop_bit;
  }
  if (auto known = FindRig(wanted.rig); !known && !start_up) return known.error();
  if (!start_up) {
    keyer.Escape();
    GiveUpRig(!EqualNoCase(wanted.rig, *console.RigName));
  }
  const auto texts_before = std::exchange(settings_, std::move(wanted)).function_texts;
  keyer_slot_ = number;
  console.RigNumber.Set(settings_.rig_number);
  for (std::size_t i = 0; i < console.Text5.size(); ++i) {
    const std::string& of_rig = engine.rig().row["FNT" + std::to_string(i + 1)];
    const bool typed = !start_up && console.Text5[i] != (of_rig.empty() ? texts_before[i] : of_rig);
    if (!typed && !settings_.function_texts[i].empty()) console.Text5.Set(i, settings_.function_texts[i]);
  }
  console.Offset.Set(ParseKhz(settings_.offset).value_or(Frequency{}));
  if (start_up) {
    console.Theme.Set(IsTheme(settings_.theme) ? settings_.theme : std::string(kThemeNames.front()));
    console.TextSize.Set(settings_.text_percent);
    console.Announce.Set(settings_.announcements);
  }
  clock_.SetGmtHours(settings_.gmt_is_set ? settings_.gmt_hours : 0);
  const Status loaded = SetRig(settings_.rig);
  if (!loaded) Notice(loaded.error().message);
  if (!start_up) {  // the same rig again as well: its meter begins on ALC, which the opened port sends
    console.MeterOn.Set(false);
    console.Label10.Set("ALC");
    FollowKeyer();
    FollowLinks();  // another keyer's port may be a link's
    OpenRigPort();
  }
  return loaded;
}

/// The row of a rig by name; an empty row for "NONE".
Result<config::RigRow> Station::FindRig(const std::string& name) const {
  if (EqualNoCase(name, "NONE")) return config::RigRow();
  auto row = database_.Find(name);
  if (!row) return row.error();
  if (!row->has_value())
    return Error{ErrorCode::kNotFound, "there is no rig " + OneLine(name) + " in " + database_.file().string()};
  return std::move(**row);
}

Status Station::SetRig(const std::string& name) {
  auto row = FindRig(name);
  if (!row) return row.error();
  if (row->name().empty()) {
    console.RigName.Set("NONE");
    console.RigType.Set("");
    return Ok();
  }
  // The offset that a rig without CAT had from its mode is not the next rig's.
  if (engine.rig().name == "TS-520") console.Offset.Set(ParseKhz(settings_.offset).value_or(Frequency{}));
  const bool changed = engine.UseRig(config::LoadDefinition(std::move(*row)));
  const config::RigDefinition& rig = engine.rig();
  settings_.rig = rig.name;
  settings_.family = rig.family;
  console.RigName.Set(rig.name);
  console.RigType.Set(rig.family);
  ApplyTs520Offset();
  if (!changed) return Ok();  // read again: what the operator has set since stays
  for (std::size_t i = 0; i < console.Text5.size(); ++i) {
    const std::string& text = rig.row["FNT" + std::to_string(i + 1)];
    if (!text.empty() && text.size() <= kLongestPreset) console.Text5.Set(i, text);
  }
  console.MeterOn.Set(false);
  console.Agc.Set("");
  console.Rit.Set(false);
  console.Xit.Set(false);
  if (engine.link.is_open()) AskLevels();
  console.Label10.Set("ALC");
  engine.dispatcher.SendData("ALC");
  console.RigRow.Set(*console.RigRow + 1);
  return Ok();
}

/// A rig without CAT whose dial is set by hand: the offset entry follows the mode.
void Station::ApplyTs520Offset() {
  if (engine.rig().name != "TS-520") return;
  struct Row {
    std::string_view mode;
    std::string_view khz;
  };
  for (const Row& row : {Row{"USB", "-1.5"}, Row{"LSB", "1.5"}, Row{"CW", "0"}}) {
    if (console.Mode->find(row.mode) != std::string::npos) console.Offset.Set(*ParseKhz(row.khz));
  }
}

Task Station::SaveRig(std::string name) {
  if (!name.empty() && !EqualNoCase(name, settings_.rig)) ChooseRig(name).ok();
  // A saved rig that is in use is what the next start finds, and its speed belongs to it.
  std::vector<config::SettingChange> changes = config::ConsoleChanges(settings_);
  // A line that cannot be used stays as it was written until the operator has chosen something else.
  const config::Settings stored = settings_file_.Read();
  const auto as_read = config::RigPortChanges(config::StationSettings::From(stored));
  for (config::SettingChange& change : config::RigPortChanges(settings_)) {
    const auto same = [&change](const auto& read) { return read.key == change.key && read.value == change.value; };
    const bool chosen = std::ranges::none_of(as_read, same);
    if (chosen || config::CanBeUsed(stored, change.key)) changes.push_back(std::move(change));
  }
  Task rewrite = settings_file_.Rewrite(std::move(changes));
  co_await rewrite;
  SetRig(settings_.rig).ok();
}

void Station::KeepInFile(std::vector<config::SettingChange> changes) {
  std::erase_if(saves_, [](const Task& task) { return task.done(); });
  saves_.push_back(settings_file_.Rewrite(std::move(changes)));
}

Status Station::ChooseRig(const std::string& name) {
  if (auto known = FindRig(name); !known) return known.error();
  functions.scanner.OperatorActs();
  keyer.Escape();
  GiveUpRig(!EqualNoCase(name, *console.RigName));
  const Status loaded = SetRig(name);
  if (loaded && EqualNoCase(name, "NONE")) {
    settings_.rig = "NONE";
    settings_.family.clear();
  }
  if (loaded) KeepInFile(config::ConsoleChanges(settings_));
  OpenRigPort();
  return loaded;
}

cat::SendOutcome Station::Rig_Click(int number) {
  functions.scanner.OperatorActs();
  const std::string before = *console.RigNumber;
  engine.operations.SendWaiting();
  engine.dispatcher.ReleaseTransmitter();
  console.RigNumber.Set(std::to_string(number));
  // A rig address that is itself a command (an antenna or rig selection ending in ";") is sent as it stands.
  const std::string& select = engine.rig().row["Add" + *console.RigNumber];
  const bool command = select.find(';') != std::string::npos;
  const cat::SendOutcome outcome =
      command ? SendRaw(select) : engine.dispatcher.SendData(*console.ActiveVfo == 'A' ? "XGETFREQ" : "XGETFREQB");
  if (outcome == cat::SendOutcome::kRefused) {
    console.RigNumber.Set(before);  // an address that is empty would reach no rig
    return outcome;
  }
  settings_.rig_number = *console.RigNumber;
  KeepInFile({{"RIGNUMBER=", settings_.rig_number}});
  return outcome;
}

cat::SendOutcome Station::SendRaw(const std::string& command) {
  if (!engine.link.is_open()) return cat::SendOutcome::kClosed;
  return engine.link.WriteRigPort(ToLatin1(command)) ? cat::SendOutcome::kSent : cat::SendOutcome::kRefused;
}

Status Station::xRig_Click(int slot) {
  if (slot < 0 || slot > config::kSavedRigs)
    return Error{ErrorCode::kInvalid, "there is no saved rig " + std::to_string(slot)};
  functions.scanner.OperatorActs();
  if (auto applied = InitRig(std::to_string(slot)); !applied) return applied;
  console.NoLimits.Set(false);
  console.RigSlot.Set(slot);
  console.Rport.Set(std::to_string(slot));
  return Ok();
}

void Station::SetRigPort(int number, int speed) {
  functions.scanner.OperatorActs();
  const bool unusual = speed != settings_.rig_speed && !config::IsUsualSpeed(speed);
  settings_.rig_port = number;
  settings_.rig_speed = speed;
  KeepInFile(config::RigPortChanges(settings_));
  FollowKeyer();
  FollowLinks();
  OpenRigPort();
  if (unusual) Notice(std::to_string(speed) + " baud" + config::kNoUsualSpeed);
}

void Station::ChangeSettings(
    const std::function<void(config::StationSettings&)>& change,
    const std::function<std::vector<config::SettingChange>(const config::StationSettings&)>& lines) {
  change(settings_);
  KeepInFile(lines(settings_));
  FollowKeyer();
  FollowLinks();
}

void Station::ConnectAccessories() {
  accessories::AntennaControl& antennas = accessories->antennas;
  antennas.write_rig = [this](std::string_view bytes) -> Status {
    if (stopping_ || !engine.link.is_open()) return Error{ErrorCode::kClosed, "the rig port is closed"};
    return engine.link.WriteRigPort(bytes) ? Ok() : Error{ErrorCode::kBusy, "too much is waiting at the rig port"};
  };
  antennas.transmitting = [this] { return *console.Transmitting || *console.Tune || keyer.sender().sending(); };
  antennas.announce = [this](int topic, const std::string& sentence) { announcer.Accessory(topic, sentence); };
  antennas.show = [this](const std::string& text) { Notice(text); };
  antennas.keep = [this](std::vector<config::SettingChange> lines) { KeepInFile(std::move(lines)); };
}

void Station::ConnectAudio(const StationParts& parts) {
  audio = std::make_unique<audio::AudioAnalysis>(audio::AudioParts{.loop = loop_,
                                                                   .files = files_,
                                                                   .folder = folder_,
                                                                   .data = data_,
                                                                   .worker = *parts.worker,
                                                                   .devices = parts.audio_devices,
                                                                   .make_input = parts.audio_input});
  audio->on_notice = [this](const std::string& line) { Notice(line); };
}

/// What a scan listens to: the receiver's audio while that is heard, else the S-meter.
void Station::ConnectScanner() {
  functions::Scanner& scanner = functions.scanner;
  scanner.level = [this] { return HearsAudio() ? audio->level() : *console.SMeter; };
  scanner.full_scale = [this] { return HearsAudio() ? audio::kFullLoudness : cat::SMeterFullScale(engine.rig()); };
  scanner.deaf = [this]() -> std::string {
    if (HearsAudio()) return "";
    if (!*console.Polling) return "the rig is not polled";
    return *console.MeterOn ? "another meter is polled instead of the S-meter" : "";
  };
  scanner.sending = [this] { return keyer.sender().sending(); };
  scanner.channels = [this] { return functions::ChannelStops(memories); };
  scanner.recall = [this](int channel) { return memories.Recall(channel); };
}

bool Station::HearsAudio() const {
  return audio && audio->running() && audio->source_state() == "open";
}

void Station::StartNetServer(platform::TcpServer& server) {
  net = std::make_unique<links::NetServer>(loop_, console, engine, server);
  net->on_notice = [this](const std::string& line) { Notice(line); };
  net->rig.send_morse = [this](cat::Party party, std::string_view text) -> Status {
    const auto taken = keyer.Send(text, party);
    if (!taken) return taken.error();
    return Ok();
  };
  net->rig.stop_morse = [this](cat::Party party) { keyer.StopFor(party); };
  net->rig.set_key_speed = [this](int wpm) { return keyer.SetSpeed(wpm); };
}

void Station::StartLoggerLinks(const StationParts& parts) {
  loggers = std::make_unique<links::LoggerLinks>(loop_, console, engine, keyer, *parts.keyer_port, parts.loggers);
  loggers->logger.on_notice = loggers->winkey.on_notice = [this](const std::string& line) { Notice(line); };
}

void Station::FollowLinks() {
  if (stopping_) return;
  const config::Settings stored = settings_file_.Read();
  if (net) net->Use(links::NetSettings::From(stored));
  if (loggers) loggers->Use(stored, settings_.rig_port, position.logger_program);
  if (dde) dde->Use(links::DdeSettings::From(stored));
}

void Station::FollowKeyer() {
  if (stopping_) return;
  keyer.Use(keyer::KeyerSettings::From(settings_file_.Read(), keyer_slot_), settings_.rig_port);
  const platform::PortSettings port = RigPort();
  if (port.number == engine.link.settings().number) engine.link.SetSwitches(port.dtr, port.rts);
}

/// A line that keys the transmitter is not raised by the port's own switches.
platform::PortSettings Station::RigPort() const {
  platform::PortSettings port{
      .number = settings_.rig_port, .speed = settings_.rig_speed, .stop_bits = settings_.stop_bits()};
  if (port.number < config::kSwitchedPorts) {
    port.dtr = settings_.dtr_on[static_cast<std::size_t>(port.number)];
    port.rts = settings_.rts_on[static_cast<std::size_t>(port.number)];
  }
  const keyer::KeyerSettings& keying = keyer.settings();
  if (keying.kind != keyer::KeyerKind::kRigLine) return port;
  (keying.key_on_rts ? port.rts : port.dtr) = keying.inverted;
  if (keying.use_ptt) (keying.key_on_rts ? port.dtr : port.rts) = keying.inverted;
  return port;
}

void Station::SetPace() {
  clock_.SetPace(std::chrono::milliseconds(settings_.poll_milliseconds), settings_.rig_speed,
                 cat::CycleCharacters(engine.rig()));
}

void Station::FollowSettings() {
  ReadBandPlan();
  bands.SetPriv();
  clock_.SetGmtHours(settings_.gmt_is_set ? settings_.gmt_hours : 0);
  SetPace();
  console.Offset.Set(ParseKhz(settings_.offset).value_or(Frequency{}));
  ApplyTs520Offset();
}

Status Station::SetTheme(const std::string& name) {
  const std::string theme = Lower(Trim(name));
  if (!IsTheme(theme)) {
    std::string why = "there is no theme " + OneLine(name, 40) + ":";
    for (const std::string_view known : kThemeNames) why += " " + std::string(known);
    return Error{ErrorCode::kInvalid, why};
  }
  ChangeSettings([&](config::StationSettings& settings) { settings.theme = theme; }, config::AppearanceChanges);
  console.Theme.Set(theme);
  return Ok();
}

Status Station::SetTextSize(int percent) {
  if (percent < kSmallestText || percent > kLargestText)
    return Error{ErrorCode::kInvalid, "the text size is " + std::to_string(kSmallestText) + " to " +
                                          std::to_string(kLargestText) + " percent"};
  ChangeSettings([&](config::StationSettings& settings) { settings.text_percent = percent; },
                 config::AppearanceChanges);
  console.TextSize.Set(percent);
  return Ok();
}

void Station::SetAnnounce(bool on) {
  ChangeSettings([&](config::StationSettings& settings) { settings.announcements = on; }, config::AppearanceChanges);
  console.Announce.Set(on);
}

void Station::OpenRigPort() {
  if (stopping_) return;
  GiveUpRig(false);
  SetPace();
  engine.link.OpenRigPort(RigPort(), !EqualNoCase(*console.RigName, "NONE"));
}

/// The follow-up of a freshly opened port. A transmitter that was keyed when the port went is released before anything
/// else.
void Station::PortOpened() {
  engine.dispatcher.PortOpened();
  engine.operations.Forget();
  engine.dispatcher.SendData(*console.Label10);
  engine.poller.PortOpened();
  AskLevels();
}

/// Nothing waits for a disk, which may take its time, before the releases have gone out.
Task Station::ShutDown() {
  bool released = keyer.transmits();
  keyer.Stop();
  if (net) net->Close();
  if (loggers) loggers->Close();
  if (dde) dde->DDEUnload();
  released = engine.dispatcher.ReleaseTransmitter() || released;
  functions.scanner.Stop();
  engine.operations.SendWaiting();
  // What follows may take seconds with the windows still there: nothing that is pressed in them reaches the rig.
  stopping_ = true;
  engine.link.Retire(false);
  levels_ = Task();
  engine.poller.Stop();
  clock_.Stop();
  if (released) {  // a port writes when the loop runs again
    Task release = engine.link.Deliver();
    co_await release;
  }
  accessories->antennas.Close();
  accessories->antennas.SaveChanges();
  if (audio) audio->Stop();
  if (audio) audio->Save();
  if (MaxAllForms) MaxAllForms();
  WritePosition();
  Task keying = keyer.Finish();
  co_await keying;
  bands.RememberBand();
  Task saved = SaveRig("");
  co_await saved;
  Task stored = functions.queue.Finish();
  co_await stored;
  if (const Status kept = memories.Save(); !kept) Notice(kept.error().message);
  tuner_notebook.Close();
  levels_ = Task();
  engine.dispatcher.ReleaseTransmitter();
  Task deliver = engine.link.Deliver();
  co_await deliver;
  const bool was_released = !*console.Transmitting;
  engine.link.CloseRigPort();
  if (was_released && *console.Transmitting)
    Notice("The rig port has not taken the release of the transmitter, which may be keyed still");
  if (UnloadStuff) UnloadStuff();
}

}  // namespace kvx::console
