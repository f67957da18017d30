#pragma once

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "core/result.h"
#include "platform/files.h"

namespace kvx::config {
class Sqlite;
}

namespace kvx::accessories {

/// A field of the notebook: its column and its control in the window.
struct TunerField {
  const char* column;
  const char* control;
};
inline constexpr std::size_t kTunerSetups = 3;
inline constexpr std::size_t kTunerFieldsOfSetup = 4;
/// The three setups one after the other: description, transmitter side, inductor, antenna side.
inline constexpr std::array<TunerField, kTunerSetups * kTunerFieldsOfSetup> kTunerFields{{
    {"Desc1", "Desc1"},
    {"xmtr1", "Xmtr1"},
    {"inc1", "Ind1"},
    {"ant1", "Ant1"},
    {"Desc2", "Desc2"},
    {"xmtr2", "Xmtr2"},
    {"inc2", "Ind2"},
    {"ant2", "Ant2"},
    {"Desc3", "Desc3"},
    {"xmtr3", "Xmtr3"},
    {"inc3", "Ind3"},
    {"ant3", "Ant3"},
}};
/// The field of that control or column, in any case; nothing when there is none.
std::optional<std::size_t> TunerFieldOf(std::string_view name);

/// The twelve texts of a segment, in the order of kTunerFields.
using TunerValues = std::array<std::string, kTunerFields.size()>;
/// By segment key.
using TunerRecords = std::map<std::string, TunerValues, std::less<>>;

/// The tuner notebook's file, `TunerSUB.sqlite`: table `Tuner`, one record per segment, sought by its index `Freq`, and
/// table `TunerDraft` of the same columns for what has been edited and not saved. Opened for each use, so that other
/// programs may use it meanwhile; every write is one transaction.
class TunerStore final {
 public:
  /// How long a step waits while another program writes; the window must not stand still.
  static constexpr std::chrono::milliseconds kPatience{50};

  TunerStore(platform::Files& files, platform::Path folder, platform::Path data)
      : files_(files), folder_(std::move(folder)), data_(std::move(data)) {}

  /// Makes the file when there is none: a copy of the shipped empty `Tuner.sqlite`, with the records of a
  /// `TunerSUB.mdb` beside it. A file that is damaged is set aside and made anew. Gives a sentence on what has
  /// happened, else "".
  Result<std::string> Prepare();

  Result<std::optional<TunerValues>> Find(std::string_view key) const;
  Result<TunerRecords> Records() const;
  Result<TunerRecords> Drafts() const;

  /// Writes records, each in place of the one that is there; what was not saved of them goes.
  Status Save(const TunerRecords& records);
  /// Writes drafts; nothing: there is none any more.
  Status KeepDrafts(const std::map<std::string, std::optional<TunerValues>>& drafts,
                    std::chrono::milliseconds patience = kPatience);

 private:
  Status Check() const;
  Result<std::string> Make();
  Result<TunerRecords> ReadTable(const std::string& table) const;

  platform::Files& files_;
  platform::Path folder_;
  platform::Path data_;
  platform::Path file_ = folder_ / "TunerSUB.sqlite";
};

}  // namespace kvx::accessories
