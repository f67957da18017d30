#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config/rig_row.h"
#include "console/station.h"

namespace kvx::console {

/// Rig definitions to and from CSV files. Each works piece by piece in the queue of the station's store, so that
/// everything else gets its turn, and not while the rig transmits: then it ends with an error and has changed nothing.
/// `done` may be called before they return, and after the RigExchange is gone.
class RigExchange final {
 public:
  /// What a file holds.
  struct Rigs {
    std::vector<config::RigRow> rows;
    std::vector<std::string> existing;  ///< the names that the store has already: Import replaces these rigs
  };
  using Read = std::shared_ptr<Rigs>;

  RigExchange(Station& station, platform::Files& files) : station_(station), files_(files) {}

  /// The rigs of a file as Export writes them; all of them or an error with the line.
  void ReadCsv(const platform::Path& file, std::function<void(const Result<Read>& read)> done) const;
  /// Takes the rigs into the store, all or none. Then RigEditor::Replaced has them followed.
  void Import(const Read& read, std::function<void(const Status& imported)> done) const;
  /// Writes rigs as the store has them; no names: all of them. Gives their number.
  void Export(const platform::Path& file, std::vector<std::string> names,
              std::function<void(const Result<int>& count)> done) const;

 private:
  Station& station_;
  platform::Files& files_;
};

}  // namespace kvx::console
