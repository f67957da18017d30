#pragma once

#include "functions/dialogs.h"
#include "functions/function_exchange.h"
#include "functions/function_memory.h"
#include "functions/function_store.h"
#include "functions/scanner.h"
#include "functions/store_queue.h"

namespace kvx::functions {

/// The function keys by frequency, put together: the records, their exchange as CSV and the scan over them. From its
/// construction on it follows the operations.
struct FunctionKeys final {
  FunctionKeys(Loop& loop, Console& console, cat::Operations& operations, platform::Files& files,
               const platform::Path& folder)
      : store(folder / "rigsetup.sqlite"),
        queue(loop),
        keys(loop, console, operations, store, queue, dialogs),
        exchange(files, folder, console, store, queue, dialogs),
        scanner(loop, console, keys, store, dialogs) {
    operations.on_operation = [this] { scanner.OperatorActs(); };
    keys.on_operation = [this] { scanner.OperatorActs(); };
    operations.on_frequency_sent = [this] { keys.GetFN(); };
  }
  FunctionKeys(const FunctionKeys&) = delete;
  FunctionKeys& operator=(const FunctionKeys&) = delete;

  Dialogs dialogs;
  FunctionStore store;
  StoreQueue queue;
  FunctionMemory keys;
  FunctionExchange exchange;
  Scanner scanner;
};

}  // namespace kvx::functions
