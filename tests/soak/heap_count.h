#pragma once

#include <cstddef>

namespace kvx {

/// What the program has on the heap.
struct HeapCount {
  std::size_t bytes = 0;   ///< that `new` has given
  std::size_t blocks = 0;  ///< the frame of a procedure is one
  std::size_t store = 0;   ///< bytes that SQLite has
};

HeapCount CountHeap();

}  // namespace kvx
