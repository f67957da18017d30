#include "functions/function_exchange.h"

#include <memory>
#include <utility>

#include "functions/record_csv.h"

namespace kvx::functions {
namespace {

// One name in two spellings: the one that export writes, and the one that older programs ask for.
constexpr const char* kFile = "RigFunctions.CSV";
constexpr const char* kOtherFile = "RigFunctions.csv";
constexpr std::size_t kLargestFile = 64U << 20;

constexpr int kMostBeginnings = 5;
constexpr std::size_t kLinesInPiece = 300;

const Error kDeclined{ErrorCode::kInvalid, "it was answered no"};

std::string Rows(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " row" : " rows");
}

}  // namespace

/// An import under way.
struct FunctionExchange::ImportWork {
  explicit ImportWork(std::string_view content) : reader(content) {}
  RecordReader reader;
  std::string file;
  std::size_t left_out = 0;
  std::size_t taken = 0;
  std::function<Result<bool>()> importer;  ///< once the file is read
};

/// An export under way.
struct FunctionExchange::ExportWork {
  explicit ExportWork(const FunctionStore& store) : reader(store.Reader()), stamp(store.Stamp()) {}
  RowReader reader;
  std::string stamp;  ///< of the store when it began
  std::string csv;
  std::size_t rows = 0;
  int begun = 1;
};

void FunctionExchange::Export(const Done& done) {
  const Question question{.text = "Do you want to export RigFunctions.csv"};
  dialogs_.Ask(question, [this, done](bool yes) {
    if (!yes) return done ? done(kDeclined) : void();
    WriteFile(done);
  });
}

void FunctionExchange::WriteFile(const Done& done) {
  const auto work = std::make_shared<ExportWork>(store_);
  const auto end = [this, work, done](const Status& status) {
    dialogs_.Show(status ? "DONE. " : status.error().message);
    const std::string sentence = Rows(work->rows) + " to " + (folder_ / kFile).string();
    if (done) done(status ? Result<std::string>(sentence) : status.error());
  };
  queue_.DoInPieces([this, work] { return DoPiece(*work); }, end);
}

/// What another program writes meanwhile makes it begin anew: a file has the rows of one moment.
Result<bool> FunctionExchange::DoPiece(ExportWork& work) const {
  const auto last = work.reader.ReadSome();
  if (!last) return last;
  work.csv += FormatRecords(work.reader.rows);
  work.rows += work.reader.rows.size();
  if (!*last) return false;
  if (store_.Stamp() != work.stamp) {
    if (work.begun == kMostBeginnings)
      return Error{ErrorCode::kIo, store_.file().string() + " is being written by another program all the time"};
    const int begun = work.begun + 1;
    work = ExportWork(store_);
    work.begun = begun;
    return false;
  }
  if (const Status written = files_.Write(folder_ / kFile, work.csv); !written) return written.error();
  return true;
}

void FunctionExchange::Say(const std::string& text) const {
  if (*console_.Announce) console_.SPKBX.Set(text);
}

void FunctionExchange::Fail(const Error& error, const Done& done) const {
  Say(error.message);
  dialogs_.Show(error.message);
  if (done) done(error);
}

void FunctionExchange::Import(const Done& done) {
  const Question question{.text = std::string("Do you want to Import RigFunctions.csv ?") + " Enter Y or N",
                          .title = "MsgBox Demonstration",
                          .help_file = "DEMO.HLP"};
  Say(question.text);
  dialogs_.Ask(question, [this, done](bool yes) {
    if (yes) return ReadFile(done);
    if (done) done(kDeclined);
  });
}

Result<platform::Path> FunctionExchange::FindFile() const {
  const bool other = files_.Exists(folder_ / kOtherFile);
  if (!files_.Exists(folder_ / kFile)) {
    if (other) return folder_ / kOtherFile;
    return Error{ErrorCode::kNotFound, "RigFunctions.csv not found"};
  }
  if (!other) return folder_ / kFile;
  std::error_code error;
  if (std::filesystem::equivalent(folder_ / kFile, folder_ / kOtherFile, error)) return folder_ / kFile;
  return Error{ErrorCode::kInvalid, std::string("there are both ") + kFile + " and " + kOtherFile + ": keep one"};
}

/// Rows of other programs may have no rig name or no frequency, and then an export has none.
bool FunctionExchange::CanBeFound(const FunctionRecord& record) {
  return !record.rig.empty() && !record.freq.empty() && (record.rig + record.freq).find('\'') == std::string::npos;
}

void FunctionExchange::ReadFile(const Done& done) {
  if (*console_.Transmitting || *console_.Tune)
    return Fail({ErrorCode::kInvalid, "Not imported: the rig is transmitting"}, done);
  const auto file = FindFile();
  if (!file) return Fail(file.error(), done);
  const auto content = files_.Read(*file, kLargestFile);
  if (!content) return Fail(content.error(), done);
  const auto work = std::make_shared<ImportWork>(*content);
  work->file = file->string();
  queue_.DoInPieces([this, work] { return DoPiece(*work); },
                    [this, work, done](const Status& status) { Finish(*work, status, done); });
}

/// Reads a piece of the file or, once that is read, writes a piece of the table.
Result<bool> FunctionExchange::DoPiece(ImportWork& work) const {
  if (!work.importer) {
    const auto read = work.reader.ReadSome(kLinesInPiece);
    const bool in_line = read || read.error().code != ErrorCode::kDamaged;
    if (!read) return Error{read.error().code, work.file + (in_line ? " " : ": ") + read.error().message};
    if (!*read) return false;
    auto& records = work.reader.records;
    work.left_out = std::erase_if(records, [](const auto& record) { return !CanBeFound(record); });
    work.taken = records.size();
    work.importer = store_.Importer(std::move(records));
  }
  return work.importer();
}

void FunctionExchange::Finish(const ImportWork& work, const Status& status, const Done& done) const {
  if (!status) return Fail(status.error(), done);
  store_.changed.Tell();
  const std::string remark =
      Rows(work.left_out) + " left out: without a rig name and a frequency that a row is found by";
  if (work.left_out > 0) dialogs_.Show(remark);
  Say("DONE");
  dialogs_.Show("DONE");
  if (done) done(Rows(work.taken) + " from " + work.file + (work.left_out > 0 ? "; " + remark : ""));
}

}  // namespace kvx::functions
