#include "console/rig_editor.h"

#include <algorithm>

#include "cat/command_keys.h"
#include "cat/command_template.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::console {
namespace {

constexpr std::size_t kLongestName = 60;
constexpr std::size_t kLongestField = 4096;

Error Invalid(std::string why) {
  return {ErrorCode::kInvalid, std::move(why)};
}

bool* FlagOf(config::RigRow& row, std::string_view field) {
  if (EqualNoCase(field, config::kHexField)) return &row.send_as_hex;
  if (EqualNoCase(field, config::kReverseField)) return &row.rev_data;
  return nullptr;
}

/// The part of a template that is sent.
std::string WithoutSuffix(std::string_view text) {
  return cat::SplitQuery(cat::CutBounds(text)).command;
}

/// Whether a function button's caption says that it makes the rig transmit, as "ATU tune TX"; "Tuner in" does not.
bool SaysTransmit(const std::string& caption) {
  const std::string upper = Upper(caption);
  const std::size_t tune = upper.find("TUNE");
  const bool tunes = tune != std::string::npos && upper.compare(tune, 5, "TUNER") != 0;
  return tunes || upper.find("TX") != std::string::npos || upper.find("XMT") != std::string::npos;
}

CommandPreview PreviewNow(const Station& station, const config::RigDefinition& rig, std::string_view key_or_command) {
  return PreviewCommand(station.console, station.engine.dispatcher.button_values(), rig, key_or_command);
}

/// Both halves of MEMO5.
CommandPreview PreviewPair(const Station& station, const config::RigDefinition& rig) {
  CommandPreview pair;
  struct Half {
    const char* label;
    const char* key;
  };
  for (const Half& half : {Half{"VFO to memory: ", "XVFOTOMEM"}, Half{"VFO B: ", "XSETFREQB"}}) {
    const CommandPreview preview = PreviewNow(station, rig, half.key);
    pair.text += (pair.text.empty() ? "" : "   ") + std::string(half.label) +
                 (preview.fault.empty() ? preview.text : preview.fault);
  }
  return pair;
}

}  // namespace

Status CheckRigName(const std::string& name) {
  const bool control = std::any_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
  if (Trim(name).empty()) return Invalid("the rig has no name");
  if (Trim(name).size() != name.size()) return Invalid("the name of a rig neither begins nor ends with a blank");
  if (EqualNoCase(name, "NONE")) return Invalid("NONE stands for no rig and cannot be the name of one");
  // A quote makes a name that is never found; an equals sign could be read as a setting's.
  if (control || name.find_first_of("'=") != std::string::npos)
    return Invalid("the name of a rig has no control character, no ' and no = in it");
  if (name.size() > kLongestName) return Invalid("the name of a rig has 60 characters at most");
  return Ok();
}

RigEditor::RigEditor(Station& station, platform::Files& files)
    : station_(station), files_(files), database_(station.folder() / "rigsetup.sqlite") {}

Status RigEditor::Open(const std::string& name) {
  auto row = database_.Find(name);
  if (!row) return row.error();
  if (!row->has_value())
    return Error{ErrorCode::kNotFound,
                 "there is no rig " + OneLine(name, kLongestName) + " in " + database_.file().string()};
  base_ = std::move(**row);
  row_ = base_;
  name_ = base_.name();
  new_ = false;
  return Ok();
}

Status RigEditor::CheckFree(const std::string& name) const {
  if (Status valid = CheckRigName(name); !valid) return valid;
  const auto there = database_.Find(name);
  if (!there) return there.error();
  if (there->has_value()) return Invalid("there is a rig " + name + " already");
  return Ok();
}

Status RigEditor::New(const std::string& name) {
  if (Status free = CheckFree(name); !free) return free;
  base_ = {};
  row_ = {};
  row_.Set("RigName", name);
  name_ = name;
  new_ = true;
  return Ok();
}

Status RigEditor::CopyAs(const std::string& name) {
  if (!is_open()) return Invalid("there is no rig to copy");
  if (Status free = CheckFree(name); !free) return free;
  base_ = {};
  row_.Set("RigName", name);
  name_ = name;
  new_ = true;
  return Ok();
}

