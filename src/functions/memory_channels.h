#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cat/operations.h"
#include "core/console.h"
#include "functions/channel_csv.h"
#include "functions/memory_file.h"
#include "platform/files.h"

namespace kvx::functions {

/// What becomes of a channel that is there already when another one is imported.
enum class Conflict { kRefuse, kReplace, kKeep };

/// The hundred memory channels of the station, kept in `RIGMEM.MEM`: every change is written at once. Channels are
/// counted from 1; kInvalid for another number, kNotFound for an empty channel where one has to hold something.
class MemoryChannels final {
 public:
  MemoryChannels(Console& console, cat::Operations& operations, cat::Dispatcher& dispatcher, platform::Files& files,
                 platform::Path folder);
  MemoryChannels(const MemoryChannels&) = delete;
  MemoryChannels& operator=(const MemoryChannels&) = delete;

  /// Reads the file; one that cannot be used is set aside. What happened is the error; the channels then are empty.
  Status Load();
  Status Save();

  const MemoryChannel& channel(int number) const { return file_.channels.at(static_cast<std::size_t>(number - 1)); }
  /// The first empty channel; 0 when there is none.
  int first_free() const;

  /// Stores frequency, mode, width and VFO in use. The name, skip mark and comment that the channel has stay, unless
  /// `name` says otherwise.
  Status Store(int number, const std::optional<std::string>& name = {});
  /// Chooses its VFO, tunes and sets its mode. It then is the current one.
  Result<cat::SendOutcome> Recall(int number);
  Status SetName(int number, const std::string& name);
  /// Replaces what it holds, as a table's cells are edited.
  Status Change(int number, const MemoryChannel& channel);
  /// Takes a channel out and puts it in at `to`; those between move by one.
  Status Move(int from, int to);
  Status Delete(int number);
  /// Empties several in one step; those that are empty are left alone.
  Status Delete(const std::vector<int>& numbers);
  /// Takes back the last change, up to a bounded number of them. kNotFound when there is none.
  Status Undo();
  bool can_undo() const { return !undo_.empty(); }

  /// The channel that was recalled last; 0: none.
  int current() const { return current_; }
  /// The next channel that holds something, upwards (1) or downwards (-1) from the current one, round and round; 0 when
  /// all are empty.
  int Neighbour(int direction) const;

  // The rig's own memories: the row's commands.

  cat::SendOutcome VfoToMemory() { return dispatcher_.SendData("XVFOTOMEM"); }
  cat::SendOutcome MemoryToVfo() { return dispatcher_.SendData("XMEMTOVFO"); }
  cat::SendOutcome MemoryChannelKey() { return dispatcher_.SendData("XMEMCH"); }

  /// Writes all channels as CSV; a file name without a folder is one of the station folder. Gives a sentence.
  Result<std::string> Export(const platform::Path& file) const;
  /// Takes the channels of a CSV file, all or none. One without a usable number goes to the first free channel.
  Result<std::string> Import(const platform::Path& file, Conflict conflict);
  /// The same in steps, for who has to ask in between: what the file holds, the numbers that are there already, and
  /// taking it.
  Result<std::vector<NumberedChannel>> Read(const platform::Path& file) const;
  std::vector<int> Conflicts(const std::vector<NumberedChannel>& channels) const;
  /// `file`: where they come from, for the sentence that it gives.
  Result<std::string> Take(const std::vector<NumberedChannel>& channels, Conflict conflict, const platform::Path& file);

  std::function<void()> on_change;

 private:
  using Channels = std::array<MemoryChannel, kChannels>;

  Status MustExist(int number) const;
  Status MustHold(int number) const;
  Status Change(const Channels& channels);
  Status Keep(const Channels& channels);

  Console& console_;
  cat::Operations& operations_;
  cat::Dispatcher& dispatcher_;
  platform::Files& files_;
  platform::Path folder_;
  MemoryFile file_;
  std::deque<Channels> undo_;  ///< what was there before each change, the latest last
  int current_ = 0;
  Status writable_ = Ok();  ///< why the file must not be written: it holds what could not be read or moved
};

}  // namespace kvx::functions
