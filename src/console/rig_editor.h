#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "config/rig_database.h"
#include "config/rig_fields.h"
#include "console/command_preview.h"
#include "console/station.h"

namespace kvx::console {

/// Edits the station's rig definitions: a working copy of one row, which is in the store once it is saved, and what is
/// done with whole rows. Texts go in and out with control characters as `<CR>`, `<0x07>`. What is changed of the rig in
/// use is in use at once. An error is one sentence, and leaves working copy and store as they were.
class RigEditor {
 public:
  RigEditor(Station& station, platform::Files& files);

  Result<std::vector<std::string>> Names() const { return database_.Names(); }

  /// Takes a rig's row as the working copy, in place of the one before.
  Status Open(const std::string& name);
  /// Begins an empty rig. It is in the store once it is saved, as is the copy.
  Status New(const std::string& name);
  /// Goes on with the working copy as a new rig.
  Status CopyAs(const std::string& name);
  /// Renames a rig in the store; its function-key records, the saved rigs and the rig in use follow. A new one gets its
  /// name there when it is saved.
  Status Rename(const std::string& name, const std::string& new_name);
  /// Deletes a rig from the store, but not the one in use. The caller has asked.
  Status Delete(const std::string& name);

  /// Whether there is a working copy, and whether it differs from the store.
  bool is_open() const { return !row_.name().empty() || !base_.name().empty() || new_; }
  bool modified() const { return new_ || row_ != base_; }
  /// The name under which the store has the rig; of a new one, the name that it began with.
  const std::string& name() const { return name_; }
  bool is_new() const { return new_; }
  const config::RigRow& row() const { return row_; }
  /// A field of the working copy; of a flag, Yes or No.
  std::string Text(std::string_view field) const;
  Status Set(std::string_view field, std::string_view visible);
  /// Writes the working copy to the store. Another name in it renames the rig.
  Status Save();
  /// Takes the edits back; a new rig is gone.
  void Revert();

  /// Rows of the store have been replaced: the working copy, without edits, and the rig in use follow.
  Status Replaced(const std::vector<config::RigRow>& rows);

  /// The bytes that a field of the working copy makes with the console's present values.
  CommandPreview Preview(std::string_view field) const;
  /// Writes them to the rig port.
  Status Send(std::string_view field);
  /// Whether sending this field makes the rig transmit, as far as the row tells.
  bool KeysTransmitter(std::string_view field) const;

  Station& station() { return station_; }
  platform::Files& files() { return files_; }

 private:
  Status CheckFree(const std::string& name) const;
  bool is_in_use(const std::string& name) const;
  Status Follow(const std::string& name, const std::string& new_name);
  void FollowSettings(const std::string& name, const std::string& new_name);
  bool Keys(const std::string& bytes) const;
  Status SendBytes(const CommandPreview& preview);
  Status Answer(cat::SendOutcome outcome) const;

  Station& station_;
  platform::Files& files_;
  config::RigDatabase database_;
  config::RigRow base_;  ///< as it was read from the store
  config::RigRow row_;
  std::string name_;
  bool new_ = false;
};

/// Why a text cannot be the name of a rig.
Status CheckRigName(const std::string& name);

}  // namespace kvx::console
