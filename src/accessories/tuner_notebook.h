#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "accessories/tuner_segments.h"
#include "accessories/tuner_store.h"
#include "core/console.h"
#include "core/loop.h"

namespace kvx::accessories {

/// What the twelve fields of the segment in hand are.
enum class TunerState {
  kEmpty,    ///< nothing is stored for it
  kStored,   ///< its record
  kUnsaved,  ///< edited, and not yet saved
  kCarried,  ///< nothing is stored for it: they are left from another segment
  kUnread    ///< its record could not be read
};

/// A segment as a list shows it.
struct TunerRow {
  const TunerSegment* segment;
  TunerValues values;  ///< unsaved ones before stored ones
  bool stored;
  bool unsaved;
};

/// A notebook of manual antenna-tuner settings: three setups for each segment of frequencies. It shows the segment of
/// the displayed frequency and follows it, unless another segment has been chosen; nothing is sent to rig or tuner.
/// Fields that are edited and not saved stay with their segment, over a frequency change and the program's end, until
/// they are saved or dropped. `Console::TunerNotebook` counts changes. Engine thread only.
class TunerNotebook final {
 public:
  /// Bytes of one field.
  static constexpr std::size_t kLongestText = 1000;

  TunerNotebook(Loop& loop, Console& console, platform::Files& files, platform::Path folder, platform::Path data);
  ~TunerNotebook();
  TunerNotebook(const TunerNotebook&) = delete;
  TunerNotebook& operator=(const TunerNotebook&) = delete;

  /// The notebook is opened: its file is made when there is none, and its segment shown. Every operation does so when
  /// it has not been done; only then the frequency is followed.
  Status Load();
  /// The end of the console: keeps what is not saved. From now on the rig is not visible.
  void Close();

  /// Shows the segment of the displayed frequency. Without a record the fields stay as they were, marked as left from
  /// their segment. kClosed, with nothing read, when there is no frequency.
  Status FindIt();
  /// Saves the fields for the segment of the displayed frequency, or for the chosen one: its record is edited, or added
  /// when there is none. Gives a sentence. kClosed, with nothing written, when there is no frequency.
  Result<std::string> SaveIt();

  /// The segment that is shown and edited. kClosed when it would be that of the frequency, and there is none.
  Result<const TunerSegment*> InHand();
  /// Shows that segment whatever the frequency, null: the one of the frequency.
  Status Choose(const TunerSegment* segment);
  /// Changes a field of a segment; what is not saved of it then is its draft. kInvalid for a text that is too long.
  Status Edit(const TunerSegment& segment, std::size_t field, const std::string& text);
  /// Drops what is not saved of the segment. kNotFound when there is nothing. Gives a sentence.
  Result<std::string> Drop(const TunerSegment& segment);
  /// Brings back what was dropped last.
  Result<std::string> UndoDrop();
  bool can_undo() const { return !dropped_.empty(); }
  /// Saves every segment that has something unsaved.
  Result<std::string> SaveAll();

  /// Writes the stored records as CSV; a file name without a folder is one of the station folder. Gives a sentence.
  Result<std::string> Export(const platform::Path& file);
  /// Takes the records of a CSV file or an old `.mdb`, as unsaved ones where they differ. All or none: kInvalid when a
  /// segment of them has something unsaved already.
  Result<std::string> Import(const platform::Path& file);

  /// All segments in their order.
  Result<std::vector<TunerRow>> Rows();

  /// The segment in hand; null before the first frequency.
  const TunerSegment* segment() const { return segment_; }
  /// Whether it has been chosen, and is not that of the frequency.
  bool is_chosen() const { return chosen_; }
  const TunerValues& fields() const { return fields_; }
  TunerState state() const { return state_; }
  /// The segment from which the fields are left.
  const TunerSegment* carried_from() const { return carried_from_; }
  std::size_t unsaved_count() const { return drafts_.size(); }
  /// "stored", "unsaved" and the like.
  std::string StateText() const;

  /// A fault that comes by itself: while the frequency is followed, or when drafts cannot be kept.
  std::function<void(const std::string& line)> on_notice;

 private:
  const TunerSegment* Displayed() const;
  Status MustBeLoaded();
  Status Show(const TunerSegment& segment);
  void ShowUnstored(const TunerSegment* before, bool was_read);
  Status MustBeRead();
  void Follow(Field field);
  void SetDraft(std::string_view key, std::optional<TunerValues> values);
  Status Save(const TunerRecords& records);
  void KeepDrafts(std::chrono::milliseconds patience = TunerStore::kPatience);
  void KeepLater();
  void Changed();
  Result<TunerRecords> ReadFile(const platform::Path& file) const;

  Loop& loop_;
  Console& console_;
  platform::Files& files_;
  platform::Path folder_;
  TunerStore store_;
  bool loaded_ = false;
  bool closed_ = false;
  bool chosen_ = false;
  const TunerSegment* segment_ = nullptr;
  const TunerSegment* carried_from_ = nullptr;
  TunerState state_ = TunerState::kEmpty;
  TunerValues fields_;
  std::optional<TunerValues> stored_;  ///< the record of the segment in hand
  TunerRecords drafts_;
  std::map<std::string, std::optional<TunerValues>> to_keep_;  ///< drafts that the file has otherwise
  std::deque<std::pair<const TunerSegment*, TunerValues>> dropped_;
  Loop::TimerId timer_ = 0;
  Duration pause_{};  ///< until drafts that could not be kept are tried again; 0: they could
  Console::Subscription subscription_;
};

}  // namespace kvx::accessories
