#pragma once

#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "config/rig_row.h"
#include "core/result.h"
#include "platform/files.h"

namespace kvx::config {

class Sqlite;

// Many rigs of a rig database (RigDatabase), some at a time, so that nothing stands still for long.

/// The rows that RigDatabase::Find gives for these names, without those that it finds none for.
Result<std::vector<RigRow>> FindRigs(const platform::Path& store, const std::vector<std::string>& names);

/// Puts rows in the place of those of the same names, in one transaction. Given up before its end it changes nothing.
class RigImport final {
 public:
  RigImport(platform::Path store, std::shared_ptr<const std::vector<RigRow>> rows)
      : file_(std::move(store)), rows_(std::move(rows)) {}

  /// Takes some rows: true when all are in the store. kBusy while another program writes: it can be called again.
  Result<bool> DoSome();
  /// The disk is being waited for, on a thread: there is no way back. The end of the object waits for it.
  bool is_ending() const { return written_.valid(); }

 private:
  platform::Path file_;
  std::shared_ptr<const std::vector<RigRow>> rows_;
  std::size_t next_ = 0;
  std::shared_ptr<Sqlite> store_;
  std::future<Status> written_;
};

}  // namespace kvx::config
