#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "config/rig_row.h"
#include "core/result.h"
#include "platform/files.h"

namespace kvx::config {

class Sqlite;

/// The station's rig database, `rigsetup.sqlite`: tables `RigSetup` and `rigfn`. Opened for each use and closed at its
/// end, so that other programs may use it meanwhile. A missing or damaged file is an Error that names it; nothing is
/// destroyed.
class RigDatabase {
 public:
  using Notice = std::function<void(const std::string& line)>;

  explicit RigDatabase(platform::Path file) : file_(std::move(file)) {}

  /// At start-up: makes the store if there is none, from `rigsetup.mdb` beside it when that is there, else from the rig
  /// rows under `data` (data/rigs/*.csv). A store that is damaged is set aside under another name and made anew. An old
  /// `rigsetup.mdb` found beside an existing store is imported once. `notice` hears one line for whatever happened.
  /// A store that cannot be written stands in memory: what it would hold is found, as long as there is no file.
  Status Prepare(platform::Files& files, const platform::Path& data, const Notice& notice);

  /// The first row whose name is `name`, ignoring case. No value: no such row (a name with a quote in it never has
  /// one).
  Result<std::optional<RigRow>> Find(const std::string& name) const;
  /// All names in the order of the table's RigName index (ignoring case).
  Result<std::vector<std::string>> Names() const;
  /// Adds rows in one transaction; a row whose name is there already replaces the old one when `replace`, else is
  /// skipped. Gives the number of rows written.
  Result<int> Add(const std::vector<RigRow>& rows, bool replace);

  // Editing one row. kInvalid: the name is there already; kNotFound: the row is not there any more.

  Status Insert(const RigRow& row);
  /// Turns the row `before` into `after`: only the fields in which they differ are written, so that what another
  /// program has changed in the others stays. Under a new name its function-key records follow it.
  Status Change(const RigRow& before, const RigRow& after);
  /// Its function-key records stay, for a rig that comes back.
  Status Remove(const std::string& name);

  const platform::Path& file() const { return file_; }

 private:
  Result<Sqlite> OpenToRead() const;
  Status InTransaction(const std::function<Status(Sqlite&)>& work) const;

  platform::Path file_;
  std::string stand_in_;  ///< the bytes of a store that could not be written
};

}  // namespace kvx::config
