#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "config/mdb_import.h"
#include "config/rig_database.h"
#include "config/sqlite.h"

namespace kvx::config {

/// Brings the rig database of a station into being and up to date, once at start-up: see RigDatabase::Prepare.
class StoreMaker {
 public:
  StoreMaker(platform::Files& files, const platform::Path& store, const platform::Path& data,
             const RigDatabase::Notice& notice)
      : files_(files), store_(store), data_(data), notice_(notice) {}

  Status Prepare();
  /// The bytes of a new store that could not be written; empty when there is none.
  std::string TakeUnwritten() { return std::move(unwritten_); }

 private:
  /// Rows from outside that the store has not taken yet, and the marks by which it will know that it has.
  struct Work {
    std::optional<MdbContent> old;
    platform::Path old_file;
    std::string old_mark;
    std::vector<RigRow> shipped;
    std::string shipped_mark;
    bool any() const { return !old_mark.empty() || !shipped_mark.empty(); }
  };

  Status CheckStore() const;
  Status SetAside(const std::string& why);
  Status Make();
  Status Update();

  Result<Work> FindWork(Sqlite* store);
  void FindOld(const std::string& noted, Work& work);
  void FindShipped(const std::string& noted, Work& work);
  Result<int> Apply(Sqlite& store, const Work& work);
  void Report(const Work& work, int shipped_added, bool made);

  platform::Files& files_;
  const platform::Path& store_;
  const platform::Path& data_;
  const RigDatabase::Notice& notice_;
  std::string unwritten_;
};

}  // namespace kvx::config
