#include "functions/function_exchange.h"

#include <utility>

#include "functions/record_csv.h"

namespace kvx::functions {
namespace {

// One name in two spellings: the one that export writes, and the one that older programs ask for.
constexpr const char* kFile = "RigFunctions.CSV";
constexpr const char* kOtherFile = "RigFunctions.csv";
constexpr std::size_t kLargestFile = 64U << 20;

const Error kDeclined{ErrorCode::kInvalid, "it was answered no"};

std::string Rows(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " row" : " rows");
}

}  // namespace

void FunctionExchange::Export(const Done& done) {
  const Question question{.text = "Do you want to export RigFunctions.csv"};
  dialogs_.Ask(question, [this, done](bool yes) {
    if (!yes) return done ? done(kDeclined) : void();
    const auto written = WriteFile();
    dialogs_.Show(written ? "DONE. " : written.error().message);
    if (done) done(written);
  });
}

Result<std::string> FunctionExchange::WriteFile() const {
  const auto records = store_.All();
  if (!records) return records.error();
  const platform::Path file = folder_ / kFile;
  if (auto written = files_.Write(file, FormatRecords(*records)); !written) return written.error();
  return Rows(records->size()) + " to " + file.string();
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

void FunctionExchange::ReadFile(const Done& done) {
  const auto file = FindFile();
  if (!file) return Fail(file.error(), done);
  const auto content = files_.Read(*file, kLargestFile);
  if (!content) return Fail(content.error(), done);
  auto records = ParseRecords(*content);
  if (!records) return Fail({records.error().code, file->string() + " " + records.error().message}, done);
  const std::string sentence = Rows(records->size()) + " from " + file->string();
  const auto attempt = [this, rows = std::move(*records)] { return store_.Import(rows); };
  queue_.Do(attempt, [this, sentence, done](const Status& status) {
    if (!status) return Fail(status.error(), done);
    store_.changed.Tell();
    Say("DONE");
    dialogs_.Show("DONE");
    if (done) done(sentence);
  });
}

}  // namespace kvx::functions
