#include "console/rig_exchange.h"

#include <algorithm>
#include <set>

#include "config/rig_batches.h"
#include "config/rig_csv.h"
#include "config/rig_database.h"
#include "console/rig_editor.h"

namespace kvx::console {
namespace {

constexpr std::size_t kLargestFile = 64U << 20;
constexpr std::size_t kRecordsInPiece = 1000;
constexpr std::size_t kRowsInPiece = 50;
constexpr const char* kNotImported = "Not imported: the rig is transmitting";
constexpr std::size_t kShown = 60;  // characters of a name

platform::Path StoreOf(const Station& station) {
  return station.folder() / "rigsetup.sqlite";
}

/// So that nobody who releases the transmitter waits for a disk.
functions::StoreQueue::Piece NotWhileTransmitting(const Station& station, const char* refusal,
                                                  functions::StoreQueue::Piece piece) {
  return [&console = station.console, refusal, piece = std::move(piece)]() -> Result<bool> {
    if (*console.Transmitting || *console.Tuning || *console.Tune) return Error{ErrorCode::kInvalid, refusal};
    return piece();
  };
}

/// A file that is being read.
struct Reading {
  explicit Reading(std::string text) : content(std::move(text)), reader(content) {}
  std::string content;
  config::RigCsvReader reader;
};

Result<std::vector<std::string>> Existing(const Station& station, const std::vector<config::RigRow>& rows) {
  auto names = config::RigDatabase(StoreOf(station)).Names();
  if (!names) return names;
  std::set<std::string> wanted;
  for (const config::RigRow& row : rows) wanted.insert(Upper(row.name()));
  std::erase_if(*names, [&wanted](const std::string& name) { return !wanted.contains(Upper(name)); });
  return names;
}

Result<RigExchange::Read> Checked(const Station& station, const platform::Path& file,
                                  std::vector<config::RigRow> rows) {
  if (rows.empty()) return Error{ErrorCode::kInvalid, "there is no rig in " + file.string()};
  for (const config::RigRow& row : rows) {
    if (const Status valid = CheckRigName(row.name()); !valid)
      return Error{ErrorCode::kInvalid,
                   file.string() + ": rig " + OneLine(row.name(), kShown) + ": " + valid.error().message};
  }
  auto existing = Existing(station, rows);
  if (!existing) return existing.error();
  return std::make_shared<RigExchange::Rigs>(RigExchange::Rigs{std::move(rows), std::move(*existing)});
}

/// A file that is being made.
struct Writing {
  std::vector<std::string> names;
  std::size_t next = 0;
  std::string csv;
  int rows = 0;
};

/// A name that the store lists but cannot find (it has a quote in it) is no reason to keep the others back.
Status WriteSome(const Station& station, Writing& work) {
  const std::size_t end = std::min(work.names.size(), work.next + kRowsInPiece);
  const auto at = [&work](std::size_t index) { return work.names.begin() + static_cast<std::ptrdiff_t>(index); };
  const auto rows = config::FindRigs(StoreOf(station), {at(work.next), at(end)});
  if (!rows) return rows.error();
  if (rows->empty() && work.names.size() == 1)
    return Error{ErrorCode::kNotFound, "there is no rig " + OneLine(work.names.front(), kShown)};
  const std::string blocks = config::FormatRigCsv(*rows);
  if (!work.csv.empty() && !blocks.empty()) work.csv += '\n';
  work.csv += blocks;
  work.rows += static_cast<int>(rows->size());
  work.next = end;
  return Ok();
}

}  // namespace

void RigExchange::ReadCsv(const platform::Path& file, std::function<void(const Result<Read>&)> done) const {
  const auto reading = std::make_shared<std::unique_ptr<Reading>>();
  const auto piece = [&files = files_, file, reading]() -> Result<bool> {
    if (*reading == nullptr) {
      auto content = files.Read(file, kLargestFile);
      if (!content) return content.error();
      *reading = std::make_unique<Reading>(std::move(*content));
    }
    const auto last = (*reading)->reader.ReadSome(kRecordsInPiece);
    if (!last) return Error{last.error().code, file.string() + " " + last.error().message};
    return last;
  };
  const auto end = [&station = station_, file, reading, done = std::move(done)](const Status& status) {
    done(status ? Checked(station, file, std::move((*reading)->reader.rows)) : Result<Read>(status.error()));
  };
  station_.functions.queue.DoInPieces(NotWhileTransmitting(station_, kNotImported, piece), end);
}

void RigExchange::Import(const Read& read, std::function<void(const Status&)> done) const {
  const auto rows = std::shared_ptr<const std::vector<config::RigRow>>(read, &read->rows);
  const auto import = std::make_shared<config::RigImport>(StoreOf(station_), rows);
  const auto piece = NotWhileTransmitting(station_, kNotImported, [import] { return import->DoSome(); });
  const auto last_piece = [import, piece] { return import->is_ending() ? import->DoSome() : piece(); };
  station_.functions.queue.DoInPieces(last_piece, std::move(done));
}

void RigExchange::Export(const platform::Path& file, std::vector<std::string> names,
                         std::function<void(const Result<int>&)> done) const {
  const auto work = std::make_shared<Writing>(Writing{.names = std::move(names), .csv = {}});
  const auto piece = [&station = station_, &files = files_, file, work]() -> Result<bool> {
    if (work->names.empty()) {
      auto all = config::RigDatabase(StoreOf(station)).Names();
      if (!all) return all.error();
      all->erase(std::unique(all->begin(), all->end(), EqualNoCase), all->end());  // of namesakes one can be found
      work->names = std::move(*all);
    }
    if (work->next < work->names.size()) {
      if (const Status written = WriteSome(station, *work); !written) return written.error();
      return false;
    }
    if (const Status written = files.Write(file, work->csv); !written) return written.error();
    return true;
  };
  const auto end = [work, done = std::move(done)](const Status& status) {
    done(status ? Result<int>(work->rows) : Result<int>(status.error()));
  };
  station_.functions.queue.DoInPieces(NotWhileTransmitting(station_, "Not exported: the rig is transmitting", piece),
                                      end);
}

}  // namespace kvx::console