Status RigEditor::Rename(const std::string& name, const std::string& new_name) {
  if (new_ && EqualNoCase(name_, name)) {
    if (Status free = CheckFree(new_name); !free) return free;
    row_.Set("RigName", new_name);
    name_ = new_name;
    return Ok();
  }
  if (Status valid = CheckRigName(new_name); !valid) return valid;
  config::RigRow before;
  config::RigRow after;
  before.Set("RigName", name);
  after.Set("RigName", new_name);
  if (Status changed = database_.Change(before, after); !changed) return changed;
  if (!new_ && EqualNoCase(name_, name)) {
    base_.Set("RigName", new_name);
    row_.Set("RigName", new_name);
    name_ = new_name;
  }
  return Follow(name, new_name);
}

Status RigEditor::Delete(const std::string& name) {
  if (is_in_use(name)) return Error{ErrorCode::kBusy, name + " is in use: choose another rig first"};
  if (Status removed = database_.Remove(name); !removed) return removed;
  if (new_ || !EqualNoCase(name_, name)) return Ok();
  base_ = {};
  row_ = {};
  name_.clear();
  return Ok();
}

std::string RigEditor::Text(std::string_view field) const {
  config::RigRow row = row_;
  if (const bool* flag = FlagOf(row, field)) return *flag ? "Yes" : "No";
  return ToVisible(row_[field]);
}

Status RigEditor::Set(std::string_view field, std::string_view visible) {
  if (config::FindRigField(field) == nullptr)
    return Error{ErrorCode::kNotFound, "there is no field \"" + OneLine(field, 40) + "\""};
  if (bool* flag = FlagOf(row_, field)) {
    const auto value = config::ParseYesNo(visible);
    if (!value) return Invalid("\"" + OneLine(visible, 40) + "\" is neither Yes nor No");
    *flag = *value;
    return Ok();
  }
  if (visible.size() > kLongestField) return Invalid("the text is too long");
  row_.Set(field, FromVisible(visible));
  return Ok();
}

Status RigEditor::Save() {
  if (!is_open()) return Invalid("there is no rig to save");
  // A name that is there already may have been made by another program with rules of its own.
  if (new_ || row_.name() != base_.name()) {
    if (Status valid = CheckRigName(row_.name()); !valid) return valid;
  }
  Status saved = new_ ? database_.Insert(row_) : database_.Change(base_, row_);
  // Another program has removed the row meanwhile: what stands here is what the operator wants to have.
  if (!new_ && !saved && saved.error().code == ErrorCode::kNotFound) saved = database_.Insert(row_);
  if (!saved) return saved;
  const std::string old_name = new_ ? row_.name() : base_.name();
  base_ = row_;
  name_ = row_.name();
  new_ = false;
  Open(name_).ok();  // with what another program has changed in the other fields
  return Follow(old_name, name_);
}

void RigEditor::Revert() {
  row_ = base_;
  name_ = base_.name();
  new_ = false;
}

bool RigEditor::is_in_use(const std::string& name) const {
  return !EqualNoCase(name, "NONE") && EqualNoCase(*station_.console.RigName, name);
}

/// A rig of the store has changed: what uses it follows.
Status RigEditor::Follow(const std::string& name, const std::string& new_name) {
  const bool in_use = is_in_use(name);
  Status loaded = Ok();
  if (in_use) {
    station_.engine.dispatcher.ReleaseTransmitter();  // while its own release command is known
    loaded = station_.SetRig(new_name);
  }
  if (name != new_name) FollowSettings(name, new_name);
  return loaded;
}

void RigEditor::FollowSettings(const std::string& name, const std::string& new_name) {
  std::vector<config::SettingChange> lines;
  if (station_.settings().rig == new_name) lines.push_back({"XRIG=", new_name});
  const auto& saved_rigs = station_.settings().saved_rigs;
  for (int slot = 1; slot <= config::kSavedRigs; ++slot) {
    const bool same = EqualNoCase(saved_rigs[static_cast<std::size_t>(slot)].name, name);
    if (same) lines.push_back({config::SavedRigKey("RIG", slot), new_name});
  }
  if (lines.empty()) return;
  station_.ChangeSettings(
      [&](config::StationSettings& settings) {
        for (config::SavedRig& saved : settings.saved_rigs) {
          if (EqualNoCase(saved.name, name)) saved.name = new_name;
        }
      },
      [&lines](const config::StationSettings&) { return lines; });
  station_.console.SavedRigs.Set(*station_.console.SavedRigs + 1);
}

