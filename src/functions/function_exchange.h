#pragma once

#include <functional>
#include <string>

#include "core/console.h"
#include "functions/dialogs.h"
#include "functions/function_memory.h"
#include "platform/files.h"

namespace kvx::functions {

/// All function-key records to and from `RigFunctions.CSV` in the station folder. Asks before it begins.
class FunctionExchange final {
 public:
  using Done = FunctionMemory::Done;

  FunctionExchange(platform::Files& files, platform::Path folder, Console& console, FunctionStore& store,
                   StoreQueue& queue, const Dialogs& dialogs)
      : files_(files), folder_(std::move(folder)), console_(console), store_(store), queue_(queue), dialogs_(dialogs) {}

  void Export(const Done& done = {});
  /// All lines or none, without those that no row can be found by. Not while the rig transmits.
  void Import(const Done& done = {});

 private:
  struct ExportWork;
  void WriteFile(const Done& done);
  Result<bool> DoPiece(ExportWork& work) const;
  Result<platform::Path> FindFile() const;
  static bool CanBeFound(const FunctionRecord& record);
  struct ImportWork;
  void ReadFile(const Done& done);
  Result<bool> DoPiece(ImportWork& work) const;
  void Finish(const ImportWork& work, const Status& status, const Done& done) const;
  void Say(const std::string& text) const;
  void Fail(const Error& error, const Done& done) const;

  platform::Files& files_;
  platform::Path folder_;
  Console& console_;
  FunctionStore& store_;
  StoreQueue& queue_;
  const Dialogs& dialogs_;
};

}  // namespace kvx::functions
