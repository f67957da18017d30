#include "config/store_maker.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "config/rig_csv.h"
#include "config/rig_store.h"
#include "core/text.h"

namespace kvx::config {
namespace {

namespace fs = std::filesystem;
using platform::Path;

constexpr std::string_view kOldName = "rigsetup.mdb";
constexpr const char* kShippedSource = "shipped rigs";
constexpr std::size_t kOldLimit = 256U << 20;

/// FNV-1a: tells one version of our own data from the next.
std::string Hash(std::string_view bytes) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  return std::to_string(hash);
}

/// The files of a folder for which `wanted` holds, in the order of their names.
template <class Wanted>
std::vector<Path> FilesOf(const Path& folder, Wanted wanted) {
  std::vector<Path> found;
  std::error_code error;
  for (fs::directory_iterator it(folder.empty() ? "." : folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (wanted(it->path()) && it->is_regular_file(ignored)) found.push_back(it->path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

/// Size and time of a file: as long as they stay, its content is not looked at.
std::string Stamp(const Path& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  const auto time = fs::last_write_time(file, error);
  return error ? "" : std::to_string(size) + ' ' + std::to_string(time.time_since_epoch().count());
}

std::string Count(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace

Status StoreMaker::Prepare() {
  if (!files_.Exists(store_)) return Make();
  const Status usable = CheckStore();
  if (usable.ok()) {
    const Status updated = Update();
    if (!updated.ok()) notice_(updated.error().message);  // what it holds can be used all the same
    return Ok();
  }
  if (usable.error().code != ErrorCode::kDamaged) return usable;
  const Status aside = SetAside(usable.error().message);
  return aside.ok() ? Make() : aside;
}

/// Cheap enough for every start: the file begins and ends as it should and its main table can be read.
Status StoreMaker::CheckStore() const {
  const auto damaged = [](const std::string& why) { return Error{ErrorCode::kDamaged, why}; };
  Result<Sqlite> store = Sqlite::Open(store_);
  if (!store) return store.error();
  const Result<bool> row = store->HasRow("SELECT RigName FROM RigSetup LIMIT 1");
  if (!row && row.error().code == ErrorCode::kInvalid) return damaged(row.error().message);
  if (!row) return row.error();
  Result<SqliteStatement> page_size = store->Prepare("PRAGMA page_size");
  if (!page_size) return page_size.error();
  const Result<bool> known = page_size->Step();
  if (!known) return known.error();
  std::error_code error;
  const auto size = fs::file_size(store_, error);
  if (error || size % static_cast<std::uintmax_t>(std::max<std::int64_t>(page_size->Number(0), 1)) != 0) {
    return damaged(store_.string() + ": the file is cut short");
  }
  return Ok();
}

Status StoreMaker::SetAside(const std::string& why) {
  const Path aside = platform::SetAsideName(files_, store_);
  const Status moved = files_.Rename(store_, aside);
  if (!moved.ok()) return moved;
  notice_(why + ". It is now " + aside.string() + ", and " + store_.filename().string() + " is made anew");
  return Ok();
}

/// Built in memory and put in place in one step, so that there is never half a store.
Status StoreMaker::Make() {
  if (const Status aside = SetAsideCompanions(files_, store_); !aside) return aside;
  Result<Sqlite> store = Sqlite::OpenInMemory(store_.string());
  if (!store) return store.error();
  const Result<Work> work = FindWork(nullptr);
  if (!work) return work.error();
  const Result<int> added = Apply(*store, *work);
  if (!added) return added.error();
  Result<std::string> bytes = store->Serialize();
  if (!bytes) return bytes.error();
  const Status written = files_.Write(store_, *bytes);
  if (written.ok()) {
    Report(*work, *added, true);
    return written;
  }
  unwritten_ = std::move(*bytes);
  return Error{written.error().code, written.error().message + ": rigs can be chosen, none stored, until it is there"};
}

Status StoreMaker::Update() {
  Result<Sqlite> store = Sqlite::Open(store_);
  if (!store) return store.error();
  const Result<Work> work = FindWork(&*store);
  if (!work) return work.error();
  if (!work->any()) return Ok();
  const Status begun = store->Run("BEGIN IMMEDIATE");
  if (!begun.ok()) return begun;
  const Result<int> added = Apply(*store, *work);
  if (!added) return added.error();
  const Status committed = store->Run("COMMIT");
  if (committed.ok()) Report(*work, *added, false);
  return committed;
}

/// `store` is null for a store that is being made.
Result<StoreMaker::Work> StoreMaker::FindWork(Sqlite* store) {
  Work work;
  Result<std::string> old_mark = std::string();
  Result<std::string> shipped_mark = std::string();
  if (store != nullptr) {
    old_mark = ReadMark(*store, std::string(kOldName));
    if (!old_mark) return old_mark.error();
    shipped_mark = ReadMark(*store, kShippedSource);
    if (!shipped_mark) return shipped_mark.error();
  }
  FindOld(*old_mark, work);
  FindShipped(*shipped_mark, work);
  return work;
}

/// An old database beside the store. A copy of one that was taken before, with another time, is known by its content:
/// rows that were changed since then are not overwritten.
void StoreMaker::FindOld(const std::string& noted, Work& work) {
  const auto found =
      FilesOf(store_.parent_path(), [](const Path& path) { return EqualNoCase(path.filename().string(), kOldName); });
  if (found.empty()) return;
  const std::string stamp = Stamp(found.front());
  if (!stamp.empty() && noted.starts_with(stamp + ' ')) return;
  const Result<std::string> bytes = files_.Read(found.front(), kOldLimit);
  if (!bytes) return notice_(bytes.error().message);
  const std::string hash = ' ' + Hash(*bytes);
  work.old_file = found.front();
  work.old_mark = stamp + hash;
  if (noted.ends_with(hash)) return;
  Result<MdbContent> content = ReadMdb(found.front());
  if (content) {
    work.old = *std::move(content);
  } else {
    notice_(content.error().message);
    if (content.error().code != ErrorCode::kDamaged) work.old_mark.clear();  // tried again at the next start
  }
}

void StoreMaker::FindShipped(const std::string& noted, Work& work) {
  const auto files = FilesOf(data_ / "rigs", [](const Path& path) { return path.extension() == ".csv"; });
  std::vector<std::pair<Path, std::string>> contents;
  std::string all;
  for (const Path& file : files) {
    Result<std::string> csv = files_.Read(file);
    if (!csv) {
      notice_(csv.error().message);
      continue;
    }
    all += file.filename().string() + '\n' + *csv;
    contents.emplace_back(file, *std::move(csv));
  }
  const std::string hash = Hash(all);
  if (noted == hash) return;
  work.shipped_mark = hash;
  for (const auto& [file, csv] : contents) {
    const Result<std::vector<RigRow>> rows = ParseRigCsv(csv);
    if (!rows) {
      notice_(file.string() + ' ' + rows.error().message);
      continue;
    }
    work.shipped.insert(work.shipped.end(), rows->begin(), rows->end());
  }
  if (work.shipped.empty()) notice_("there are no rig definitions in " + (data_ / "rigs").string());
}

/// The operator's own rows win, then the shipped ones fill what is missing. Gives how many did.
Result<int> StoreMaker::Apply(Sqlite& store, const Work& work) {
  const Status complete = CompleteTables(store);
  if (!complete.ok()) return complete.error();
  if (work.old) {
    std::vector<RigRow> rigs;
    for (const MdbContent::Row& row : work.old->rig_setup) rigs.push_back(RigFromText(row));
    const Result<int> imported = InsertRigs(store, rigs, true);
    if (!imported) return imported.error();
    const Status functions = InsertFunctionRecords(store, work.old->rigfn);
    if (!functions.ok()) return functions.error();
  }
  const Result<int> added = InsertRigs(store, work.shipped, false);
  if (!added) return added.error();
  if (const Status filled = FillCwCommands(store, work.shipped); !filled) return filled.error();
  const Status old_noted = work.old_mark.empty() ? Ok() : WriteMark(store, std::string(kOldName), work.old_mark);
  if (!old_noted.ok()) return old_noted.error();
  const Status shipped_noted = work.shipped_mark.empty() ? Ok() : WriteMark(store, kShippedSource, work.shipped_mark);
  if (!shipped_noted.ok()) return shipped_noted.error();
  return *added;
}

void StoreMaker::Report(const Work& work, int shipped_added, bool made) {
  const std::string shipped = Count(static_cast<std::size_t>(shipped_added), "shipped rig definition");
  const std::string old = work.old ? Count(work.old->rig_setup.size(), "rig") + " and " +
                                         Count(work.old->rigfn.size(), "function-key record") + " from " +
                                         work.old_file.filename().string()
                                   : "";
  if (made) {
    notice_(store_.string() + " has been made: " + (old.empty() ? "" : old + ", ") + shipped);
    return;
  }
  if (work.old) notice_(store_.string() + ": took " + old);
  if (shipped_added > 0) notice_(store_.string() + ": took " + shipped);
}

}  // namespace kvx::config