Status RigEditor::Replaced(const std::vector<config::RigRow>& rows) {
  for (const config::RigRow& row : rows) {
    if (!modified() && EqualNoCase(row.name(), name_)) Open(row.name()).ok();
    if (!is_in_use(row.name())) continue;
    if (const Status followed = Follow(row.name(), row.name()); !followed) return followed;
  }
  return Ok();
}

CommandPreview RigEditor::Preview(std::string_view field) const {
  const config::RigField* known = config::FindRigField(field);
  const config::RigDefinition rig = config::LoadDefinition(row_);
  if (known == nullptr) return {.fault = "there is no such field"};
  const std::string& value = row_[field];
  if (known->name == "MEMO5") return PreviewPair(station_, rig);
  if (!known->key.empty()) {
    const CommandPreview preview = PreviewNow(station_, rig, known->key);
    if (preview.bytes.empty() && value.empty()) return {.fault = "empty: nothing is sent"};
    return preview;
  }
  // An address that is itself a command goes out as it stands.
  if (known->name.starts_with("Add") && value.find(';') != std::string::npos) {
    const std::string bytes = ToLatin1(value);
    return {.bytes = bytes, .text = ShownBytes(bytes, false)};
  }
  if (known->use != config::RigFieldUse::kCommand) return {.fault = "not a command: nothing is sent"};
  if (value.empty()) return {.fault = "empty: nothing is sent"};
  return PreviewNow(station_, rig, WithoutSuffix(value));
}

bool RigEditor::Keys(const std::string& bytes) const {
  if (bytes.empty()) return false;
  if (cat::ButtonsKeyTransmitter(row_) && bytes == Preview("Alpha").bytes) return true;
  return cat::KeyingOf(config::LoadDefinition(row_), bytes).effect == cat::Keying::Effect::kOn;
}

bool RigEditor::KeysTransmitter(std::string_view field) const {
  const std::string bytes = Preview(field).bytes;
  if (bytes.empty()) return false;
  if (Keys(bytes)) return true;
  const config::RigField* known = config::FindRigField(field);
  const bool function = known != nullptr && known->name.starts_with("Function");
  return function && SaysTransmit(row_["F" + std::string(known->name.substr(8)) + "Desc"]);
}

Status RigEditor::Send(std::string_view field) {
  if (!station_.engine.link.is_open())
    return Error{ErrorCode::kClosed, "the rig port is closed (" + *station_.console.Port + ")"};
  const CommandPreview preview = Preview(field);
  if (!preview.fault.empty()) return Invalid(preview.fault);
  if (preview.bytes.empty()) return Invalid("these are two commands, which are not sent together");
  station_.console.ErrorText.Set("");
  const config::RigField* known = config::FindRigField(field);
  const bool in_use = is_in_use(row_.name()) && station_.engine.rig().row == config::LoadDefinition(row_).row;
  if (in_use && !known->key.empty()) return Answer(station_.engine.dispatcher.SendData(known->key));
  // The console releases the transmitter with the command of the rig in use; it would know none for this one.
  if (!in_use && Keys(preview.bytes))
    return Invalid("a command that keys the transmitter is sent only when it is saved and its rig is in use");
  return SendBytes(preview);
}

/// Through the dispatcher, which knows what has to happen after a command, where that writes just these bytes.
Status RigEditor::SendBytes(const CommandPreview& preview) {
  const bool binary = station_.engine.rig().binary();
  const bool plain =
      std::all_of(preview.bytes.begin(), preview.bytes.end(), [](unsigned char c) { return c < 0x80 && c != '<'; });
  const std::string literal = binary ? HexText::FromBytes(preview.bytes).digits : preview.bytes;
  if ((binary || plain) && cat::FindKey(literal) == nullptr)
    return Answer(station_.engine.dispatcher.SendData(literal));
  return Answer(station_.engine.link.WriteRigPort(preview.bytes) ? cat::SendOutcome::kSent
                                                                 : cat::SendOutcome::kRefused);
}

Status RigEditor::Answer(cat::SendOutcome outcome) const {
  if (outcome == cat::SendOutcome::kSent) return Ok();
  const std::string& why = *station_.console.ErrorText;
  return Error{ErrorCode::kBusy, why.empty() ? "The rig line is busy" : why};
}

}  // namespace kvx::console
