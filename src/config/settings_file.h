#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "config/settings.h"
#include "core/loop.h"
#include "core/task.h"
#include "platform/files.h"

namespace kvx::config {

/// `rig.ini` of a station folder, rewritten through `Rig.$$$`, whose existence is the lock between writers.
class SettingsFile {
 public:
  using Notice = std::function<void(const std::string& line)>;

  SettingsFile(Loop& loop, platform::Files& files, platform::Path folder, Notice notice)
      : loop_(loop), files_(files), folder_(std::move(folder)), notice_(std::move(notice)) {}

  /// Reads the file. Missing: every setting is at its start value. Unreadable or no text: the same, with a
  /// notice that names the file. A rig.ini that is missing while a whole Rig.$$$ of a dead writer is there is put in
  /// place from it. What a rewrite still has to put there, or could not, counts as if it stood there.
  Settings Read();

  /// Rewrites the file: waits for another writer at most five seconds (a lock that nobody holds any more is taken
  /// over), reads, changes, replaces. A failure is a notice and leaves the old file. Await it, or keep it; rewrites
  /// queue up behind each other.
  Task Rewrite(std::vector<SettingChange> changes);

  /// Whether the last Rewrite reached the disk.
  bool saved() const { return saved_; }

 private:
  /// A change that is not in the file, and the rewrite that it belongs to.
  struct Unsaved {
    SettingChange change;
    std::uint64_t turn;
  };
  /// What a lock attempt came to.
  enum class Attempt { kSaved, kFailed, kBusy };

  /// A place in the queue of rewrites, given up at the end of its procedure.
  class Turn {
   public:
    explicit Turn(SettingsFile& file) : file_(file), id_(++file.last_turn_) { file.turns_.push_back(id_); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { std::erase(file_.turns_, id_); }
    bool come() const { return file_.turns_.front() == id_; }
    std::uint64_t id() const { return id_; }

   private:
    SettingsFile& file_;
    std::uint64_t id_;
  };

  Settings WithUnsaved(const std::string& content) const;
  Attempt TryRewrite(const std::vector<SettingChange>& changes, platform::Files::Stale stale);
  Attempt Fail(const std::string& line);
  Result<bool> Restore(platform::Replacement& replacement);
  Result<std::string> OldContent();

  platform::Path ini() const { return folder_ / "rig.ini"; }
  platform::Path lock() const { return folder_ / "Rig.$$$"; }

  Loop& loop_;
  platform::Files& files_;
  platform::Path folder_;
  Notice notice_;
  bool saved_ = false;
  std::map<std::string, Unsaved> unsaved_;  ///< by key
  std::deque<std::uint64_t> turns_;
  std::uint64_t last_turn_ = 0;
};

}  // namespace kvx::config
