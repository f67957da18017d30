#include "config/settings_file.h"

#include <memory>

#include "core/text.h"

namespace kvx::config {
namespace {

using namespace std::chrono_literals;

constexpr Duration kAskAgain = 50ms;
constexpr Duration kTakeOverAfter = 4s;
constexpr Duration kGiveUpAfter = 5s;

/// Whether a temporary file can be what its writer wanted to write: a writer ends its last line.
bool IsWhole(std::string_view content) {
  return IsText(content) && (content.ends_with('\n') || content.ends_with('\r'));
}

}  // namespace

Settings SettingsFile::WithUnsaved(const std::string& content) const {
  std::vector<SettingChange> changes;
  for (const auto& [key, unsaved] : unsaved_) changes.push_back(unsaved.change);
  return Settings::Parse(changes.empty() ? content : RewriteSettings(content, changes));
}

Settings SettingsFile::Read() {
  const Result<std::string> content = files_.Read(ini());
  if (content && IsText(*content)) return WithUnsaved(*content);
  if (content) {
    notice_(ini().string() + " is no text file: every setting is at its start value");
    return WithUnsaved({});
  }
  if (content.error().code != ErrorCode::kNotFound) {
    notice_(content.error().message + ": every setting is at its start value");
    return WithUnsaved({});
  }
  const Result<std::string> left = files_.Read(lock());
  if (!left || !IsWhole(*left)) return WithUnsaved({});
  const auto replacement = files_.BeginReplace(ini(), lock(), platform::Files::Stale::kTakeOver);
  if (!replacement) return WithUnsaved({});  // its writer lives and will put it in place
  const Result<bool> restored = Restore(**replacement);
  if (!restored) notice_(restored.error().message);
  const Result<std::string> there = files_.Read(ini());
  return WithUnsaved(there ? *there : *left);
}

/// Puts a whole Rig.$$$ that a dead writer has left in the place of a missing rig.ini, and tells whether there was one.
/// Called while the lock is held, which ends then. Rig.$$$ may be the only copy, so it is never written.
Result<bool> SettingsFile::Restore(platform::Replacement& replacement) {
  const Result<std::string> content = files_.Read(ini());
  if (content || content.error().code != ErrorCode::kNotFound) return false;
  const Result<std::string> left = files_.Read(lock());
  if (!left || !IsWhole(*left)) return false;
  const Status adopted = replacement.Adopt();
  if (!adopted.ok()) return adopted.error();
  notice_("rig.ini was missing and has been restored from Rig.$$$");
  return true;
}

/// What a rewrite starts from; called while the lock is held. A file that is no text is set aside, never overwritten.
Result<std::string> SettingsFile::OldContent() {
  Result<std::string> content = files_.Read(ini());
  if (content && !IsText(*content)) {
    const platform::Path aside = platform::SetAsideName(files_, ini());
    const Status moved = files_.Rename(ini(), aside);
    if (!moved.ok()) return moved.error();
    notice_(ini().string() + " was no text file: it is now " + aside.filename().string() + " and a new one was begun");
    return std::string();
  }
  if (!content && content.error().code == ErrorCode::kNotFound) return std::string();
  return content;
}

SettingsFile::Attempt SettingsFile::Fail(const std::string& line) {
  notice_(line + ": the settings are not saved");
  return Attempt::kFailed;
}

SettingsFile::Attempt SettingsFile::TryRewrite(const std::vector<SettingChange>& changes,
                                               platform::Files::Stale stale) {
  auto replacement = files_.BeginReplace(ini(), lock(), stale);
  if (replacement) {
    const Result<bool> restored = Restore(**replacement);
    if (!restored) return Fail(restored.error().message);
    if (*restored) replacement = files_.BeginReplace(ini(), lock(), stale);
  }
  if (!replacement && replacement.error().code == ErrorCode::kBusy) return Attempt::kBusy;
  if (!replacement) return Fail(replacement.error().message);
  const Result<std::string> old_content = OldContent();
  if (!old_content) return Fail(old_content.error().message);
  const Status status = (*replacement)->Commit(RewriteSettings(*old_content, changes));
  return status.ok() ? Attempt::kSaved : Fail(status.error().message);
}

Task SettingsFile::Rewrite(std::vector<SettingChange> changes) {
  const Turn turn(*this);
  for (const SettingChange& change : changes) unsaved_.insert_or_assign(change.key, Unsaved{change, turn.id()});
  const TimePoint start = loop_.Now();
  while (true) {
    const Duration waited = loop_.Now() - start;
    Attempt attempt = Attempt::kBusy;
    if (turn.come()) {
      const bool take_over = waited >= kTakeOverAfter;
      attempt =
          TryRewrite(changes, take_over ? platform::Files::Stale::kTakeOver : platform::Files::Stale::kRespectYoung);
    }
    if (attempt == Attempt::kBusy && turn.come() && waited >= kGiveUpAfter) {
      attempt = Fail(lock().string() + " is in use by another program");
    }
    saved_ = attempt == Attempt::kSaved;
    if (saved_) std::erase_if(unsaved_, [&turn](const auto& entry) { return entry.second.turn == turn.id(); });
    if (attempt != Attempt::kBusy) co_return;
    co_await loop_.Sleep(kAskAgain);
  }
}

}  // namespace kvx::config
