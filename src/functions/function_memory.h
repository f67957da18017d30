#pragma once

#include <array>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "cat/operations.h"
#include "core/console.h"
#include "core/loop.h"
#include "functions/dialogs.h"
#include "functions/function_store.h"
#include "functions/store_queue.h"

namespace kvx::functions {

/// The function keys stored by frequency: whenever the console has sent a frequency, mode and box texts that are stored
/// for it come back, and the keys marked for it are pressed. Database errors end an operation with everything left as
/// it was; only `done` hears of them.
class FunctionMemory final {
 public:
  /// Takes a sentence on what has been done.
  using Done = std::function<void(const Result<std::string>& done)>;

  FunctionMemory(Loop& loop, Console& console, cat::Operations& operations, FunctionStore& store, StoreQueue& queue,
                 const Dialogs& dialogs);
  FunctionMemory(const FunctionMemory&) = delete;
  FunctionMemory& operator=(const FunctionMemory&) = delete;

  /// Recalls what is stored for the rig and the displayed frequency. Called at the end of every frequency send; one
  /// that another overtakes presses no more keys.
  void GetFN();
  /// Stores the nine boxes and the mode for the rig and the displayed frequency. An argument that is one digit also
  /// marks that key for pressing; an empty one keeps the note of the store before.
  void StoreFN(const std::string& argument, const Done& done = {});
  /// Deletes what is stored for the rig and the displayed frequency.
  void DelFN(const Done& done = {});
  /// Puts back what the latest deletion took; then that of the one before is next. kNotFound when there is none.
  void UndoDelete(const Done& done = {});
  /// How many rows that would put back.
  std::size_t deleted_rows() const { return deleted_.empty() ? 0 : deleted_.back().size(); }
  /// Presses no more of the keys that a recall has still to press.
  void StopPresses();
  /// What is stored for the rig and the displayed frequency.
  Result<std::optional<FunctionRecord>> Stored();
  /// A row chosen from a list: tunes to its frequency and sets its mode. kInvalid when its frequency cannot be read.
  Result<cat::SendOutcome> Retrieve(const FunctionRecord& row);

  // Rows of a list, for its window.

  void ChangeRow(const FunctionRecord& before, const FunctionRecord& after, const Done& done = {});
  void DeleteRows(const std::vector<FunctionRecord>& rows, const Done& done = {});

  /// Whether a change of the console is made here and not by the operator.
  bool acting() const { return acting_ > 0; }
  /// The store is being written to or will be.
  const StoreQueue& queue() const { return queue_; }

  /// Presses function key 1 to 9.
  std::function<void(int number)> press;
  /// The operator stores or deletes what is stored for the displayed frequency.
  std::function<void()> on_operation;

 private:
  Task Recall();
  Task PressKeys(std::array<bool, kKeys> keys);
  void Apply(const FunctionRecord& record);
  bool rig_chosen() const { return *console_.RigName != "NONE"; }
  void Write(StoreQueue::Attempt attempt, std::function<std::string()> sentence, const Done& done);
  void Remember(std::vector<FunctionRecord> deleted);
  bool IsDisplayed(const FunctionRecord& row) const;

  Loop& loop_;
  Console& console_;
  cat::Operations& operations_;
  FunctionStore& store_;
  StoreQueue& queue_;
  const Dialogs& dialogs_;
  std::deque<std::vector<FunctionRecord>> deleted_;  ///< what each deletion took, the latest last
  std::string note_;                                 ///< of the last store that had one
  TimePoint wait_end_{};                             ///< of the wait before the last automatic press
  int acting_ = 0;
  Task recall_;
  Task presses_;
};

}  // namespace kvx::functions
